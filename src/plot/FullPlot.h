// The overview strip under the signal plot.
#pragma once

#include <gtkmm/drawingarea.h>

#include <vector>

#include "plot/paint/PlotPicture.h"
#include "plot/paint/ViewMath.h"

namespace trelis {

class Settings;
class Store;
class TimeBox;

/// Always shows the whole data span and marks the visible interval on it, which a click centres, a
/// drag moves and the wheel zooms. Main thread only; all references must outlive the widget.
class FullPlot : public Gtk::DrawingArea {
  public:
    FullPlot(Store& store, TimeBox& timeBox, Settings& settings);
    ~FullPlot() override;

    /// Cancels all painting and forgets the picture: the model is about to be dropped.
    void stopPainting();
    /// Whether a newer picture than the one shown is under way.
    [[nodiscard]] bool isPainting() const { return picture_.isPainting(); }

  protected:
    bool on_button_press_event(GdkEventButton* event) override;
    bool on_button_release_event(GdkEventButton* event) override;
    bool on_scroll_event(GdkEventScroll* event) override;
    bool on_motion_notify_event(GdkEventMotion* event) override;
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& cr) override;
    bool on_configure_event(GdkEventConfigure* event) override;

  private:
    void onDataChanged();
    void onPainted();
    void armRefresh();
    void render();
    void drawMark(const Cairo::RefPtr<Cairo::Context>& cr);
    void centerAt(double x);
    [[nodiscard]] TimeSpan bounds() const;

    Store& store_;
    TimeBox& timeBox_;
    Settings& settings_;
    TimeSpan span_;  ///< the data span at the last rendering
    bool dragging_ = false;
    sigc::connection refreshTimer_;  ///< a live stream's next rendering
    std::vector<sigc::connection> connections_;

    PlotPicture picture_;  ///< last: its threads end before anything else goes
};

}  // namespace trelis
