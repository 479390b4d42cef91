// A lock held over a batch of steps.
#pragma once

#include <mutex>

namespace trelis {

/// Locking for every sample would cost more than computing it; holding on for a whole calculation
/// would keep painters waiting. So the lock is let go for a moment every few hundred steps.
class BatchLock {
  public:
    explicit BatchLock(std::mutex& mutex) : lock_(mutex) {}

    /// To be called once a step.
    void tick() {
        if (--left_ != 0) [[likely]]
            return;
        left_ = kStepsPerLock;
        lock_.unlock();
        lock_.lock();
    }

  private:
    static constexpr unsigned kStepsPerLock = 512;

    std::unique_lock<std::mutex> lock_;
    unsigned left_ = kStepsPerLock;
};

}  // namespace trelis
