// The drawing of a GPS track in the plane.
#pragma once

#include <gdkmm/pixbuf.h>
#include <gtkmm/drawingarea.h>

#include <memory>
#include <vector>

#include "analysis/AnalysisContext.h"
#include "analysis/calc/TrackGeometry.h"

namespace trelis {

class GPSTrack;

/// The whole track faintly, the visible interval strongly, the part between the rulers and the last
/// minute in red, a circle at each ruler. Main thread only.
class GPSPlot : public Gtk::DrawingArea {
  public:
    explicit GPSPlot(const AnalysisContext& context);

    /// Takes the track if none is set.
    void setTrack(const std::shared_ptr<GPSTrack>& track);
    /// The model is about to be dropped.
    void forgetTrack();
    [[nodiscard]] const TrackZoom& zoom() const { return zoom_; }

  protected:
    bool on_scroll_event(GdkEventScroll* event) override;
    bool on_motion_notify_event(GdkEventMotion* event) override;
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& cr) override;
    bool on_key_press_event(GdkEventKey* event) override;
    bool on_configure_event(GdkEventConfigure* event) override;

  private:
    /// Draws the track into image_.
    void render(int width, int height);

    AnalysisContext context_;
    std::shared_ptr<GPSTrack> track_;
    std::vector<TrackPoint> points_;  ///< as they were at the last rendering
    bool isEmpty_ = true;             ///< nothing to draw at the last rendering
    PlaneView plane_;
    TrackZoom zoom_;
    Glib::RefPtr<Gdk::Pixbuf> image_;
    double imageScale_ = 1.0;  ///< pixels of the widget for one of the image
};

}  // namespace trelis
