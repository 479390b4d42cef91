// Degrees and radians.
#pragma once

namespace trelis {

inline constexpr double kRadiansPerDegree = 0.017453292519943295;
inline constexpr double kDegreesPerRadian = 57.29577951308232;

}  // namespace trelis
