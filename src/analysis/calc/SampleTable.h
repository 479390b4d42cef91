// The selected signals as a table at a fixed time step, and the steps that can be chosen.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace trelis {

class Signal;
class Store;

/// A scale on which the step is chosen, in ms. `highest` is the highest value that it reaches.
struct IntervalScale {
    double value;  ///< at the start
    double lower;
    double highest;
    double step;
    double page;

    /// The upper bound of an adjustment, whose page size is one step.
    [[nodiscard]] double upper() const { return highest + step; }
    /// Cuts a value to the scale's highest and rounds it down to a step.
    [[nodiscard]] double snap(double ms) const;
};

inline constexpr std::array<IntervalScale, 3> kIntervalScales = {{
    {10, 1, 10, 1, 1},
    {20, 10, 1000, 10, 10},
    {1000, 1000, 60000, 1000, 10000},
}};

/// More cells than this would make a text that no clipboard or spreadsheet takes.
inline constexpr std::uint64_t kMostTableCells = 20'000'000;

/// The selected signals in order of interfaces and messages.
std::vector<std::shared_ptr<Signal>> signalsForTable(const Store& store);

/// A head line and one line a step from `from` (included) to `to` (excluded), columns parted by
/// tabs, lines parted by newlines; each value is the one that holds at that time. Times in the text
/// are ms since `from`. Locks each signal's mutex. `stepMs` is at least 1. Empty if the table would
/// have more than kMostTableCells.
std::optional<std::string> sampleTableText(std::span<const std::shared_ptr<Signal>> signals,
                                           std::uint64_t from, std::uint64_t to,
                                           std::uint64_t stepMs, bool decimalComma);

}  // namespace trelis
