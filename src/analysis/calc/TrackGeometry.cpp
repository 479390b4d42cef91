#include "analysis/calc/TrackGeometry.h"

#include <algorithm>

namespace trelis {
namespace {

constexpr double kZoomIn = 1.2;
constexpr double kZoomOut = 0.8333333333333334;
constexpr double kLeastZoomedIn = 1.1;
constexpr double kBackToWhole = 1.32;
// Drawing libraries count in fixed point: a canvas of a few million pixels is as far as they go.
constexpr double kMostZoom = 2000.0;
constexpr std::uint64_t kLastMinuteMs = 60000;

bool pointBefore(const TrackPoint& point, std::uint64_t time) {
    return point.time < time;
}
bool timeBefore(std::uint64_t time, const TrackPoint& point) {
    return time < point.time;
}

}  // namespace

TrackPoints pointsIn(TrackPoints points, TimeRange range) {
    const auto first = std::lower_bound(points.begin(), points.end(), range.from, pointBefore);
    const auto last = std::upper_bound(first, points.end(), range.to, timeBefore);
    return {first, last};
}

std::optional<TrackPoint> firstPointAfter(TrackPoints points, std::int64_t ruler) {
    if (ruler < 0) return std::nullopt;
    const auto found = std::upper_bound(points.begin(), points.end(),
                                        static_cast<std::uint64_t>(ruler), timeBefore);
    if (found == points.end()) return std::nullopt;
    return *found;
}

TrackParts splitTrack(TrackPoints points, TimeRange selected, TimeRange view,
                      std::int64_t leftRuler, std::int64_t rightRuler,
                      std::uint64_t lastPointTime) {
    TrackParts parts;
    parts.whole = pointsIn(points, selected);
    parts.visible = pointsIn(parts.whole, view);
    const auto [low, high] = std::minmax(leftRuler, rightRuler);
    if (high >= 0)
        parts.betweenRulers =
            pointsIn(parts.whole, {static_cast<std::uint64_t>(std::max<std::int64_t>(low, 0)),
                                   static_cast<std::uint64_t>(high)});
    const std::uint64_t lastMinute = lastPointTime - std::min(lastPointTime, kLastMinuteMs);
    parts.lastMinute =
        pointsIn(parts.whole, {lastMinute, std::numeric_limits<std::uint64_t>::max()});
    return parts;
}

PlaneBounds PlaneBounds::of(TrackPoints points) {
    PlaneBounds bounds;
    for (const TrackPoint& point : points) {
        bounds.minX = std::min(bounds.minX, point.x);
        bounds.maxX = std::max(bounds.maxX, point.x);
        bounds.minY = std::min(bounds.minY, point.y);
        bounds.maxY = std::max(bounds.maxY, point.y);
    }
    return bounds;
}

PlaneView PlaneView::fit(const PlaneBounds& bounds, double canvasWidth, double canvasHeight) {
    PlaneView view;
    view.bounds = bounds;
    const double spanX = bounds.maxX - bounds.minX;
    const double spanY = bounds.maxY - bounds.minY;
    if (spanX < 0 || spanY < 0) return view;  // no points
    if (spanX > 0 && spanY > 0)
        view.scale = std::min(canvasWidth / spanX, canvasHeight / spanY);
    else if (spanX > 0)
        view.scale = canvasWidth / spanX;
    else if (spanY > 0)
        view.scale = canvasHeight / spanY;
    view.offsetX = (canvasWidth - spanX * view.scale) * 0.5;
    view.offsetY = (canvasHeight - spanY * view.scale) * 0.5;
    return view;
}

Pixel PlaneView::toPixel(const TrackPoint& point, Pixel shift) const {
    return {(point.x - bounds.minX) * scale + offsetX - shift.x,
            (point.y - bounds.minY) * scale + offsetY - shift.y};
}

void TrackZoom::movePointer(double x, double y) {
    pointer_ = {x, y};
    anchor_ = {x + shift_.x, y + shift_.y};
}

void TrackZoom::rescale(double by) {
    zoom_ *= by;
    anchor_ = {anchor_.x * by, anchor_.y * by};
}

void TrackZoom::followAnchor() {
    shift_ = {anchor_.x - pointer_.x, anchor_.y - pointer_.y};
}

void TrackZoom::zoomIn() {
    if (zoom_ * kZoomIn > kMostZoom) return;
    rescale(kZoomIn);
    followAnchor();
}

bool TrackZoom::zoomOut() {
    if (zoom_ <= kLeastZoomedIn) return false;
    const double old = zoom_;
    rescale(kZoomOut);
    if (old < kBackToWhole) {
        zoom_ = 1.0;
        shift_ = {};
    } else {
        followAnchor();
    }
    return true;
}

}  // namespace trelis
