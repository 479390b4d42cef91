// A Store whose model is that of a scenario, and a logger that serves its frames.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"
#include "model/RealMessage.h"
#include "model/RealSignal.h"
#include "simlogger/Presets.h"
#include "simlogger/Scenario.h"
#include "simlogger/Server.h"

namespace trelis::test {

inline sim::Scenario smallScenario() {
    sim::Scenario scenario = sim::parseScenario(sim::presetText("small").value());
    sim::completeScenario(scenario);
    return scenario;
}

inline std::shared_ptr<RealSignal> makeSignal(const std::shared_ptr<RealMessage>& message,
                                              const sim::SignalSpec& spec) {
    auto signal = RealSignal::create(message, spec.name, spec.start, spec.bits,
                                     spec.bigEndian ? 0 : 1, spec.isSigned ? '-' : '+', spec.unit,
                                     spec.factor, spec.offset, spec.minimum, spec.maximum);
    if (spec.isFloat) signal->setFloat();
    return signal;
}

/// Builds the interfaces, messages and signals of the scenario, all of them selected.
inline void buildModel(Store& store, const sim::Scenario& scenario) {
    for (const auto& [number, interface] : scenario.interfaces)
        store.addInterface(interface.name, number);
    const RecountBatch batch(store);
    for (const sim::MessageSpec& spec : scenario.messages) {
        const auto owner = store.findInterfaceByNumber(spec.interface);
        if (!owner) continue;  // the logger's own
        auto message = RealMessage::create(spec.id, spec.name, owner);
        owner->addMessage(message);
        for (const sim::SignalSpec& signalSpec : spec.signals) {
            auto signal = makeSignal(message, signalSpec);
            if (signalSpec.mux >= 0) signal->muxValue = signalSpec.mux;
            if (signalSpec.mux == sim::SignalSpec::kMultiplexor) {
                message->multiplexor = makeSignal(message, signalSpec);
                message->multiplexor->muxValue = kMultiplexor;
            }
            message->addSignal(signalSpec.name, signal);
            signal->setSelected(true);
        }
    }
}

/// The values that each signal went through. What the ways of storing differ in is how often a
/// value that does not change is stored, so repetitions are left out.
using ValueRuns = std::map<std::string, std::vector<double>>;

inline ValueRuns valuesOf(const Store& store) {
    ValueRuns runs;
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals) {
                auto& values = runs[signal->fullName];
                for (const Sample& sample : signal->samples())
                    if (values.empty() || values.back() != sample.value)
                        values.push_back(sample.value);
            }
    return runs;
}

inline std::vector<std::string> takeMessages() {
    std::vector<std::string> texts;
    while (!MessageLog::instance().isEmpty())
        texts.push_back(MessageLog::instance().pop().text);
    return texts;
}

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

}  // namespace trelis::test
