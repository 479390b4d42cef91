#include "Angles.h"

#include <cstdint>

namespace trelis::sim {

double sine(double radians) {
    const double turns = radians / (2.0 * kPi);
    auto whole = static_cast<std::int64_t>(turns);
    if (turns < 0.0) --whole;
    double x = (turns - static_cast<double>(whole)) * 2.0 * kPi;  // 0 to one turn
    double sign = 1.0;
    if (x > kPi) {
        x -= kPi;
        sign = -1.0;
    }
    if (x > kPi / 2.0) x = kPi - x;
    double term = x;
    double sum = x;
    for (int n = 1; n <= 8; ++n) {
        term *= -x * x / static_cast<double>(2 * n * (2 * n + 1));
        sum += term;
    }
    return sign * sum;
}

double cosine(double radians) {
    return sine(radians + kPi / 2.0);
}

double bearingOf(double east, double north) {
    const double x = east < 0.0 ? -east : east;
    const double y = north < 0.0 ? -north : north;
    if (x + y <= 0.0) return 0.0;
    // Arc tangent on 0 to 45 degrees: Abramowitz and Stegun, "Handbook of Mathematical Functions",
    // 4.4.49, whose error is below 1e-5 radians.
    const double ratio = x < y ? x / y : y / x;
    const double q = ratio * ratio;
    const double arc =
        ratio * (0.9998660 + q * (-0.3302995 + q * (0.1801410 + q * (-0.0851330 + q * 0.0208351))));
    double degrees = arc / kDegree;
    if (x > y) degrees = 90.0 - degrees;  // from north towards east
    if (north < 0.0) degrees = 180.0 - degrees;
    return east < 0.0 ? 360.0 - degrees : degrees;
}

}  // namespace trelis::sim
