#include "ScenarioChoice.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "Text.h"

namespace trelis::sim {

namespace {

std::uint32_t smallNumber(std::string_view text) {
    const auto value = numberIn<std::uint32_t>(text);
    if (!value) throw UsageError("'" + std::string(text) + "' is not a number");
    return *value;
}

std::string readFile(const std::string& path) {
    if (std::filesystem::is_directory(path)) throw std::runtime_error(path + " is a folder");
    std::ifstream stream(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad()) throw std::runtime_error("cannot read " + path);
    return text;
}

}  // namespace

std::string textOfPreset(std::string_view name) {
    std::optional<std::string> text = presetText(name);
    if (!text)
        throw UsageError("there is no preset '" + std::string(name) + "'; see simlogger presets");
    return std::move(*text);
}

bool ScenarioChoice::take(std::string_view name, std::string_view value) {
    if (name == "--scenario")
        file_ = value;
    else if (name == "--preset")
        preset_ = value;
    else if (name == "--seed" || name == "--files" || name == "--frames")
        settings_.emplace_back(name.substr(2), value);
    else if (name == "--messages")
        bench_.messages = smallNumber(value);
    else if (name == "--interfaces")
        bench_.interfaces = smallNumber(value);
    else if (name == "--set") {
        std::string_view rest = value;
        const std::string_view key = trimmed(takeUntil(rest, "="));
        settings_.emplace_back(key, trimmed(rest));
    } else {
        return false;
    }
    return true;
}

// The seed of the measuring preset also makes its messages, so it has to be known before.
Scenario ScenarioChoice::bench() const {
    RecordingSpec wanted;
    BenchOptions options = bench_;
    wanted.seed = options.seed;
    for (const auto& [key, value] : settings_)
        setRecordingKey(wanted, key, value);
    options.seed = wanted.seed;
    return benchScenario(options);
}

Scenario ScenarioChoice::scenario() const {
    if (file_.empty() == preset_.empty())
        throw UsageError("one of --scenario and --preset is needed");
    Scenario scenario =
        preset_ == "bench" ? bench()
                           : parseScenario(file_.empty() ? textOfPreset(preset_) : readFile(file_));
    for (const auto& [key, value] : settings_)
        setRecordingKey(scenario.recording, key, value);
    completeScenario(scenario);
    return scenario;
}

}  // namespace trelis::sim
