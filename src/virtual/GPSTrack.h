// The track of the logger's receiver.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "virtual/CustomSignal.h"
#include "virtual/GpsPosition.h"

namespace trelis {

class VirtualMessage;

struct GPSPoint {
    std::uint64_t time = 0;  ///< ms since the epoch
    double latitude = 0.0;   ///< degrees
    double longitude = 0.0;  ///< degrees
    double x = 0.0;          ///< nautical miles east of the origin
    double y = 0.0;          ///< nautical miles south of the origin
    double altitude = 0.0;   ///< m
    double speed = 0.0;      ///< km/h
};

/// A hidden signal that collects points, one a second, in place of samples. What calculate writes
/// is guarded by `mutex`; a reader on another thread takes it, unless no calculation can run.
class GPSTrack final : public SteppedSignal<GPSTrack> {
  public:
    /// SignalNotFoundException if the logger's signals are not there; std::invalid_argument if a
    /// legacy definition has no first interface.
    explicit GPSTrack(const std::shared_ptr<Message>& message);

    /// Makes a track and adds it to this message; empty if the logger's signals are not there.
    static std::shared_ptr<GPSTrack> create(const std::shared_ptr<VirtualMessage>& message);

    void calculateStep() override;

    /// Writes the points from `from` to `to`, both in ms and included, as a GPX 1.1 file
    /// (topografix.com). Tells the user when it is done; false, without a word, if the file cannot
    /// be written. An existing file is replaced as a whole.
    bool exportGpx(const std::string& path, std::uint64_t from, std::uint64_t to) const;

    GpsPosition origin;  ///< the first position with a fix; 0 while there is none
    std::vector<GPSPoint> points;
    double maxX = std::numeric_limits<double>::lowest();
    double minX = std::numeric_limits<double>::max();
    double maxY = std::numeric_limits<double>::lowest();
    double minY = std::numeric_limits<double>::max();
    std::uint64_t lastPointTime = 0;

  private:
    [[nodiscard]] std::string gpxText(std::uint64_t from, std::uint64_t to) const;

    bool legacyGps_;
};

}  // namespace trelis
