#include "plot/ToolWindows.h"

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "plot/Window.h"

namespace trelis {

ToolWindows::ToolWindows(Store& store, Settings& settings, Window& window)
    : window_(window),
      context_{store, window.timeBox(), settings},
      histograms_([this](const std::shared_ptr<Signal>& signal) {
          return std::make_unique<HistWindow>(context_, signal);
      }),
      statistics_([this](const std::shared_ptr<Signal>& signal) {
          return std::make_unique<StatWindow>(context_, signal);
      }),
      sampleTable_(store, settings),
      gpsPlot_(context_) {
    WindowCommands commands;
    commands.openHistogram = [this](const auto& signal) { histograms_.show(signal); };
    commands.openStatistics = [this](const auto& signal) { statistics_.show(signal); };
    commands.openSampleTable = [this](std::uint64_t from, std::uint64_t to) {
        sampleTable_.show(from, to);
        sampleTable_.present();
    };
    commands.showGps = [this](const auto& track) { gpsPlot_.showTrack(track); };
    commands.forgetGps = [this] { gpsPlot_.forgetTrack(); };
    window_.setCommands(std::move(commands));
    // Signals are gone when the news arrives, and their windows hold the last references.
    reloaded_ = window_.windowReloaded.connect([this] {
        histograms_.closeAll();
        statistics_.closeAll();
    });
}

ToolWindows::~ToolWindows() {
    reloaded_.disconnect();
    window_.setCommands({});
}

}  // namespace trelis
