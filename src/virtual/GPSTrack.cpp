#include "virtual/GPSTrack.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "model/ModelContext.h"
#include "virtual/Angles.h"
#include "virtual/VirtualMessage.h"

namespace trelis {
namespace {

constexpr std::uint32_t kStepMs = 1000;
constexpr double kMilesPerDegree = 60.00721;
constexpr double kHalfMilesPerDegree = 30.053965;
constexpr double kMetresPerSecond = 0.2777777777777778;  // of a km/h

// Never with a decimal comma, whatever the locale says.
std::string fixed(double value, int decimals) {
    std::array<char, 400> buffer;  // the greatest double has 309 digits before the point
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                   std::chars_format::fixed, decimals)
                         .ptr;
    return {buffer.data(), end};
}

// The time as XML wants it, in UTC. `valid` becomes false for a time that no calendar has.
std::string xmlTime(std::uint64_t ms, bool& valid) {
    constexpr std::time_t kYear10000 = 253402300800;
    std::tm date{};
    date.tm_mday = 1;
    const auto seconds = static_cast<std::time_t>(ms / 1000);
    if (seconds >= kYear10000 || gmtime_r(&seconds, &date) == nullptr) valid = false;
    const auto part = [](int value) { return static_cast<unsigned>(value); };
    return format("%04u-%02u-%02uT%02u:%02u:%02u", part(date.tm_year) + 1900U,
                  part(date.tm_mon) + 1U, part(date.tm_mday), part(date.tm_hour), part(date.tm_min),
                  part(date.tm_sec));
}

}  // namespace

GPSTrack::GPSTrack(const std::shared_ptr<Message>& owner)
    : SteppedSignal(owner, "GPSTrack", kStepMs), legacyGps_(context().legacyGps) {
    hidden = true;
    for (const std::string& reference : gpsReferences(context()))
        inputs.emplace_back(context().getSignal(reference));
    const std::string motion = gpsInterfaceName(context()) + ".GPS_MOT.";
    for (const char* signal : {"alt", "bearing", "speed"})
        inputs.emplace_back(context().getSignal(motion + signal));
}

std::shared_ptr<GPSTrack> GPSTrack::create(const std::shared_ptr<VirtualMessage>& message) {
    try {
        auto track = std::make_shared<GPSTrack>(message);
        message->addVirtualSignal(track, track->name);
        return track;
    } catch (const SignalNotFoundException&) {
        return nullptr;
    } catch (const std::invalid_argument&) {
        return nullptr;
    }
}

void GPSTrack::calculateStep() {
    const RawPosition raw{inputs[0].heldValue, inputs[1].heldValue, inputs[2].heldValue,
                          inputs[3].heldValue};
    const GpsPosition position = decodePosition(raw, [this](double) { return legacyGps_; });
    if (position.latitude == 0.0 || position.longitude == 0.0) return;  // no fix
    GPSPoint point{.time = curTime,
                   .latitude = position.latitude,
                   .longitude = position.longitude,
                   .altitude = inputs[4].heldValue,
                   .speed = inputs[6].heldValue};
    if (origin.latitude == 0.0 || origin.longitude == 0.0) {
        origin = position;
    } else {
        const double cosines = std::cos(origin.latitude * kRadiansPerDegree) +
                               std::cos(position.latitude * kRadiansPerDegree);
        point.y = (origin.latitude - position.latitude) * kMilesPerDegree;
        point.x = (position.longitude - origin.longitude) * kHalfMilesPerDegree * cosines;
    }
    maxX = std::max(maxX, point.x);
    minX = std::min(minX, point.x);
    maxY = std::max(maxY, point.y);
    minY = std::min(minY, point.y);
    points.push_back(point);
    lastPointTime = curTime;
    hasData = true;
}

std::string GPSTrack::gpxText(std::uint64_t from, std::uint64_t to) const {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
        "<gpx version=\"1.1\" >\n"
        "\t<metadata>\n"
        "\t\t<name>Exported GPS track</name>\n"
        "\t\t<desc>Exported from Tarnvale Sigmira</desc>\n"
        "\t</metadata>\n"
        "\t<trk>\n"
        "\t\t<name>Track</name>\n"
        "\t\t<desc></desc>\n"
        "\t\t<trkseg>\n";
    bool datesValid = true;
    for (const GPSPoint& point : points) {
        if (point.time < from || point.time > to) continue;
        if (point.latitude == 0.0 || point.longitude == 0.0) continue;
        text += "\t\t\t<trkpt lat=\"" + fixed(point.latitude, 8) + "\" lon=\"" +
                fixed(point.longitude, 8) + "\">\n";
        text += "\t\t\t\t<ele>" + fixed(point.altitude, 2) + "</ele>\n";
        text += "\t\t\t\t<speed>" + fixed(point.speed * kMetresPerSecond, 2) + "</speed>\n";
        text += "\t\t\t\t<time>" + xmlTime(point.time, datesValid) + "</time>\n";
        text += "\t\t\t</trkpt>\n";
    }
    if (!datesValid) report(Level::kWarning, "Failed to get date for ruler");
    return text + "\t\t</trkseg>\n\t</trk>\n</gpx>\n";
}

bool GPSTrack::exportGpx(const std::string& path, std::uint64_t from, std::uint64_t to) const {
    constexpr int kMode = 0666;  // less what the user's mask takes away
    std::string text;
    {
        const std::lock_guard lock(*mutex);
        text = gpxText(from, to);
    }
    if (g_file_set_contents_full(path.c_str(), text.data(), static_cast<gssize>(text.size()),
                                 G_FILE_SET_CONTENTS_CONSISTENT, kMode, nullptr) == FALSE)
        return false;
    report(Level::kInfo, "GPS Track created!");
    return true;
}

}  // namespace trelis
