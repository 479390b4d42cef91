// Figures of one signal over an interval and at the two rulers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "analysis/calc/SampleFilter.h"

namespace trelis {

class Store;

/// A figure that is not known is empty.
struct SignalStatistics {
    std::optional<double> leftValue;
    std::optional<double> rightValue;
    std::optional<double> min;
    std::optional<double> max;
    /// Weighted by time: each value holds until the next sample, gaps of 10 s or more left out.
    std::optional<double> average;
    /// Of the samples' values from the average, each sample counting alike.
    std::optional<double> deviation;
    std::optional<double> integral;  ///< unit of the signal times ms

    [[nodiscard]] std::optional<double> delta() const;
};

/// Rulers in ms since the epoch, negative while unset.
struct Rulers {
    std::int64_t left = -1;
    std::int64_t right = -1;
};

/// Counts the samples within the interval and the limits.
SignalStatistics computeStatistics(std::span<const Sample> samples, TimeRange view,
                                   ValueLimits limits, Rulers rulers);

/// The time unit in which an integral is shown.
enum class IntegralUnit { kSeconds = 0, kMinutes = 1, kHours = 2 };
inline constexpr std::array<const char*, 3> kIntegralUnitNames = {"s", "min", "h"};

/// One row of the statistics window, without markup.
struct StatisticsRow {
    std::string name;
    std::string value;
    std::string unit;
};
inline constexpr std::size_t kStatisticsRows = 11;

struct StatisticsText {
    std::string interval;
    std::array<StatisticsRow, kStatisticsRows> rows;
};

/// The texts of all rows; "-" stands for what is not known.
StatisticsText statisticsText(const Store& store, const SignalStatistics& figures, TimeRange view,
                              Rulers rulers, const std::string& unit, IntegralUnit integralUnit,
                              bool decimalComma);

/// The table for the clipboard.
std::string statisticsTable(const StatisticsText& text, const std::string& signalName);

}  // namespace trelis
