#include "analysis/calc/SignalStatistics.h"

#include <algorithm>
#include <cmath>

#include "analysis/calc/TableNumber.h"
#include "app/diagnostics/Report.h"
#include "app/store/FormatTime.h"
#include "model/Frame.h"

namespace trelis {
namespace {

constexpr const char* kUnknown = "-";

// What the first pass over the samples gathers.
class Sums {
  public:
    Sums(SignalStatistics& figures, Rulers rulers) : figures_(figures), rulers_(rulers) {}

    void add(const Sample& sample) {
        figures_.min = std::min(figures_.min.value_or(sample.value), sample.value);
        figures_.max = std::max(figures_.max.value_or(sample.value), sample.value);
        if (previous_ != nullptr) addStretch(*previous_, sample.time);
        previous_ = &sample;
        ++count_;

        const auto time = static_cast<std::int64_t>(sample.time);
        if (rulers_.left >= 0 && (time <= rulers_.left || !figures_.leftValue))
            figures_.leftValue = sample.value;
        if (rulers_.right >= 0 && time <= rulers_.right) figures_.rightValue = sample.value;
    }

    [[nodiscard]] double timeMs() const { return timeMs_; }
    [[nodiscard]] double integral() const { return integral_; }
    [[nodiscard]] std::size_t count() const { return count_; }

  private:
    void addStretch(const Sample& from, std::uint64_t to) {
        const auto elapsed = static_cast<double>(to - from.time);
        if (elapsed >= static_cast<double>(kGapMs)) return;
        timeMs_ += elapsed;
        integral_ += from.value * elapsed;
    }

    SignalStatistics& figures_;
    Rulers rulers_;
    const Sample* previous_ = nullptr;
    double timeMs_ = 0;
    double integral_ = 0;
    std::size_t count_ = 0;
};

std::string number(std::optional<double> value, bool decimalComma) {
    constexpr int kDigits = 6;
    return value ? fixedNumber(*value, kDigits, decimalComma) : kUnknown;
}

void setRulerRow(const Store& store, StatisticsRow& row, std::int64_t ruler) {
    if (ruler < 0) {
        row.value = row.unit = kUnknown;
        return;
    }
    row.value = formatTime(store, ruler, true, true);
    row.unit = "(" + formatTime(store, ruler, false, false) + ")";
}

double integralFactor(IntegralUnit unit) {
    constexpr double kPerSecond = 0.001;
    constexpr double kPerMinute = 1.6666666666666667e-5;
    constexpr double kPerHour = 2.7777777777777776e-7;
    switch (unit) {
        case IntegralUnit::kSeconds:
            return kPerSecond;
        case IntegralUnit::kMinutes:
            return kPerMinute;
        case IntegralUnit::kHours:
            break;
    }
    return kPerHour;
}

}  // namespace

std::optional<double> SignalStatistics::delta() const {
    if (!leftValue || !rightValue) return std::nullopt;
    return *rightValue - *leftValue;
}

SignalStatistics computeStatistics(std::span<const Sample> samples, TimeRange view,
                                   ValueLimits limits, Rulers rulers) {
    SignalStatistics figures;
    const auto inside = samplesIn(samples, view);
    Sums sums(figures, rulers);
    for (const Sample& sample : inside)
        if (limits.contains(sample.value)) sums.add(sample);
    if (sums.timeMs() <= 0) return figures;

    figures.integral = sums.integral();
    const double mean = sums.integral() / sums.timeMs();
    figures.average = mean;
    double squares = 0;
    for (const Sample& sample : inside)
        if (limits.contains(sample.value)) squares += (sample.value - mean) * (sample.value - mean);
    if (sums.count() > 1)
        figures.deviation = std::sqrt(squares / static_cast<double>(sums.count()));
    return figures;
}

StatisticsText statisticsText(const Store& store, const SignalStatistics& figures, TimeRange view,
                              Rulers rulers, const std::string& unit, IntegralUnit integralUnit,
                              bool decimalComma) {
    const std::string timeUnit = kIntegralUnitNames.at(static_cast<std::size_t>(integralUnit));
    StatisticsText text;
    auto& rows = text.rows;
    rows[0].name = "Left ruler time";
    setRulerRow(store, rows[0], rulers.left);
    rows[1].name = "Right ruler time";
    setRulerRow(store, rows[1], rulers.right);

    const bool hasView = view.to != 0;
    constexpr std::uint64_t kMsPerSecond = 1000;
    rows[2] = {"Time span",
               hasView ? std::to_string((view.to - view.from) / kMsPerSecond) : kUnknown, "s"};
    text.interval = hasView ? formatTime(store, static_cast<std::int64_t>(view.from), true, true) +
                                  " - " +
                                  formatTime(store, static_cast<std::int64_t>(view.to), true, true)
                            : kUnknown;

    rows[3] = {"Left ruler value", number(figures.leftValue, decimalComma), unit};
    rows[4] = {"Right ruler value", number(figures.rightValue, decimalComma), unit};
    rows[5] = {"Value delta", number(figures.delta(), decimalComma), unit};
    rows[6] = {"Min value", number(figures.min, decimalComma), unit};
    rows[7] = {"Max value", number(figures.max, decimalComma), unit};
    rows[8] = {"Average", number(figures.average, decimalComma), unit};
    rows[9] = {"Standard deviation", number(figures.deviation, decimalComma), unit};
    auto integral = figures.integral;
    if (integral) *integral *= integralFactor(integralUnit);
    rows[10] = {"Integral [" + timeUnit + "]", number(integral, decimalComma),
                unit + "·" + timeUnit};
    return text;
}

std::string statisticsTable(const StatisticsText& text, const std::string& signalName) {
    std::string table =
        "Name\tValue\tUnit\nWindow\t" + text.interval + "\nSignal\t" + signalName + "\n";
    for (const StatisticsRow& row : text.rows)
        table += row.name + "\t" + row.value + "\t" + row.unit + "\n";
    return table;
}

}  // namespace trelis
