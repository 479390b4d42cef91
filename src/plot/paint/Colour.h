// An opaque colour.
#pragma once

#include <cmath>
#include <cstdint>

namespace trelis {

/// Channels from 0 to 1.
struct Colour {
    double red = 0;
    double green = 0;
    double blue = 0;

    /// The pixel of an ARGB32 image surface, alpha full.
    [[nodiscard]] std::uint32_t pixel() const {
        const auto channel = [](double value) {
            return static_cast<std::uint32_t>(std::lround(value * 255.0)) & 0xFFU;
        };
        return 0xFF000000U | channel(red) << 16 | channel(green) << 8 | channel(blue);
    }
};

}  // namespace trelis
