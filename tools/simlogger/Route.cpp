#include "Route.h"

#include <algorithm>
#include <cmath>

#include "Angles.h"

namespace trelis::sim {

namespace {

using Corner = std::pair<double, double>;

/// Chaikin's corner cutting on a closed polygon ("An algorithm for high-speed curve generation",
/// 1974): each side keeps its middle half.
std::vector<Corner> roundOff(const std::vector<Corner>& corners) {
    std::vector<Corner> result;
    result.reserve(corners.size() * 2);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const auto [ax, ay] = corners[i];
        const auto [bx, by] = corners[(i + 1) % corners.size()];
        result.emplace_back(ax * 0.75 + bx * 0.25, ay * 0.75 + by * 0.25);
        result.emplace_back(ax * 0.25 + bx * 0.75, ay * 0.25 + by * 0.75);
    }
    return result;
}

double distanceBetween(const Corner& a, const Corner& b) {
    const double x = b.first - a.first;
    const double y = b.second - a.second;
    return std::sqrt(x * x + y * y);  // exactly rounded by IEEE 754, the same everywhere
}

}  // namespace

Route::Route(const std::vector<Corner>& corners, double length) : length_(length) {
    std::vector<Corner> shape = corners;
    if (shape.size() < 3) shape = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
    for (int round = 0; round < 5; ++round)
        shape = roundOff(shape);
    double total = 0.0;
    for (std::size_t i = 0; i < shape.size(); ++i)
        total += distanceBetween(shape[i], shape[(i + 1) % shape.size()]);
    const double scale = total > 0.0 ? length / total : 1.0;
    double distance = 0.0;
    for (std::size_t i = 0; i <= shape.size(); ++i) {
        const Corner& corner = shape[i % shape.size()];
        if (i > 0) distance += scale * distanceBetween(shape[i - 1], corner);
        points_.push_back({scale * (corner.first - shape[0].first),
                           scale * (corner.second - shape[0].second), distance});
    }
}

Route::Point Route::pointAt(double distance) const {
    const double rounds = distance / length_;
    distance -= length_ * std::floor(rounds);
    const auto next = std::lower_bound(points_.begin() + 1, points_.end() - 1, distance,
                                       [](const Point& p, double d) { return p.distance < d; });
    const Point& a = *(next - 1);
    const Point& b = *next;
    const double span = b.distance - a.distance;
    const double part = span > 0.0 ? (distance - a.distance) / span : 0.0;
    return {a.east + (b.east - a.east) * part, a.north + (b.north - a.north) * part, distance};
}

Route::Place Route::at(double distance) const {
    constexpr double kReach = 12.0;  // metres to either side over which a bend is measured
    const Point behind = pointAt(distance - kReach);
    const Point here = pointAt(distance);
    const Point ahead = pointAt(distance + kReach);
    const double in = bearingOf(here.east - behind.east, here.north - behind.north);
    const double out = bearingOf(ahead.east - here.east, ahead.north - here.north);
    double turn = out - in;
    if (turn > 180.0) turn -= 360.0;
    if (turn < -180.0) turn += 360.0;
    double bearing = in + turn / 2.0;
    if (bearing < 0.0) bearing += 360.0;
    if (bearing >= 360.0) bearing -= 360.0;
    return {here.east, here.north, bearing, turn * kDegree / kReach};
}

}  // namespace trelis::sim
