#include "analysis/GPSPlotWin.h"

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"

namespace trelis {

GPSPlotWin::GPSPlotWin(const AnalysisContext& context) : store_(context.store), plot_(context) {
    set_title("GPS Plot");
    add(plot_);
    plot_.show();
}

void GPSPlotWin::showTrack(const std::shared_ptr<GPSTrack>& track) {
    if (store_.parsing) {
        report(Level::kInfo, "Wait for parse to complete");
        return;
    }
    if (!track) return;
    plot_.setTrack(track);
    present();
}

void GPSPlotWin::forgetTrack() {
    plot_.forgetTrack();
    hide();
}

}  // namespace trelis
