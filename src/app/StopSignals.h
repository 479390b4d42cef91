// Ctrl-C and the like in the modes without a window.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace trelis {

/// While it lives SIGINT and SIGTERM do not end the process but call `stop` on a thread of this
/// object's own. A run that has not ended a second and a half later, or a second signal, ends the
/// process at once. Made before any other thread, so that none of them gets the signals; the
/// destructor ends and joins the thread.
class StopSignals {
  public:
    explicit StopSignals(std::function<void()> stop);
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// 128 plus the number of the signal that came, 0 if none did.
    [[nodiscard]] int exitStatus() const;

  private:
    void watch();

    std::function<void()> stop_;
    std::atomic<int> received_ = 0;
    std::atomic<bool> done_ = false;
    std::thread watcher_;  // owner: this object
};

}  // namespace trelis
