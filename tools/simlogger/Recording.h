#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Scenario.h"

namespace trelis::sim {

struct RecordingSummary {
    std::vector<std::string> files;  ///< names within the directory, in the order of writing
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;     ///< of the log files
    std::uint64_t lengthMs = 0;  ///< of the traffic that was written
};

/// Writes the log files of a scenario, its DBC files, a VSD file and its further texts into a
/// directory, which is made if it is missing. Files of the same names are overwritten.
/// Throws ScenarioError for a scenario that cannot be used and std::runtime_error for a file that
/// cannot be written.
RecordingSummary writeRecording(const Scenario& scenario, const std::filesystem::path& directory);

/// The first line of a log file with its newline: the start time, UTC, and the device.
std::string logHeader(std::uint64_t startMs, const std::string& device);

}  // namespace trelis::sim
