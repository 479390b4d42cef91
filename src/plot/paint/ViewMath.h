// Arithmetic of intervals, columns and rows: pure functions, no state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace trelis {

/// An interval in ms since the epoch; both 0 mean none.
struct TimeSpan {
    std::uint64_t start = 0;
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t length() const { return end > start ? end - start : 0; }
    bool operator==(const TimeSpan&) const = default;
};

inline constexpr double kZoomIn = 0.8333333333333334;
inline constexpr double kZoomOut = 1.2;

/// The view with its length times `factor`, where the time at `position` (0 left edge, 1 right
/// edge) stays in place. At least 1 ms long and within the bounds.
[[nodiscard]] TimeSpan zoomAround(TimeSpan view, double position, double factor, TimeSpan bounds);
/// The view with its length times `factor` and `time` in its middle, as the overview zooms.
[[nodiscard]] TimeSpan zoomOnto(TimeSpan view, std::uint64_t time, double factor, TimeSpan bounds);
/// The view moved by so many tenths of its length, or as far as the bounds allow.
[[nodiscard]] TimeSpan panEarlier(TimeSpan view, TimeSpan bounds, double steps = 1);
[[nodiscard]] TimeSpan panLater(TimeSpan view, TimeSpan bounds, double steps = 1);
/// The view within the bounds and at least 1 ms long.
[[nodiscard]] TimeSpan limitView(TimeSpan view, TimeSpan bounds);

/// Pixel column of a time, limited to what a drawing library can take. Negative times (unset
/// rulers) end far on the left.
[[nodiscard]] int columnOf(std::int64_t time, TimeSpan view, int width);
/// Time under a pixel position; the start of the view left of it.
[[nodiscard]] std::uint64_t timeOf(double x, TimeSpan view, int width);
/// Zoom position of a pointer column: the left edge zooms around the middle.
[[nodiscard]] double zoomPosition(double x, int width);

/// Index of the row at height y, when `rows` rows share `height` pixels.
[[nodiscard]] std::optional<std::size_t> rowAt(double y, int height, std::size_t rows);

/// Range of values that a row shows.
struct ValueRange {
    double min = 0;
    double max = 0;
};
/// Pixel row of a value, from the top: half a line's width (rounded up to even) is kept free at
/// both ends. A range without extent divides by nothing. Limited to +-1e6.
[[nodiscard]] int rowOf(double value, ValueRange range, int height, double lineWidth);

}  // namespace trelis
