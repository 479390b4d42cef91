// The large time plot of the main window.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plot/PlotArea.h"
#include "plot/paint/RulerLayout.h"

namespace trelis {

class PlotHost;
class Signal;

/// Shows Store::selectedSignals over the interval of the TimeBox, all in one row or each in its
/// own, with two rulers. Until a new picture is in, the last one is stretched to the present view.
/// Main thread only; all references must outlive the widget.
class SubPlot : public PlotArea {
  public:
    static constexpr int kSmallest = 400;  ///< px; requested width and height

    SubPlot(Store& store, TimeBox& timeBox, Settings& settings, PlotHost& host);
    ~SubPlot() override;

    /// Marks one of the keys 'H', 'C', 'F', 'S' as held, which turns the next clicks into row
    /// actions; other keys are ignored.
    void setKeyHeld(char key, bool held);
    /// Narrows the data to the rulers, or to the view if they are not both set.
    void crop();
    void deleteRulers();
    /// Opens the sample table over the rulers, or over the view.
    void copySignals();
    /// Asks for a file and has the frames between the rulers, or of the view, written to it.
    void dumpToAsc();
    void stopPainting() override;
    /// Lets the row of a signal flash for a second, in the split view.
    void highlightRow(const std::shared_ptr<Signal>& signal);
    /// Places the rulers for a linked program, without telling it. Negative means unset.
    void takeRulers(std::int64_t left, std::int64_t right);

  protected:
    bool on_button_press_event(GdkEventButton* event) override;
    bool on_button_release_event(GdkEventButton* event) override;
    bool on_scroll_event(GdkEventScroll* event) override;
    bool on_motion_notify_event(GdkEventMotion* event) override;
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& cr) override;
    bool on_key_press_event(GdkEventKey* event) override;
    std::optional<PictureLayout> layoutPicture(PictureRequest request) override;
    void onStarted() override;

  private:
    void onTimeChanged();
    void onDataChanged();
    /// Arranges one later repaint, unless one waits already.
    void scheduleRepaint(unsigned delayMs);
    void clearBusy();

    void drawHighlight(const Cairo::RefPtr<Cairo::Context>& cr);
    void drawRulers(const Cairo::RefPtr<Cairo::Context>& cr);
    void drawRulerLines(const Cairo::RefPtr<Cairo::Context>& cr, const RulerColumns& columns,
                        const std::vector<RulerTick>& ticks);
    void drawLabels(const Cairo::RefPtr<Cairo::Context>& cr, std::vector<RulerLabel> labels);
    /// The rows with their values at the rulers. A signal whose samples are being written keeps
    /// its last known values, and another look is arranged.
    std::vector<RulerRow> rulerRows();
    [[nodiscard]] std::vector<RulerLabel> timeLabels(const RulerColumns& columns) const;

    /// Shows another interval at once, by stretching the picture, and has it painted.
    void applyView(TimeSpan view);
    bool handlePlainKey(unsigned key);
    void moveRuler(double x);
    void publishRulers();
    void actOnRow(const std::shared_ptr<Signal>& signal);
    [[nodiscard]] bool anyKeyHeld() const { return holdH_ || holdC_ || holdF_ || holdS_; }
    [[nodiscard]] std::shared_ptr<Signal> signalAtRow(double y) const;
    /// The visible interval; all data while none is set.
    [[nodiscard]] TimeSpan view() const;
    [[nodiscard]] int rowHeight(std::size_t rows) const;
    [[nodiscard]] bool hasBothRulers() const;
    [[nodiscard]] std::string chooseDumpFile();

    PlotHost& host_;

    bool split_ = false;  ///< each signal has a row of its own, at the last rendering
    int timeStrip_;       ///< px kept free at the bottom for time labels
    sigc::connection repaintTimer_;
    bool busyMarked_ = false;  ///< the Store was told that this plot paints
    std::uint64_t viewStart_ = 0;
    std::uint64_t viewEnd_ = 0;

    std::shared_ptr<Signal> highlightSignal_;  ///< row that flashes
    std::int64_t highlightEnd_ = 0;            ///< ms of the monotonic clock; 0 none
    int highlightY_ = 0;                       ///< top of that row

    bool leftDrag_ = false;
    bool rightDrag_ = false;
    bool holdH_ = false;
    bool holdC_ = false;
    bool holdF_ = false;
    bool holdS_ = false;
    std::string dumpFolder_;  ///< folder of the last dump
    std::vector<RulerRow> lastRows_;
};

}  // namespace trelis
