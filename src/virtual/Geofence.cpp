#include "virtual/Geofence.h"

#include <cmath>
#include <stdexcept>
#include <vector>

#include "model/ModelContext.h"
#include "virtual/Angles.h"

namespace trelis {
namespace {

constexpr double kMetresPerDegreeLatitude = 111320.0;
constexpr double kMetresPerDegreeLongitude = 55287.0;
constexpr double kEastOffset = 19903320.0;
constexpr double kMostDegrees = 180.0;

}  // namespace

Geofence::Geofence(const std::shared_ptr<Message>& owner, const std::string& group,
                   const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile), legacyGps_(context().legacyGps) {
    for (const std::string& reference : gpsReferences(context()))
        inputs.emplace_back(context().getSignal(reference));
    readShape(keyFile, group);
}

void Geofence::readShape(const Glib::KeyFile& keyFile, const std::string& group) {
    if (!keyFile.has_key(group, "type"))
        throw std::invalid_argument("Mandatory Geofence attribute missing: 'type'");
    const std::string type = keyFile.get_string(group, "type");
    if (type == "square") {
        corner_ = readPoint(keyFile, group, "topleft");
        opposite_ = readPoint(keyFile, group, "bottomright");
        inside_ = &Geofence::insideSquare;
    } else if (type == "circle") {
        corner_ = readPoint(keyFile, group, "center");
        if (!keyFile.has_key(group, "radius"))
            throw std::invalid_argument("Missing value 'radius'");
        radius_ = keyFile.get_integer(group, "radius");
        inside_ = &Geofence::insideCircle;
    } else {
        throw std::invalid_argument(
            "Geofence attribute 'type' must be 'square' or 'circle', not '" + type + "'");
    }
}

Geofence::PlanePoint Geofence::readPoint(const Glib::KeyFile& keyFile, const std::string& group,
                                         const char* key) {
    if (!keyFile.has_key(group, key))
        throw std::invalid_argument(std::string("Missing value '") + key + "'");
    const std::vector<double> point = keyFile.get_double_list(group, key);
    if (point.size() != 2)
        throw std::invalid_argument(std::string("Expected '") + key +
                                    "' to be two (2) doubles seperated by a semicolon (;)");
    return project({point[0], point[1]});
}

Geofence::PlanePoint Geofence::project(const GpsPosition& position) {
    return {position.latitude * kMetresPerDegreeLatitude,
            position.longitude * std::cos(position.latitude * kRadiansPerDegree) *
                    kMetresPerDegreeLongitude +
                kEastOffset};
}

bool Geofence::insideSquare(const PlanePoint& point) const {
    return corner_.x > point.x && point.x > opposite_.x && point.y > corner_.y &&
           opposite_.y > point.y;
}

bool Geofence::insideCircle(const PlanePoint& point) const {
    const double east = corner_.y - point.y;
    const double north = corner_.x - point.x;
    return radius_ >= std::sqrt(east * east + north * north);
}

void Geofence::calculateStep() {
    const RawPosition raw{inputs[0].heldValue, inputs[1].heldValue, inputs[2].heldValue,
                          inputs[3].heldValue};
    // The logger's own positions are degrees already; no coordinate in degrees exceeds 180.
    const GpsPosition position = decodePosition(
        raw, [this](double value) { return legacyGps_ || std::fabs(value) > kMostDegrees; });
    output(curTime, (this->*inside_)(project(position)) ? 1.0 : 0.0);
}

}  // namespace trelis
