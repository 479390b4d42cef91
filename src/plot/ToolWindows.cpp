#include "plot/ToolWindows.h"

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Signal.h"
#include "plot/Window.h"

namespace trelis {

ToolWindows::ToolWindows(Store& store, Settings& settings, Window& window,
                         std::shared_ptr<IPC> link)
    : store_(store),
      window_(window),
      link_(std::move(link)),
      context_{store, window.timeBox(), settings},
      histograms_([this](const std::shared_ptr<Signal>& signal) {
          return std::make_unique<HistWindow>(context_, signal);
      }),
      statistics_([this](const std::shared_ptr<Signal>& signal) {
          return std::make_unique<StatWindow>(context_, signal);
      }),
      sampleTable_(store, settings),
      gpsPlot_(context_),
      preferences_(store, settings),
      liveDialog_(window, store, settings,
                  {[this] { window_.reload(false); },
                   [this](const std::string& title) { window_.setTitleText(title); }}),
      editor_(window, store, settings,
              {[this](const std::string& path) { reloadAndSelect(path); }}) {
    if (link_)
        linkedViews_ = std::make_unique<LinkedViews>(*link_, store, window.timeBox(),
                                                     [this](std::int64_t left, std::int64_t right) {
                                                         window_.subPlot().takeRulers(left, right);
                                                     });
    attach();
    // Signals are gone when the news arrives, and their windows hold the last references.
    reloaded_ = window_.windowReloaded.connect([this] {
        histograms_.closeAll();
        statistics_.closeAll();
    });
}

void ToolWindows::attach() {
    WindowCommands commands;
    commands.openHistogram = [this](const auto& signal) { histograms_.show(signal); };
    commands.openStatistics = [this](const auto& signal) { statistics_.show(signal); };
    commands.openSampleTable = [this](std::uint64_t from, std::uint64_t to) {
        sampleTable_.show(from, to);
    };
    commands.showGps = [this](const auto& track) { gpsPlot_.showTrack(track); };
    commands.forgetGps = [this] { gpsPlot_.forgetTrack(); };
    commands.openPreferences = [this] { preferences_.present(); };
    commands.openLiveDialog = [this] { liveDialog_.present(); };
    commands.openStoredConnection = [this](const std::string& path) {
        liveDialog_.openFile(path);
        liveDialog_.present();
    };
    commands.reconnectLive = [this] { liveDialog_.reconnect(); };
    commands.editSignal = [this](const auto& signal) { editor_.editSignal(signal); };
    commands.newSignal = [this](const std::string& message) { editor_.newSignal(message); };
    commands.rulersMoved = [this](std::int64_t left, std::int64_t right) {
        if (linkedViews_) linkedViews_->rulersMoved(left, right);
    };
    window_.setCommands(std::move(commands));
}

// What the editor has just saved is what the user wants to see.
void ToolWindows::reloadAndSelect(const std::string& path) {
    window_.reload(true);
    try {
        store_.getSignal(path)->setSelected(true);
    } catch (const std::exception& error) {
        // Hidden behind another definition of its name, or the file holds more than it loads.
        report(Level::kWarning, error.what());
    }
    window_.refreshLists();
}

ToolWindows::~ToolWindows() {
    reloaded_.disconnect();
    window_.setCommands({});
}

}  // namespace trelis
