#include "plot/paint/TimeBox.h"

#include <algorithm>

namespace trelis {

TimeBox::~TimeBox() = default;

void TimeBox::setInterval(std::uint64_t newStart, std::uint64_t newEnd, bool fromUser) {
    const std::uint64_t low = std::max(newStart, context_.intervalStart.load());
    const std::uint64_t high = std::min(newEnd, context_.intervalEnd.load());
    byUser = fromUser;
    if (high < low || (low == start && high == end)) return;
    start = low;
    end = high;
    timeChanged.emit();
}

void TimeBox::centerOn(std::uint64_t time) {
    if (!isSet()) return;
    byUser = true;
    const std::uint64_t length = end - start;
    const std::uint64_t half = length / 2;
    const std::uint64_t lowest = context_.intervalStart;
    const std::uint64_t highest = context_.intervalEnd;
    start = time > half ? time - half : 0;
    if (start < lowest) start = lowest;
    end = start + length;
    if (end > highest) {
        end = highest;
        start = std::max(lowest, highest > length ? highest - length : 0);
    }
    timeChanged.emit();
}

void TimeBox::clearInterval() {
    start = 0;
    end = 0;
    timeChanged.emit();
}

}  // namespace trelis
