// The windows that the main window leads to.
#pragma once

#include "analysis/AnalysisContext.h"
#include "analysis/GPSPlotWin.h"
#include "analysis/HistWindow.h"
#include "analysis/OpenWindows.h"
#include "analysis/SampleRateDialogue.h"
#include "analysis/StatWindow.h"

namespace trelis {

class Window;

/// Owns the tool windows and attaches them to the main window, whose life they do not exceed. Main
/// thread only.
class ToolWindows {
  public:
    ToolWindows(Store& store, Settings& settings, Window& window);
    ToolWindows(const ToolWindows&) = delete;
    ToolWindows& operator=(const ToolWindows&) = delete;
    /// Detaches all of them.
    ~ToolWindows();

  private:
    Window& window_;
    AnalysisContext context_;
    OpenWindows<HistWindow> histograms_;
    OpenWindows<StatWindow> statistics_;
    SampleRateDialogue sampleTable_;
    GPSPlotWin gpsPlot_;
    sigc::connection reloaded_;
};

}  // namespace trelis
