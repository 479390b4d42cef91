// Tables of the method "lookuptable". The first byte chooses the number of inputs, the rest is the
// file; every table is asked at many places.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "virtual/LookupTree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t inputs = data[0] % 5;
    const trelis::LookupTree tree(text, static_cast<unsigned>(inputs) + 1);
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double key : {-kInfinity, -1.0, 0.0, 0.5, 1.0, 1.5, 2.0, 1e9, kInfinity,
                             std::numeric_limits<double>::quiet_NaN()}) {
        const std::vector<double> keys(inputs, key);
        try {
            static_cast<void>(tree.interpolate(keys));
        } catch (const std::runtime_error&) {
            // A row with too few columns, as documented.
        }
    }
    return 0;
}
