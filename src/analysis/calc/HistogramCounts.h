// How long a signal spent in each band of values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "analysis/calc/SampleFilter.h"

namespace trelis {

struct HistogramCounts {
    std::vector<std::uint64_t> bins;  ///< ms spent in each band, the lowest band first
    std::uint64_t totalTime = 0;      ///< ms, the sum of the bins
    std::uint64_t largestBin = 0;     ///< ms
    double minValue = std::numeric_limits<double>::max();
    double maxValue = std::numeric_limits<double>::lowest();
    double binStep = 0;        ///< width of a band
    bool signalEmpty = false;  ///< the signal has no samples at all, in the range or outside it

    [[nodiscard]] bool hasRange() const { return minValue <= maxValue; }
    [[nodiscard]] double lowerEdge(std::size_t bin) const {
        return static_cast<double>(bin) * binStep + minValue;
    }
    [[nodiscard]] double upperEdge(std::size_t bin) const { return lowerEdge(bin + 1); }
};

/// Counts the samples within the range and the limits. A sample adds, to the band of its value, the
/// time since the counted sample before it; the first one adds the time since the signal's very
/// first sample. The bands divide the range of the counted values evenly; their upper edges belong
/// to them, and a value that rounding puts above the last edge is in none.
HistogramCounts countHistogram(std::span<const Sample> samples, TimeRange range, ValueLimits limits,
                               std::size_t binCount);

/// Head and one line a band, columns parted by tabs, with lines ended by a newline. Empty for a
/// signal without samples; the head alone if no time was counted.
std::string histogramTable(const HistogramCounts& counts, const std::string& unit,
                           bool decimalComma);

/// Where the bars stand in a drawing of this size, in pixels.
struct HistogramLayout {
    double barWidth = 0;
    double barGap = 0;
    double unitHeight = 0;  ///< of one ms

    /// `zoom`: at most 1; below it the bars grow by its inverse and may reach out of the picture.
    static HistogramLayout of(const HistogramCounts& counts, double width, double height,
                              double zoom);

    [[nodiscard]] double barLeft(std::size_t bin) const {
        return kMargin + barGap + static_cast<double>(bin) * (barWidth + barGap);
    }
    /// The bar whose slot is at this x; the number of bins if there is none.
    [[nodiscard]] std::size_t barAt(double x, std::size_t binCount) const;

    static constexpr double kMargin = 10.0;
    static constexpr double kAxisHeight = 20.0;  ///< of the strip for the axis and its labels
};

}  // namespace trelis
