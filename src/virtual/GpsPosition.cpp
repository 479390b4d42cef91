#include "virtual/GpsPosition.h"

#include <cmath>
#include <stdexcept>

#include "model/ModelContext.h"

namespace trelis {

double unpackDegrees(double raw) {
    constexpr double kPerDegree = 10000000.0;
    constexpr double kDegreesPerUnit = 1.6666666666666668e-7;  // 10^5 units a minute
    const double degrees = std::trunc(raw / kPerDegree);
    return degrees + (raw - degrees * kPerDegree) * kDegreesPerUnit;
}

std::string gpsInterfaceName(const ModelContext& context) {
    if (!context.legacyGps) return "Logger";
    auto name = context.interfaceName(0);
    if (!name) throw std::invalid_argument("Can't find interface with id 0");
    return *name;
}

std::array<std::string, 4> gpsReferences(const ModelContext& context) {
    const std::string message = gpsInterfaceName(context) + ".GPS_POS.";
    return {message + "lat", message + "N_S", message + "long", message + "E_W"};
}

}  // namespace trelis
