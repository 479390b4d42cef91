#pragma once
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Presets.h"
#include "Scenario.h"

namespace trelis::sim {

/// A command line that cannot be used.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The scenario that the options of a command name.
class ScenarioChoice {
  public:
    /// Takes an option with its value; false if it is none of these.
    bool take(std::string_view name, std::string_view value);
    /// Whether a file or a preset was named.
    bool isMade() const { return !file_.empty() || !preset_.empty(); }
    /// The complete scenario. Throws UsageError, ScenarioError or std::runtime_error.
    Scenario scenario() const;

  private:
    Scenario bench() const;

    std::string file_;
    std::string preset_;
    std::vector<std::pair<std::string, std::string>> settings_;
    BenchOptions bench_;
};

/// The text of a preset. Throws UsageError if there is none of this name.
std::string textOfPreset(std::string_view name);

}  // namespace trelis::sim
