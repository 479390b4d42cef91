#include "config/link/LinkRecord.h"

#include <algorithm>

namespace trelis {
namespace {

std::int64_t wrappingAdd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

std::int64_t wrappingSubtract(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

}  // namespace

bool LinkRecord::isBlank() const {
    return *this == LinkRecord{0, 0, 0, 0, 0, 0, 0, 0};
}

void LinkRecord::copyViewFrom(const LinkRecord& other) {
    viewStart = other.viewStart;
    viewStartFree = other.viewStartFree;
    viewEnd = other.viewEnd;
    viewEndFree = other.viewEndFree;
}

void LinkRecord::copyCursorsFrom(const LinkRecord& other) {
    firstCursor = other.firstCursor;
    firstCursorFree = other.firstCursorFree;
    secondCursor = other.secondCursor;
    secondCursorFree = other.secondCursorFree;
}

void TimeOffsets::add(std::int64_t time, std::int64_t offset) {
    if (!pairs_.empty() && (time <= pairs_.back().first || offset == pairs_.back().second)) return;
    pairs_.emplace_back(time, offset);
}

std::int64_t TimeOffsets::at(std::int64_t time) const {
    if (pairs_.empty()) return 0;
    const auto behind =
        std::upper_bound(pairs_.begin(), pairs_.end(), time,
                         [](std::int64_t value, const auto& pair) { return value < pair.first; });
    return behind == pairs_.begin() ? behind->second : std::prev(behind)->second;
}

std::int64_t TimeOffsets::withoutOffset(std::int64_t time) const {
    return wrappingSubtract(time, at(time));
}

std::int64_t TimeOffsets::ownTime(std::int64_t absolute, std::int64_t offsetFree) const {
    return wrappingAdd(offsetFree, at(absolute));
}

}  // namespace trelis
