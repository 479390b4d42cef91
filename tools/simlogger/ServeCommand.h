#pragma once
#include <span>
#include <string_view>

namespace trelis::sim {

/// The command `serve` with what stands behind it; the exit status. Runs until a signal ends it.
/// Throws UsageError or another std::exception.
int serve(std::span<const std::string_view> arguments);

}  // namespace trelis::sim
