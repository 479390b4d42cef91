#include "analysis/calc/SampleFilter.h"

#include <algorithm>

#include "model/Signal.h"

namespace trelis {

TimeRange rulersOrView(std::int64_t leftRuler, std::int64_t rightRuler, TimeRange view) {
    if (leftRuler < 0 || rightRuler < 0) return view;
    const auto [low, high] = std::minmax(leftRuler, rightRuler);
    return {static_cast<std::uint64_t>(low), static_cast<std::uint64_t>(high)};
}

ValueLimits displayLimits(const Signal& signal) {
    if (!signal.hasLimits) return {};
    return {signal.lowerLimit, signal.upperLimit};
}

std::span<const Sample> samplesIn(std::span<const Sample> samples, TimeRange range) {
    const auto first = std::lower_bound(
        samples.begin(), samples.end(), range.from,
        [](const Sample& sample, std::uint64_t time) { return sample.time < time; });
    const auto last = std::upper_bound(
        first, samples.end(), range.to,
        [](std::uint64_t time, const Sample& sample) { return time < sample.time; });
    return {first, last};
}

}  // namespace trelis
