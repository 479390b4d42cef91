#pragma once
#include <filesystem>

#include "Scenario.h"

namespace trelis::sim {

/// Damages a log file that was just written, in place. Throws std::runtime_error if the file is
/// too small for it or cannot be written.
void damageFile(const std::filesystem::path& path, Damage damage);

}  // namespace trelis::sim
