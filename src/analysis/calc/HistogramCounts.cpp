#include "analysis/calc/HistogramCounts.h"

#include <algorithm>
#include <cmath>

#include "analysis/calc/TableNumber.h"

namespace trelis {
namespace {

// The first band whose upper edge is not below the value, or the number of bands. The division
// only guesses; the edges themselves decide, as they are printed.
std::size_t bandOf(const HistogramCounts& counts, double value) {
    const std::size_t last = counts.bins.size();
    const double guess = (value - counts.minValue) / counts.binStep;
    std::size_t band = 0;
    if (guess > 0 && guess < static_cast<double>(last))
        band = static_cast<std::size_t>(guess);
    else if (guess >= static_cast<double>(last))
        band = last - 1;
    while (band > 0 && counts.upperEdge(band - 1) >= value)
        --band;
    while (band < last && counts.upperEdge(band) < value)
        ++band;
    return band;
}

}  // namespace

HistogramCounts countHistogram(std::span<const Sample> samples, TimeRange range, ValueLimits limits,
                               std::size_t binCount) {
    HistogramCounts counts;
    counts.bins.assign(binCount, 0);
    counts.signalEmpty = samples.empty();
    if (samples.empty() || binCount == 0) return counts;

    const auto inside = samplesIn(samples, range);
    for (const Sample& sample : inside) {
        if (!limits.contains(sample.value)) continue;
        counts.minValue = std::min(counts.minValue, sample.value);
        counts.maxValue = std::max(counts.maxValue, sample.value);
    }
    if (!counts.hasRange()) return counts;
    counts.binStep = (counts.maxValue - counts.minValue) / static_cast<double>(binCount);

    std::uint64_t previous = samples.front().time;
    for (const Sample& sample : inside) {
        if (!limits.contains(sample.value)) continue;
        const std::uint64_t elapsed = sample.time - previous;
        previous = sample.time;
        const std::size_t band = bandOf(counts, sample.value);
        if (band == binCount) continue;
        counts.bins[band] += elapsed;
        counts.totalTime += elapsed;
        counts.largestBin = std::max(counts.largestBin, counts.bins[band]);
    }
    return counts;
}

std::string histogramTable(const HistogramCounts& counts, const std::string& unit,
                           bool decimalComma) {
    if (counts.signalEmpty) return {};
    std::string table = "From (" + unit + ")\tTo (" + unit + ")\tFrom/To (" + unit + ")\t%\n";
    if (counts.totalTime == 0) return table;
    constexpr int kDigits = 6;
    constexpr int kShortDigits = 2;
    for (std::size_t bin = 0; bin < counts.bins.size(); ++bin) {
        const double lower = counts.lowerEdge(bin);
        const double upper = counts.upperEdge(bin);
        const double share =
            100.0 * static_cast<double>(counts.bins[bin]) / static_cast<double>(counts.totalTime);
        table += fixedNumber(lower, kDigits, decimalComma) + "\t" +
                 fixedNumber(upper, kDigits, decimalComma) + "\t" +
                 fixedNumber(lower, kShortDigits, decimalComma) + " - " +
                 fixedNumber(upper, kShortDigits, decimalComma) + "\t" +
                 fixedNumber(share, kDigits, decimalComma) + "\n";
    }
    return table;
}

HistogramLayout HistogramLayout::of(const HistogramCounts& counts, double width, double height,
                                    double zoom) {
    HistogramLayout layout;
    const double count = static_cast<double>(counts.bins.size());
    if (count == 0) return layout;
    const double inner = std::max(0.0, width - 2 * kMargin);
    layout.barGap = 0.1 * inner / count;
    layout.barWidth = (inner - (count + 1) * layout.barGap) / count;
    if (counts.largestBin > 0)
        layout.unitHeight = std::max(0.0, height - 2 * kMargin - kAxisHeight) /
                            (static_cast<double>(counts.largestBin) * zoom);
    return layout;
}

std::size_t HistogramLayout::barAt(double x, std::size_t binCount) const {
    const double slot = std::floor((x - kMargin - barGap / 2) / (barWidth + barGap));
    if (!(slot >= 0 && slot < static_cast<double>(binCount))) return binCount;
    return static_cast<std::size_t>(slot);
}

}  // namespace trelis
