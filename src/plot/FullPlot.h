// The overview strip under the signal plot.
#pragma once

#include "plot/PlotArea.h"

namespace trelis {

/// Always shows the whole data span and marks the visible interval on it, which a click centres, a
/// drag moves and the wheel zooms. Main thread only; all references must outlive the widget.
class FullPlot : public PlotArea {
  public:
    static constexpr int kHeight = 200;  ///< px; requested

    FullPlot(Store& store, TimeBox& timeBox, Settings& settings);

  protected:
    bool on_button_press_event(GdkEventButton* event) override;
    bool on_button_release_event(GdkEventButton* event) override;
    bool on_scroll_event(GdkEventScroll* event) override;
    bool on_motion_notify_event(GdkEventMotion* event) override;
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& cr) override;
    std::optional<PictureLayout> layoutPicture(PictureRequest request) override;

  private:
    void onDataChanged();
    void drawMark(const Cairo::RefPtr<Cairo::Context>& cr);
    void centerAt(double x);

    TimeSpan span_;  ///< the data span at the last rendering
    bool dragging_ = false;
};

}  // namespace trelis
