// What the main window leads to but does not hold: the tool windows attach themselves here.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace trelis {

class GPSTrack;
class Signal;

/// An empty function leaves the menu items and keys that lead to it without effect, and the items
/// insensitive. All are called on the main thread.
struct WindowCommands {
    /// Open the window of a signal, or raise it.
    std::function<void(const std::shared_ptr<Signal>&)> openHistogram;
    std::function<void(const std::shared_ptr<Signal>&)> openStatistics;
    /// Opens the sample table over an interval in ms since the epoch, lower end first.
    std::function<void(std::uint64_t, std::uint64_t)> openSampleTable;

    /// Open the editor on a virtual signal, or for a new one in the message of this name (empty:
    /// in any).
    std::function<void(const std::shared_ptr<Signal>&)> editSignal;
    std::function<void(const std::string&)> newSignal;

    std::function<void()> openPreferences;

    /// Open the dialog for a live connection: as it was left, or with a stored connection.
    std::function<void()> openLiveDialog;
    std::function<void(const std::string&)> openStoredConnection;
    /// Connects once more with what the dialog holds.
    std::function<void()> reconnectLive;

    /// Shows the track of the logger's positions.
    std::function<void(const std::shared_ptr<GPSTrack>&)> showGps;
    /// Drops the track and hides its window: the model is about to go.
    std::function<void()> forgetGps;

    /// The user moved or deleted rulers, in ms since the epoch; negative for an unset one.
    std::function<void(std::int64_t, std::int64_t)> rulersMoved;
};

}  // namespace trelis
