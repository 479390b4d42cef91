#include "Definitions.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <set>

#include "LogBlocks.h"

namespace trelis::floors {

namespace {

struct Settings {
    std::map<int, std::string> names;
    std::map<int, std::string> dbcFiles;
    std::set<std::string> wanted;  ///< interface.message.signal; empty for all
};

Settings readVsd(const std::string& path) {
    std::ifstream file(path);
    if (!file) die("cannot be read", path);
    Settings settings;
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        const std::string key = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (key.starts_with("ifname_")) settings.names[std::stoi(key.substr(7))] = value;
        if (key.starts_with("dbcfile_")) settings.dbcFiles[std::stoi(key.substr(8))] = value;
        if (key.starts_with("signal_")) settings.wanted.insert(value);
    }
    return settings;
}

}  // namespace

std::vector<MessagePlan> readPlans(const std::string& vsdPath) {
    const Settings settings = readVsd(vsdPath);
    const std::string directory = vsdPath.substr(0, vsdPath.rfind('/') + 1);
    std::vector<MessagePlan> plans;
    std::size_t signals = 0;
    for (const auto& [interface, dbc] : settings.dbcFiles) {
        std::ifstream file(directory + dbc);
        if (!file) die("cannot be read", directory + dbc);
        std::string message;
        for (std::string line; std::getline(file, line);) {
            char name[64];
            unsigned id = 0, start = 0, bits = 0, order = 0;
            char sign = 0;
            double factor = 1, offset = 0;
            if (std::sscanf(line.c_str(), "BO_ %u %63[^:]", &id, name) == 2) {
                plans.push_back({id, static_cast<std::uint8_t>(interface), {}});
                message = settings.names.at(interface) + "." + name + ".";
            } else if (std::sscanf(line.c_str(), " SG_ %63s : %u|%u@%u%c (%lf,%lf)", name, &start,
                                   &bits, &order, &sign, &factor, &offset) == 7) {
                if (!settings.wanted.empty() && !settings.wanted.contains(message + name)) continue;
                const bool big = order == 0;
                const unsigned shift = big ? 64 - (start / 8 * 8 + 7 - start % 8) - bits : start;
                plans.back().signals.push_back({bits == 64 ? ~0ULL : (1ULL << bits) - 1,
                                                static_cast<std::uint8_t>(shift),
                                                static_cast<std::uint8_t>(64 - bits), big,
                                                sign == '-', factor, offset, signals++});
            }
        }
    }
    std::erase_if(plans, [](const MessagePlan& plan) { return plan.signals.empty(); });
    return plans;
}

}  // namespace trelis::floors
