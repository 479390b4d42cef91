// The drawing of how long a signal spent in each band of values.
#pragma once

#include <gtkmm/drawingarea.h>

#include <cstddef>
#include <memory>
#include <string>

#include "analysis/AnalysisContext.h"
#include "analysis/calc/HistogramCounts.h"

namespace trelis {

class Signal;

/// Counts over the interval between the rulers, or the visible one, and counts anew when they, the
/// data or the number of bins change. Main thread only.
class Histogram : public Gtk::DrawingArea {
  public:
    Histogram(const AnalysisContext& context, std::shared_ptr<Signal> signal);
    ~Histogram() override;

    void setBinCount(std::size_t count);
    /// The table for the clipboard.
    [[nodiscard]] std::string tableText();
    /// Up to date, also if a recount was still to come.
    const HistogramCounts& counts();

    static constexpr std::size_t kFirstBinCount = 10;

  protected:
    bool on_configure_event(GdkEventConfigure* event) override;
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& cr) override;
    bool on_scroll_event(GdkEventScroll* event) override;
    bool on_motion_notify_event(GdkEventMotion* event) override;
    bool on_leave_notify_event(GdkEventCrossing* event) override;

  private:
    /// News come faster than a long signal can be counted: they are counted once, in the main loop.
    void scheduleRecount();
    void recount();
    void updateLayout();
    void drawBars(const Cairo::RefPtr<Cairo::Context>& cr) const;
    void drawAxis(const Cairo::RefPtr<Cairo::Context>& cr);
    void drawPointer(const Cairo::RefPtr<Cairo::Context>& cr);
    /// `align`: 0 the text begins at x, 0.5 it is centred there, 1 it ends there.
    void drawLabel(const Cairo::RefPtr<Cairo::Context>& cr, const std::string& text, double x,
                   double align, bool onBackground);

    AnalysisContext context_;
    std::shared_ptr<Signal> signal_;
    std::size_t binCount_ = kFirstBinCount;
    HistogramCounts counts_;
    HistogramLayout layout_;
    bool recountPending_ = true;
    sigc::connection recountIdle_;
    double width_ = 1;
    double height_ = 1;
    double zoom_ = 1.0;       ///< of the heights, at most 1
    double pointerX_ = -1.0;  ///< negative: not over the drawing
};

}  // namespace trelis
