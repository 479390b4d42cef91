// What the signal plot and the overview have in common.
#pragma once

#include <gtkmm/drawingarea.h>

#include <optional>
#include <vector>

#include "plot/paint/PlotPicture.h"
#include "plot/paint/ViewMath.h"

namespace trelis {

class Settings;
class Store;
class TimeBox;

/// Shows the curves of Store::selectedSignals on a grid. They are drawn by the threads of its
/// PlotPicture, anew whenever the data or the size change; a live stream's at most once in a
/// given time. Main thread only; all references must outlive the widget.
class PlotArea : public Gtk::DrawingArea {
  public:
    ~PlotArea() override;

    /// Cancels all painting and forgets the picture: the model is about to be dropped.
    virtual void stopPainting();
    /// Whether a newer picture than the one shown is under way.
    [[nodiscard]] bool isPainting() const { return picture_.isPainting(); }

  protected:
    /// `liveRenderMs`: a live plot renders at most this often.
    PlotArea(Store& store, TimeBox& timeBox, Settings& settings, const char* accessibleName,
             unsigned liveRenderMs);

    bool on_configure_event(GdkEventConfigure* event) override;

    /// Starts painting a new picture; the present one stays until it is complete.
    void render();
    /// Arranges a later rendering of a live stream, unless one waits already.
    void scheduleRender();
    /// Adds to what both plots ask for, and says which picture is to be painted, if any.
    virtual std::optional<PictureLayout> layoutPicture(PictureRequest request) = 0;
    /// A rendering was started.
    virtual void onStarted() {}

    void drawBackground(const Cairo::RefPtr<Cairo::Context>& cr, int gridStep, double gridWidth);
    /// Draws the finished picture, if there is one, and says so: stretched to `view`, or as a whole
    /// to the size of the widget.
    bool drawPicture(const Cairo::RefPtr<Cairo::Context>& cr, std::optional<TimeSpan> view);
    /// The interval of all data, or of the crop.
    [[nodiscard]] TimeSpan bounds() const;

    Store& store_;
    TimeBox& timeBox_;
    Settings& settings_;
    std::vector<sigc::connection> connections_;  ///< to what outlives the widget

  private:
    void onPainted();

    unsigned liveRenderMs_;
    sigc::connection renderTimer_;

    PlotPicture picture_;  ///< last: its threads end before anything else goes
};

}  // namespace trelis
