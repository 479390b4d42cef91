// The rules by which the 32-bit clocks of loggers, in ms, become a rising axis of absolute times.
// Recordings apply them file by file, running inputs record by record.
//
// A base is what is added to a clock. It lies below 0 for a clock that started before the epoch, so
// sums wrap, and what they give is compared as signed.
#pragma once

#include <algorithm>
#include <cstdint>

namespace trelis {

/// What an overflow of a clock adds to the base: one less than its range, as recordings in the
/// field are read by everybody.
inline constexpr std::uint64_t kCounterOverflowMs = 0xFFFFFFFF;

/// A start time up to this far ahead of the running base is drift of the clock, more is a pause.
inline constexpr std::int64_t kMostDriftMs = 20000;

[[nodiscard]] constexpr bool isBefore(std::uint64_t time, std::uint64_t other) {
    return static_cast<std::int64_t>(time) < static_cast<std::int64_t>(other);
}

/// Whether a record that is said to stand at `start` may go on with the base of those before it, of
/// which the last stood at `lastTime`.
[[nodiscard]] constexpr bool baseGoesOn(std::uint64_t base, std::uint32_t clock,
                                        std::uint64_t start, std::uint64_t lastTime) {
    return !isBefore(base + clock, lastTime) &&
           static_cast<std::int64_t>(start - clock - base) <= kMostDriftMs;
}

/// The base that puts a record at its start, or right behind what came before.
[[nodiscard]] constexpr std::uint64_t baseFor(std::uint32_t clock, std::uint64_t start,
                                              std::uint64_t lastTime) {
    return std::max(start, lastTime) - clock;
}

}  // namespace trelis
