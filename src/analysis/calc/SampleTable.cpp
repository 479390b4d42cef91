#include "analysis/calc/SampleTable.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include "analysis/calc/TableNumber.h"
#include "app/store/Store.h"
#include "model/CanIface.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

// The values that hold at `from`, `from` + `step` and so on. One lookup and one walk under the lock
// cost less than a lookup a row.
void fillColumn(const Signal& signal, std::uint64_t from, std::uint64_t step,
                std::span<double> column) {
    const std::lock_guard lock(*signal.mutex);
    const Sample* sample = signal.findNear(from);
    const Sample* const end = signal.samples().end();
    double held = 0.0;
    std::uint64_t time = from;
    for (double& value : column) {
        for (; sample != end && sample->time <= time; ++sample)
            held = sample->value;
        value = held;
        time += step;
    }
}

// So many rows are gathered before they are written: the columns of a block fit the cache, and a
// live signal's writer never waits for long.
constexpr std::size_t kBlockRows = 4096;

}  // namespace

double IntervalScale::snap(double ms) const {
    return std::floor(std::min(ms, highest) / step) * step;
}

std::vector<std::shared_ptr<Signal>> signalsForTable(const Store& store) {
    std::vector<std::shared_ptr<Signal>> selected;
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals)
                if (signal->selected) selected.push_back(signal);
    return selected;
}

std::optional<std::string> sampleTableText(std::span<const std::shared_ptr<Signal>> signals,
                                           std::uint64_t from, std::uint64_t to,
                                           std::uint64_t stepMs, bool decimalComma) {
    std::string text = "Time(ms)";
    for (const auto& signal : signals)
        text += "\t" + signal->name + " (" + signal->unit + ")";
    if (from >= to || stepMs == 0) return text;

    const std::uint64_t rows = (to - from - 1) / stepMs + 1;
    if (rows > kMostTableCells / (signals.size() + 1)) return std::nullopt;

    std::vector<std::vector<double>> columns(signals.size(), std::vector<double>(kBlockRows));
    for (std::uint64_t row = 0; row < rows; row += kBlockRows) {
        const std::size_t count = std::min<std::uint64_t>(kBlockRows, rows - row);
        for (std::size_t i = 0; i < signals.size(); ++i)
            fillColumn(*signals[i], from + row * stepMs, stepMs,
                       std::span(columns[i]).first(count));
        for (std::size_t line = 0; line < count; ++line) {
            text += "\n" + std::to_string((row + line) * stepMs);
            for (const auto& column : columns) {
                text += '\t';
                text += shortNumber(column[line], decimalComma);
            }
        }
    }
    return text;
}

}  // namespace trelis
