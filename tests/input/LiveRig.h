// A Store whose model is that of a scenario, and a logger that serves its frames.
#pragma once

#include <glibmm/init.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"
#include "input/DbcReader.h"
#include "input/LiveConnection.h"
#include "input/Recording.h"
#include "input/stream/BlockMaker.h"
#include "model/RealMessage.h"
#include "model/RealSignal.h"
#include "simlogger/Definitions.h"
#include "simlogger/Presets.h"
#include "simlogger/Scenario.h"
#include "simlogger/Server.h"

namespace trelis::test {

inline sim::Scenario smallScenario() {
    sim::Scenario scenario = sim::parseScenario(sim::presetText("small").value());
    sim::completeScenario(scenario);
    return scenario;
}

/// Reads the interfaces, messages and signals of the scenario and selects them all.
inline void buildModel(Store& store, const sim::Scenario& scenario) {
    const Folder folder;
    const RecountBatch batch(store);
    for (const auto& [number, interface] : scenario.interfaces) {
        const std::string dbc = folder.write("a.dbc", sim::dbcText(scenario, number));
        readDbcFile(store, dbc, number, interface.name);
        for (const auto& [id, message] : store.findInterfaceByNumber(number)->messages)
            message->selectAll(true);
    }
}

/// The values that each signal went through, each with its time since the first frame. What the
/// ways of storing differ in is how often a value that does not change is stored, so repetitions
/// are left out.
using ValueRuns = std::map<std::string, std::vector<Sample>>;

inline ValueRuns valuesOf(const Store& store) {
    ValueRuns runs;
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals) {
                auto& values = runs[signal->fullName];
                for (const Sample& sample : signal->samples())
                    if (values.empty() || values.back().value != sample.value)
                        values.push_back({sample.time - store.firstTime, sample.value});
            }
    return runs;
}

using Texts = std::vector<std::string>;

/// What was told since the last call, each with its level.
inline Texts takeMessages() {
    constexpr std::array<const char*, 3> kLevels = {"INF ", "WRN ", "ERR "};
    Texts texts;
    while (!MessageLog::instance().isEmpty()) {
        const MessageLogEntry entry = MessageLog::instance().pop();
        texts.push_back(kLevels[static_cast<std::size_t>(entry.level)] + entry.text);
    }
    return texts;
}

/// A socket on a free port of the loopback address, which becomes known by `address`.
inline Descriptor boundSocket(int type, sockaddr_in& address) {
    Descriptor socket(::socket(AF_INET, type, 0));
    address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(socket.get(), generic, size), 0);
    EXPECT_EQ(getsockname(socket.get(), generic, &size), 0);
    return socket;
}

inline int connectTo(const Descriptor& socket, const sockaddr_in& address) {
    return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

/// Listens on a free port of the loopback address, or only takes the port.
struct Listener {
    explicit Listener(bool listens = true) : socket(boundSocket(SOCK_STREAM, address)) {
        EXPECT_TRUE(!listens || listen(socket.get(), 0) == 0);
        port = ntohs(address.sin_port);
    }
    sockaddr_in address;
    Descriptor socket;
    std::uint16_t port = 0;
};

/// A listener whose queue is full: further connects get no answer.
struct DeafListener : Listener {
    DeafListener() {
        for (int i = 0; i < 4; ++i)
            connectTo(queued.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)),
                      address);
    }
    std::vector<Descriptor> queued;
};

/// A logger on a free port, with the thread that it runs on.
class ServedLogger {
  public:
    ServedLogger(sim::ServeOptions options, sim::Server::FeedMaker makeFeed)
        : server_(onFreePort(std::move(options)), std::move(makeFeed)),
          thread_([this] { server_.run(); }) {}
    ServedLogger(const ServedLogger&) = delete;
    ServedLogger& operator=(const ServedLogger&) = delete;
    ~ServedLogger() {
        server_.stop();
        thread_.join();
    }
    [[nodiscard]] const sim::Server& server() const { return server_; }

  private:
    static sim::ServeOptions onFreePort(sim::ServeOptions options) {
        options.port = 0;
        return options;
    }

    sim::Server server_;
    std::thread thread_;
};

/// A Store that is to read from a logger on this machine, to its end and without a window.
class LiveTest : public testing::Test {
  protected:
    LiveTest() {
        Glib::init();
        store_.noGui = true;
        wireLiveInputs(store_);
        buildModel(store_, scenario_);
        takeMessages();
    }

    void target(std::uint16_t port, const std::string& key = {}) {
        store_.hostName = "127.0.0.1";
        store_.port = port;
        store_.decryptionKey = key;
        store_.networkInput = true;
        store_.liveMode = true;
        store_.running = true;
        store_.framesRead = 0;
    }
    static sim::ServeOptions fast(const std::string& key = {}) {
        sim::ServeOptions options;
        options.speed = 0;
        options.key = key;
        return options;
    }

    sim::Scenario scenario_ = smallScenario();
    Store store_;
};

}  // namespace trelis::test
