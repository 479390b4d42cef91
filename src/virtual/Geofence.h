// Whether a position lies within a fence.
#pragma once

#include <string>

#include "virtual/CustomSignal.h"
#include "virtual/GpsPosition.h"

namespace trelis {

/// 1 inside, 0 outside. The fence is exact only near one latitude, on a plane in metres.
class Geofence final : public SteppedSignal<Geofence> {
  public:
    Geofence(const std::shared_ptr<Message>& message, const std::string& group,
             const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    struct PlanePoint {
        double x = 0.0;  ///< m to the north
        double y = 0.0;  ///< m to the east, from an arbitrary meridian
    };

    [[nodiscard]] static PlanePoint project(const GpsPosition& position);
    [[nodiscard]] static PlanePoint readPoint(const Glib::KeyFile& keyFile,
                                              const std::string& group, const char* key);
    void readShape(const Glib::KeyFile& keyFile, const std::string& group);
    [[nodiscard]] bool insideSquare(const PlanePoint& point) const;
    [[nodiscard]] bool insideCircle(const PlanePoint& point) const;

    PlanePoint corner_;    ///< top left corner of a square, centre of a circle
    PlanePoint opposite_;  ///< bottom right corner
    double radius_ = 0.0;  ///< m
    bool legacyGps_;
    bool (Geofence::*inside_)(const PlanePoint&) const = nullptr;
};

}  // namespace trelis
