// The visible interval that all views share.
#pragma once

#include <cstdint>

#include "app/store/Notifier.h"
#include "model/ModelContext.h"

namespace trelis {

/// One per process; made before any view and destroyed after the last. Main thread only. Times are
/// ms since the epoch; `start` and `end` both 0 mean that there is no interval.
class TimeBox {
  public:
    /// The interval never leaves the data bounds or the crop that `context` holds.
    explicit TimeBox(const ModelContext& context) : context_(context) {}
    virtual ~TimeBox();

    /// Limits the interval to the data and stores it. `byUser` tells whoever passes the interval on
    /// to other programs that it did not come from one. An interval outside the data is ignored.
    void setInterval(std::uint64_t newStart, std::uint64_t newEnd, bool byUser);
    /// Moves the interval, with its length, so that `time` is in the middle or an end of the data
    /// is reached. Counts as done by the user.
    void centerOn(std::uint64_t time);
    void clearInterval();

    [[nodiscard]] bool isSet() const { return end != 0; }

    std::uint64_t start = 0;
    std::uint64_t end = 0;
    bool byUser = false;
    Notifier timeChanged;

  private:
    const ModelContext& context_;
};

}  // namespace trelis
