// The windows that the main window leads to.
#pragma once

#include <memory>
#include <string>

#include "analysis/AnalysisContext.h"
#include "analysis/GPSPlotWin.h"
#include "analysis/HistWindow.h"
#include "analysis/OpenWindows.h"
#include "analysis/SampleRateDialogue.h"
#include "analysis/StatWindow.h"
#include "config/ConnectLiveDialog.h"
#include "config/LinkedViews.h"
#include "config/SettingsWindow.h"
#include "config/VirtSignDialog.h"

namespace trelis {

class Window;

/// Owns the tool windows and attaches them to the main window, whose life they do not exceed. Main
/// thread only.
class ToolWindows {
  public:
    /// `link`: to the other running copies, may be empty.
    ToolWindows(Store& store, Settings& settings, Window& window, std::shared_ptr<IPC> link = {});
    ToolWindows(const ToolWindows&) = delete;
    ToolWindows& operator=(const ToolWindows&) = delete;
    /// Detaches all of them.
    ~ToolWindows();

  private:
    void attach();
    void reloadAndSelect(const std::string& path);

    Store& store_;
    Window& window_;
    std::shared_ptr<IPC> link_;
    AnalysisContext context_;
    OpenWindows<HistWindow> histograms_;
    OpenWindows<StatWindow> statistics_;
    SampleRateDialogue sampleTable_;
    GPSPlotWin gpsPlot_;
    SettingsWindow preferences_;
    ConnectLiveDialog liveDialog_;
    VirtSignDialog editor_;
    std::unique_ptr<LinkedViews> linkedViews_;  ///< empty without a link
    sigc::connection reloaded_;
};

}  // namespace trelis
