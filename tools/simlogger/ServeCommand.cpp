#include "ServeCommand.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "ScenarioChoice.h"
#include "Server.h"
#include "Text.h"

namespace trelis::sim {

namespace {

std::atomic<Server*> runningServer = nullptr;  // for the signal handler

void stopOnSignal(int /*signal*/) {
    if (Server* server = runningServer.load(); server != nullptr) server->stop();
}

struct ServeArguments {
    ServeOptions options;
    ScenarioChoice scenario;
    std::vector<std::filesystem::path> logFiles;
};

template <typename Number>
Number numberOf(std::string_view name, std::string_view value) {
    const auto number = numberIn<Number>(value);
    if (!number) throw UsageError(std::string(name) + " takes no '" + std::string(value) + "'");
    return *number;
}

bool takeOption(ServeOptions& options, std::string_view name, std::string_view value) {
    if (name == "--port")
        options.port = numberOf<std::uint16_t>(name, value);
    else if (name == "--key")
        options.key = value;
    else if (name == "--speed")
        options.speed = value == "max" ? 0.0 : numberOf<double>(name, value);
    else if (name == "--piece")
        options.piece = numberOf<std::size_t>(name, value);
    else if (name == "--after")
        options.faultAfter = numberOf<std::uint64_t>(name, value);
    else if (name == "--fault") {
        const auto fault = faultNamed(value);
        if (!fault) throw UsageError("there is no fault '" + std::string(value) + "'");
        options.fault = *fault;
    } else {
        return false;
    }
    return true;
}

ServeArguments readArguments(std::span<const std::string_view> words) {
    ServeArguments arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view name = words[i];
        if (name == "--once") {
            arguments.options.once = true;
            continue;
        }
        if (!name.starts_with("-")) {
            arguments.logFiles.emplace_back(name);
            continue;
        }
        if (i + 1 == words.size()) throw UsageError(std::string(name) + " needs a value");
        const std::string_view value = words[++i];
        if (!takeOption(arguments.options, name, value) && !arguments.scenario.take(name, value))
            throw UsageError("there is no option " + std::string(name));
    }
    if (arguments.logFiles.empty() != arguments.scenario.isMade())
        throw UsageError("either log files or a scenario are needed");
    return arguments;
}

}  // namespace

int serve(std::span<const std::string_view> words) {
    const ServeArguments arguments = readArguments(words);
    Scenario scenario;
    if (arguments.scenario.isMade()) scenario = arguments.scenario.scenario();
    // A file that is none is told now, not when somebody connects.
    for (const std::filesystem::path& file : arguments.logFiles)
        recordingFeed({file})->next();
    Server server(arguments.options, [&] {
        return arguments.logFiles.empty() ? scenarioFeed(scenario)
                                          : recordingFeed(arguments.logFiles);
    });
    std::printf("listening on 127.0.0.1:%u\n", static_cast<unsigned>(server.port()));
    std::fflush(stdout);
    runningServer = &server;
    std::signal(SIGINT, stopOnSignal);
    std::signal(SIGTERM, stopOnSignal);
    server.run();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    runningServer = nullptr;
    std::fprintf(stderr, "%llu frames sent in %llu answers\n",
                 static_cast<unsigned long long>(server.framesSent()),
                 static_cast<unsigned long long>(server.answersSent()));
    return 0;
}

}  // namespace trelis::sim
