// Which samples of a signal an analysis counts.
#pragma once

#include <cstdint>
#include <limits>
#include <span>

#include "model/SampleArray.h"

namespace trelis {

class Signal;

/// Both ends are included. Times in ms since the epoch.
struct TimeRange {
    std::uint64_t from = 0;
    std::uint64_t to = 0;

    bool operator==(const TimeRange&) const = default;
};

/// The interval between two rulers if both are set (not negative), otherwise the visible one.
TimeRange rulersOrView(std::int64_t leftRuler, std::int64_t rightRuler, TimeRange view);

/// The display limits of a signal. A NaN lies in no limits.
struct ValueLimits {
    double lower = std::numeric_limits<double>::lowest();
    double upper = std::numeric_limits<double>::max();

    [[nodiscard]] bool contains(double value) const { return value >= lower && value <= upper; }
};

ValueLimits displayLimits(const Signal& signal);

/// The samples with a time in the range, found by bisection.
std::span<const Sample> samplesIn(std::span<const Sample> samples, TimeRange range);

}  // namespace trelis
