#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Scenario.h"

namespace trelis::sim {

/// A scenario that the program brings along as a text.
struct Preset {
    std::string_view name;
    std::string_view purpose;  ///< one line for the user
    const char* const* base;   ///< the text
    std::string_view changes;  ///< lines for its recording that replace earlier ones
};

std::span<const Preset> textPresets();

/// The text of a preset, or nothing if there is none of this name.
std::optional<std::string> presetText(std::string_view name);

/// What the measuring scenario can be told.
struct BenchOptions {
    std::uint64_t seed = 1;
    std::uint32_t files = 20;
    std::uint64_t framesPerFile = 1000000;
    std::uint32_t messages = 120;
    std::uint32_t interfaces = 1;
};

/// A recording to measure with: messages of 10 to 1000 ms that hold random walks, slow drifts,
/// states, constants, counters and checksums. Its interfaces are called Can0, Can1 and so on.
/// Beside `bench.vsd`, which only names them, it brings VSD files that want a few signals:
/// `bench_10.vsd` and `bench_100.vsd` that many, and `bench_few.vsd` and `bench_many.vsd`, the
/// second of which wants ten times as many messages for the same number of frames.
Scenario benchScenario(const BenchOptions& options);

extern const char* const kDriveText;
extern const char* const kSmallText;

}  // namespace trelis::sim
