// The pen that turns samples into strokes, a few for each pixel column.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "plot/paint/LineImage.h"
#include "plot/paint/PainterTask.h"

namespace trelis {

/// Lives for the duration of one task. However many samples fall into a pixel column, it draws one
/// vertical bar from the lowest to the highest value, so no narrow peak is lost.
class PainterThreadContext {
  public:
    PainterThreadContext(const PainterTask& task, LineImage& image);

    /// Lifts the pen and puts it down at (time, value).
    void plotMoveTo(std::uint64_t time, double value);
    /// Draws from where the pen is to (time, value); within a column it only notes the value.
    void plotLineTo(std::uint64_t time, double value);
    /// Draws the bar of the present column if there is one.
    void flushColumn();
    /// Takes many values of the present column at once, after plotLineTo has noted the first:
    /// their lowest, highest and last one. No gap may lie between them.
    void absorb(double low, double high, double last) {
        columnMax_ = std::max(columnMax_, high);
        columnMin_ = std::min(columnMin_, low);
        lastValue_ = last;
    }

    /// Whether values are being noted for a column, and for which.
    [[nodiscard]] bool isPending() const { return columnPending_; }
    [[nodiscard]] int column() const { return column_; }

  private:
    static constexpr double kLowest = std::numeric_limits<double>::lowest();
    static constexpr double kHighest = std::numeric_limits<double>::max();
    static constexpr int kNoColumn = -2;

    [[nodiscard]] int yPosition(double value) const;

    const PainterTask& task_;
    LineImage& image_;
    bool columnPending_ = false;
    double columnMax_ = kLowest;
    double columnMin_ = kHighest;
    double lastValue_ = 0;
    int column_ = kNoColumn;
    int imageColumn_ = kNoColumn;  ///< that the last strokes belong to
    double penX_ = 0;              ///< where the next stroke starts
};

}  // namespace trelis
