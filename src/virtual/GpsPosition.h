// The position that the logger's receiver reports, as the inputs of a signal.
#pragma once

#include <array>
#include <string>

namespace trelis {

class ModelContext;

struct GpsPosition {
    double latitude = 0.0;   ///< degrees, negative in the south
    double longitude = 0.0;  ///< degrees, negative in the west
};

/// Raw values of the four position signals, in the order of gpsReferences.
struct RawPosition {
    double latitude = 0.0;
    double northSouth = 0.0;  ///< exactly 1: south
    double longitude = 0.0;
    double eastWest = 0.0;  ///< exactly 1: west
};

/// Degrees from the packed form of the legacy format: degrees times 10^7 plus minutes times 10^5.
double unpackDegrees(double raw);

/// `unpack`: says of a raw coordinate whether it is packed.
template <typename Unpack>
GpsPosition decodePosition(const RawPosition& raw, Unpack unpack) {
    const auto degrees = [&](double value, double side) {
        const double magnitude = unpack(value) ? unpackDegrees(value) : value;
        return side == 1.0 ? -magnitude : magnitude;
    };
    return {degrees(raw.latitude, raw.northSouth), degrees(raw.longitude, raw.eastWest)};
}

/// The name of the interface that carries positions: "Logger", or that of the first CAN interface
/// for legacy definitions. std::invalid_argument if there is none.
std::string gpsInterfaceName(const ModelContext& context);

/// References of latitude, side, longitude and side on that interface.
std::array<std::string, 4> gpsReferences(const ModelContext& context);

}  // namespace trelis
