#pragma once
#include <cstdint>
#include <vector>

#include "Random.h"
#include "Scenario.h"
#include "SignalLayout.h"
#include "Vehicle.h"

namespace trelis::sim {

/// One frame as the logger sees it, before it is given a time stamp of the logger's counter.
struct SimFrame {
    std::uint64_t timeMs = 0;  ///< since the start of the scenario
    std::uint32_t id = 0;      ///< with kExtendedId or kErrorFrame
    std::uint8_t length = 0;
    std::uint8_t interface = 0;
    std::uint64_t data = 0;  ///< the data bytes, the first one lowest
};

/// The frames of a scenario, pulled one by one, in order of time and without an end. The same
/// scenario and seed give the same frames. Frames of the same millisecond come by rising
/// identifier, as on a bus.
class Traffic {
  public:
    /// The scenario has to be complete and to outlive this object. Throws ScenarioError if it has
    /// no messages.
    explicit Traffic(const Scenario& scenario);

    SimFrame next();

  private:
    struct LiveSignal {
        const SignalSpec* spec;
        SignalLayout layout;
        std::int64_t raw;
        std::int64_t low, high;  ///< of the raw value
        std::uint32_t chance;    ///< of a change, in 65536ths
        bool moves;
    };
    struct LiveMessage {
        const MessageSpec* spec;
        std::vector<LiveSignal> signals;
        std::vector<std::int64_t> pages;  ///< the multiplex values, ascending
        std::size_t page = 0;
        std::size_t checksum;  ///< index of the checksum signal, or the number of signals
        std::uint64_t empty;   ///< the data with no signal in it
        std::uint64_t word;    ///< the data of the last frame
    };
    /// When a message is due next. The least due one is the front of the heap.
    struct Due {
        std::uint64_t timeMs;
        std::uint32_t rank;  ///< index into messages_, which are sorted by identifier
        bool operator>(const Due& other) const {
            return timeMs != other.timeMs ? timeMs > other.timeMs : rank > other.rank;
        }
    };

    LiveMessage makeLive(const MessageSpec& spec);
    LiveSignal makeLive(const SignalSpec& spec);
    void scheduleNext(Due due);
    std::int64_t nextRaw(LiveSignal& signal, std::uint64_t timeMs);
    std::uint64_t nextData(LiveMessage& message, std::uint64_t timeMs);
    SimFrame errorFrame(std::uint64_t timeMs);

    const Scenario& scenario_;
    Random random_;
    Vehicle vehicle_;
    std::vector<LiveMessage> messages_;
    std::vector<std::uint8_t> buses_;  ///< the interface numbers that error frames come from
    std::vector<Due> heap_;
    std::uint32_t errorRank_;    ///< the rank that stands for the error frames
    std::uint32_t dropped_ = 0;  ///< frames that the logger says it has lost
};

/// The next frame outside of the recording's silences.
SimFrame nextHeard(Traffic& traffic, const RecordingSpec& recording);

}  // namespace trelis::sim
