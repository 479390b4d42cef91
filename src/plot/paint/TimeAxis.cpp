#include "plot/paint/TimeAxis.h"

#include <cmath>
#include <limits>

namespace trelis {

std::uint64_t TimeAxis::columnEnd(int column) const {
    // What lies behind the image is all one column.
    if (column >= width) return std::numeric_limits<std::uint64_t>::max();
    // A guess by the inverse mapping, then the few steps that rounding can be off. The mapping
    // never falls with time, so the first time beyond the column is well defined.
    const double perColumn = static_cast<double>(end - start) / spanColumns;
    const double offset = std::ceil((column + 1 - origin) * perColumn);
    std::uint64_t time = start + static_cast<std::uint64_t>(static_cast<std::int64_t>(offset));
    while (wholeColumn(time) <= column)
        ++time;
    while (time > 0 && wholeColumn(time - 1) > column)
        --time;
    return time;
}

}  // namespace trelis
