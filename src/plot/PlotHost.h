// What the signal plot asks of the window that holds it.
#pragma once

#include <cstdint>
#include <memory>

namespace trelis {

class Signal;

/// Main thread only. The host outlives the plot.
class PlotHost {
  public:
    virtual ~PlotHost() = default;

    /// Opens the menu of a plot row at the pointer.
    virtual void popupPlotMenu(const std::shared_ptr<Signal>& signal) = 0;
    virtual void hideSignal(const std::shared_ptr<Signal>& signal) = 0;
    virtual void changeColor(const std::shared_ptr<Signal>& signal) = 0;
    virtual void findInList(const std::shared_ptr<Signal>& signal) = 0;
    virtual void showStats(const std::shared_ptr<Signal>& signal) = 0;
    /// Opens the sample table over an interval, ms since the epoch, lower end first.
    virtual void showSampleTable(std::uint64_t from, std::uint64_t to) = 0;
    /// The user moved or deleted rulers: linked programs want to know. Negative means unset.
    virtual void rulersMoved(std::int64_t left, std::int64_t right) = 0;
};

}  // namespace trelis
