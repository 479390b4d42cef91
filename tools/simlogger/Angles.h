#pragma once

/// Angle functions of this tool. They use nothing but the basic operations of IEEE 754, so that a
/// recording comes out the same on machines whose mathematics libraries round differently.
namespace trelis::sim {

inline constexpr double kPi = 3.141592653589793;
inline constexpr double kDegree = kPi / 180.0;

/// Sine of an angle in radians, by the Taylor series on a quarter turn; the error is below 1e-9.
double sine(double radians);
double cosine(double radians);

/// The compass bearing of a step, in degrees from 0 to 360, clockwise from north.
/// The error is below 0.01 degrees. A step of no length gives 0.
double bearingOf(double east, double north);

}  // namespace trelis::sim
