// The window around the GPS track.
#pragma once

#include <gtkmm/window.h>

#include <memory>

#include "analysis/GPSPlot.h"

namespace trelis {

class GPSPlotWin : public Gtk::Window {
  public:
    explicit GPSPlotWin(const AnalysisContext& context);

    /// Hands the track over, unless one is shown already, and shows the window. Nothing happens
    /// without a track; the user is told to wait if a parse runs.
    void showTrack(const std::shared_ptr<GPSTrack>& track);
    /// Forgets the track and hides: the model is about to be dropped.
    void forgetTrack();

    [[nodiscard]] GPSPlot& plot() { return plot_; }

  private:
    Store& store_;
    GPSPlot plot_;
};

}  // namespace trelis
