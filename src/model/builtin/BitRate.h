// The load of a bus in bits per second.
#pragma once

#include <cstdint>
#include <memory>

#include "model/Signal.h"

namespace trelis {

class Store;

/// One per interface, held by Store::bitRates. Averages over periods of at least `interval` ms and
/// stores each rate at the middle of its period. Frames come in order of time on one thread at a
/// time, the Store's worker.
class BitRate : public Signal {
  public:
    /// The interval comes from StoreHooks::bitRateInterval, 100 ms without it.
    BitRate(Store& store, const std::shared_ptr<Message>& message);

    /// Ends the period that runs and reads the interval anew. Only between parses.
    void reset();
    void clearSamples() override;

    /// Counts a frame; error frames are none. `absoluteTime`: ms since the epoch, never falling.
    /// `data`: the eight data bytes, the first in the lowest byte.
    void addFrame(std::uint64_t absoluteTime, std::uint32_t id, std::uint8_t dlc,
                  std::uint64_t data);
    void addFrame(std::uint64_t absoluteTime, const Frame& frame);

  private:
    void addBits(std::uint64_t absoluteTime, std::uint32_t bits);

    Store& store_;
    std::uint64_t periodStart_ = 0;  ///< ms; 0: none runs
    std::uint64_t accumulatedBits_ = 0;
    std::uint64_t interval_ = 100;  ///< ms
};

/// The bus load of an interface, null if it has none.
[[nodiscard]] BitRate* bitRateOf(const Store& store, std::uint32_t interface);

}  // namespace trelis
