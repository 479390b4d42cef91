#include "plot/paint/PainterThreadContext.h"

#include <cmath>

namespace trelis {

PainterThreadContext::PainterThreadContext(const PainterTask& task, LineImage& image)
    : task_(task), image_(image) {}

int PainterThreadContext::yPosition(double value) const {
    return rowOf(value, {task_.minValue, task_.maxValue}, task_.height, task_.lineWidth);
}

void PainterThreadContext::plotMoveTo(std::uint64_t time, double value) {
    flushColumn();
    column_ = kNoColumn;
    lastValue_ = value;
    penX_ = task_.axis.timeToColumn(time);
}

void PainterThreadContext::plotLineTo(std::uint64_t time, double value) {
    const double x = task_.axis.timeToColumn(time);
    const int column = static_cast<int>(x);
    if (column == column_) {
        columnMax_ = std::max(columnMax_, value);
        columnMin_ = std::min(columnMin_, value);
        if (!columnPending_) {
            columnMax_ = std::max(columnMax_, lastValue_);
            columnMin_ = std::min(columnMin_, lastValue_);
        }
        columnPending_ = true;
        lastValue_ = value;
        return;
    }
    if (columnPending_) {
        flushColumn();
        penX_ = column_;
    }
    if (column != imageColumn_) image_.nextColumn();
    imageColumn_ = column_ = column;
    lastValue_ = value;
    // The signal holds its value until the next sample, so the pen moves level.
    if (!std::isnan(value)) image_.horizontal(penX_, x, yPosition(value));
    penX_ = x;
}

void PainterThreadContext::flushColumn() {
    if (!columnPending_) return;
    columnPending_ = false;
    // A column of nothing but NaN has no bar.
    if (columnMin_ <= columnMax_)
        image_.vertical(column_, yPosition(columnMin_), yPosition(columnMax_));
    columnMax_ = kLowest;
    columnMin_ = kHighest;
}

}  // namespace trelis
