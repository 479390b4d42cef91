#pragma once
#include <cstddef>
#include <utility>
#include <vector>

namespace trelis::sim {

/// A closed round on a map, walked by distance. The corners that describe it are rounded off, and
/// the whole is scaled to a wanted length.
class Route {
  public:
    /// `corners`: east and north, in any scale, at least three of them; otherwise the route is a
    /// circle. `length` in metres, above 0.
    Route(const std::vector<std::pair<double, double>>& corners, double length);

    struct Place {
        double east;  ///< metres from the start
        double north;
        double bearing;    ///< degrees, 0 is north, clockwise
        double curvature;  ///< radians per metre, positive to the right
    };

    /// The place after `distance` metres; beyond one round it goes on with the next.
    Place at(double distance) const;

  private:
    struct Point {
        double east, north, distance;
    };
    Point pointAt(double distance) const;

    std::vector<Point> points_;  ///< by rising distance; the last one equals the first
    double length_;
};

}  // namespace trelis::sim
