#include "plot/paint/ViewMath.h"

#include <algorithm>
#include <cmath>

namespace trelis {
namespace {

/// A time computed with doubles, which a view far out of the data may take below 0.
std::uint64_t toTime(double value) {
    return value > 0 ? static_cast<std::uint64_t>(std::min(value, 9e18)) : 0;
}

/// Both ends relative to the view's start, so that milliseconds survive whatever the epoch.
TimeSpan spanAt(std::uint64_t base, double startOffset, double endOffset, TimeSpan bounds) {
    const auto at = [base](double offset) {
        const double whole = std::floor(offset);
        return whole < 0 && -whole > static_cast<double>(base)
                   ? 0
                   : base + static_cast<std::uint64_t>(static_cast<std::int64_t>(whole));
    };
    return limitView({at(startOffset), at(endOffset)}, bounds);
}

/// Tenths of the view's length, in whole ms.
std::uint64_t panStep(TimeSpan view, double steps) {
    return steps == 1.0 ? view.length() / 10
                        : toTime(static_cast<double>(view.length()) / 10 * steps);
}

}  // namespace

TimeSpan limitView(TimeSpan view, TimeSpan bounds) {
    if (view.start >= view.end) view.end = view.start + 1;
    view.start = std::clamp(view.start, bounds.start, std::max(bounds.start, bounds.end));
    view.end = std::clamp(view.end, bounds.start, std::max(bounds.start, bounds.end));
    // At the end of the data the millisecond is taken from before it.
    if (view.start == view.end && view.start > bounds.start) --view.start;
    return view;
}

TimeSpan zoomAround(TimeSpan view, double position, double factor, TimeSpan bounds) {
    const auto length = static_cast<double>(view.length());
    const double anchor = position * length;
    const double newLength = factor * length;
    return spanAt(view.start, anchor - position * newLength, anchor + (1 - position) * newLength,
                  bounds);
}

TimeSpan zoomOnto(TimeSpan view, std::uint64_t time, double factor, TimeSpan bounds) {
    const double newLength = factor * static_cast<double>(view.length());
    const auto middle = static_cast<double>(time);
    const double start = std::max(middle - 0.5 * newLength, static_cast<double>(bounds.start));
    const double end = std::min(std::max(middle + 0.5 * newLength, start + newLength),
                                static_cast<double>(bounds.end));
    return limitView({toTime(start), toTime(end)}, bounds);
}

TimeSpan panEarlier(TimeSpan view, TimeSpan bounds, double steps) {
    const std::uint64_t room = view.start > bounds.start ? view.start - bounds.start : 0;
    const std::uint64_t step = std::min(panStep(view, steps), room);
    return limitView({view.start - step, view.end - step}, bounds);
}

TimeSpan panLater(TimeSpan view, TimeSpan bounds, double steps) {
    const std::uint64_t room = bounds.end > view.end ? bounds.end - view.end : 0;
    const std::uint64_t step = std::min(panStep(view, steps), room);
    return limitView({view.start + step, view.end + step}, bounds);
}

int columnOf(std::int64_t time, TimeSpan view, int width) {
    constexpr double kFar = 4194303.0;
    const auto length = static_cast<double>(std::max<std::uint64_t>(view.length(), 1));
    const double offset = static_cast<double>(time) - static_cast<double>(view.start);
    return static_cast<int>(std::clamp(width * offset / length, -kFar, kFar));
}

std::uint64_t timeOf(double x, TimeSpan view, int width) {
    if (!(x > 0) || width <= 0) return view.start;
    return view.start + toTime(static_cast<double>(view.length()) * x / width);
}

double zoomPosition(double x, int width) {
    return x == 0 || width <= 0 ? 0.5 : std::clamp(x / width, 0.0, 1.0);
}

std::optional<std::size_t> rowAt(double y, int height, std::size_t rows) {
    if (rows == 0 || height <= 0 || y < 0) return std::nullopt;
    const double rowHeight = height / static_cast<double>(rows);
    const auto index = static_cast<std::size_t>(y / rowHeight);
    return index < rows ? std::optional(index) : std::nullopt;
}

int rowOf(double value, ValueRange range, int height, double lineWidth) {
    constexpr double kFar = 1e6;
    const int width = static_cast<int>(lineWidth);
    const int margin = width + width % 2;
    const double span = range.max - range.min;
    const double product = (range.max - value) * (height - margin);
    const double position = margin / 2 + (span == 0.0 ? product : product / span);
    return static_cast<int>(std::isnan(position) ? 0.0 : std::clamp(position, -kFar, kFar));
}

}  // namespace trelis
