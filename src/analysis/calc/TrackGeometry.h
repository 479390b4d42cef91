// The plane in which a GPS track is drawn: its scale, its parts, and the zoom around the pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "analysis/calc/SampleFilter.h"

namespace trelis {

/// A point of the track. x and y in any one unit of length, y growing downwards.
struct TrackPoint {
    std::uint64_t time = 0;  ///< ms since the epoch
    double x = 0;
    double y = 0;
};
using TrackPoints = std::span<const TrackPoint>;  ///< in ascending order of time

/// The points with a time in the range.
TrackPoints pointsIn(TrackPoints points, TimeRange range);

/// The first point behind a ruler, empty without one.
std::optional<TrackPoint> firstPointAfter(TrackPoints points, std::int64_t ruler);

/// The parts of a track that are drawn apart.
struct TrackParts {
    TrackPoints whole;
    TrackPoints visible;
    TrackPoints betweenRulers;
    TrackPoints lastMinute;
};

/// `selected`: the interval of the data; nothing outside it is drawn. `lastPointTime` in ms. Rulers
/// are negative while unset, and then count as the times that they are.
TrackParts splitTrack(TrackPoints points, TimeRange selected, TimeRange view,
                      std::int64_t leftRuler, std::int64_t rightRuler, std::uint64_t lastPointTime);

struct PlaneBounds {
    double minX = std::numeric_limits<double>::max();
    double maxX = std::numeric_limits<double>::lowest();
    double minY = std::numeric_limits<double>::max();
    double maxY = std::numeric_limits<double>::lowest();

    static PlaneBounds of(TrackPoints points);
};

struct Pixel {
    double x = 0;
    double y = 0;

    bool operator==(const Pixel&) const = default;
};

/// How the plane lies on the canvas. Both axes have one scale, so the track keeps its shape; the
/// axis with room to spare is centred.
struct PlaneView {
    PlaneBounds bounds;
    double scale = 0;  ///< pixels per unit of the plane
    double offsetX = 0;
    double offsetY = 0;

    /// Canvas sizes in pixels. A track without extent in one direction takes its scale from the
    /// other one, a single spot is put in the middle.
    static PlaneView fit(const PlaneBounds& bounds, double canvasWidth, double canvasHeight);

    [[nodiscard]] Pixel toPixel(const TrackPoint& point, Pixel shift) const;
};

/// The zoom of the canvas and where the window lies on it.
class TrackZoom {
  public:
    [[nodiscard]] double factor() const { return zoom_; }
    /// How far the canvas is moved to the upper left, in pixels.
    [[nodiscard]] Pixel shift() const { return shift_; }

    void movePointer(double x, double y);
    /// The spot under the pointer stays where it is.
    void zoomIn();
    /// Says whether anything changed: a canvas of the window's size does not shrink.
    bool zoomOut();
    /// Only the factor: the shift stays until the next zoom.
    void resetFactor() { zoom_ = 1.0; }

  private:
    void rescale(double by);
    void followAnchor();

    double zoom_ = 1.0;
    Pixel pointer_;
    Pixel anchor_;  // the pointer's place on the canvas
    Pixel shift_;
};

}  // namespace trelis
