#pragma once
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "Scenario.h"
#include "Traffic.h"

namespace trelis::sim {

/// A frame on its way to a client, with the time stamp of the logger's counter. `frame.timeMs`:
/// when it is due, in ms since the first one.
struct FedFrame {
    std::uint32_t timestamp = 0;
    SimFrame frame;
};

/// The frames that a served connection carries, in order.
class FrameFeed {
  public:
    virtual ~FrameFeed() = default;

    /// Nothing at the end. Throws std::runtime_error if a recording cannot be read.
    virtual std::optional<FedFrame> next() = 0;
};

/// The frames of a scenario, as many as its recording would hold. The scenario has to be complete
/// and to outlive the feed.
std::unique_ptr<FrameFeed> scenarioFeed(const Scenario& scenario);

/// The frames of log files in the order given. A later file goes on with the counter as if the
/// logger had never been off; a torn file ends at its last sound block.
std::unique_ptr<FrameFeed> recordingFeed(std::vector<std::filesystem::path> files);

}  // namespace trelis::sim
