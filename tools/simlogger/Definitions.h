#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "Scenario.h"

namespace trelis::sim {

/// The DBC file of one interface: messages, signals, comments, value labels, multiplexing, floats.
/// Throws ScenarioError where a line would be too long for readers that take lines below 100 bytes.
std::string dbcText(const Scenario& scenario, std::uint8_t interface);

/// The `[settings]` group of a VSD file that names all interfaces with their DBC files.
std::string vsdSettingsText(const Scenario& scenario);

}  // namespace trelis::sim
