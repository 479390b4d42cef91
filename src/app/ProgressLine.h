// How far a run without a window is, on the terminal.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace trelis {

class Store;

/// While it lives a line on standard error follows the Store's progress, some times a second, on a
/// thread of this object's own; the destructor joins it and removes the line.
class ProgressLine {
  public:
    explicit ProgressLine(const Store& store);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();

    /// Whether one is to be shown: only on a terminal, and there if asked for or if the results go
    /// elsewhere.
    static bool isWelcome(bool askedFor);

  private:
    void follow();

    const Store& store_;
    std::mutex mutex_;  // guards ended_
    std::condition_variable changed_;
    bool ended_ = false;
    std::thread thread_;  // owner: this object
};

}  // namespace trelis
