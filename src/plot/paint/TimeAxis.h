// The mapping from times to the columns of an image.
#pragma once

#include <algorithm>
#include <cstdint>

namespace trelis {

/// The interval `start` to `end` (ms, end above start) takes `spanColumns` columns; column `origin`
/// is where it starts in an image `width` columns wide.
struct TimeAxis {
    std::uint64_t start = 0;
    std::uint64_t end = 1;
    int spanColumns = 1;
    int origin = 0;
    int width = 1;

    /// Columns just outside the image stand for everything farther out: -1 and width + 1.
    [[nodiscard]] double timeToColumn(std::uint64_t time) const {
        const auto offset = static_cast<double>(static_cast<std::int64_t>(time - start));
        double x = offset / static_cast<double>(end - start) * spanColumns + origin;
        if (x > width) x = width + 1;
        return std::max(x, -1.0);
    }
    [[nodiscard]] int wholeColumn(std::uint64_t time) const {
        return static_cast<int>(timeToColumn(time));
    }
    /// The first time whose whole column is above `column`; the highest number behind the image.
    [[nodiscard]] std::uint64_t columnEnd(int column) const;
};

}  // namespace trelis
