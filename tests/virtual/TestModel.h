// A small model to compute in: one bus, the logger's interface, and the virtual one.
#pragma once

#include <glibmm/keyfile.h>

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "support/TestStore.h"
#include "virtual/SignalFactory.h"
#include "virtual/VirtualMessage.h"
#include "virtual/VirtualRegistry.h"
#include "virtual/VirtualSignal.h"

namespace trelis::test {

/// Times in tests count from here, in ms since the epoch.
inline constexpr std::uint64_t kStart = 1'600'000'000'000;

using Messages = std::vector<std::string>;
/// Times from kStart on, and values.
using TimedValues = std::vector<std::pair<std::uint64_t, double>>;

inline std::vector<std::string> wordsOf(const std::string& text, char separator) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, separator);)
        if (!word.empty()) words.push_back(word);
    return words;
}

class TestModel : public TestStore {
  public:
    TestModel() {
        addInterface("Can", 0);
        addInterface("Logger", kLoggerInterface);
        virt->addMessage(virtualMessage);
    }

    /// A plain signal, "Can.In.<name>" unless told otherwise; one that exists is returned.
    std::shared_ptr<Signal> input(const std::string& name, const std::string& iface = "Can",
                                  const std::string& messageName = "In") {
        auto& message = messages_[iface + "." + messageName];
        if (!message) {
            const auto owner = findInterfaceByName(iface);
            const auto id = static_cast<std::uint32_t>(messages_.size());
            message = std::make_shared<Message>(id, messageName, owner);
            owner->addMessage(message);
        }
        message->addSignal(name, std::make_shared<Signal>(message, name));
        return message->getSignal(name);
    }

    std::shared_ptr<Signal> feed(const std::string& name, const TimedValues& samples) {
        auto signal = input(name);
        for (const auto& [time, value] : samples)
            signal->addSample(kStart + time, value);
        signal->flushSamples();
        return signal;
    }
    /// One value every 100 ms, and the last one once more, so that a step of 100 ms sees them all.
    std::shared_ptr<Signal> feedSteps(const std::string& name, const std::vector<double>& values) {
        TimedValues samples;
        for (const double value : values)
            samples.emplace_back(100 * samples.size(), value);
        samples.emplace_back(100 * samples.size(), values.back());
        return feed(name, samples);
    }

    /// Makes the signal "Calc.<name>" of a group with these lines.
    std::shared_ptr<VirtualSignal> make(const std::string& lines, const std::string& name = "out") {
        const std::string group = virtualMessage->name + "." + name;
        Glib::KeyFile keyFile;
        keyFile.load_from_data("[" + group + "]\n" + lines + "\n");
        return createSignal(virtualMessage, group, name, keyFile, "/nowhere/test.vsd");
    }
    /// The text with which making it fails; "made" if it does not.
    std::string failure(const std::string& lines) {
        try {
            make(lines);
        } catch (const PrintMsgError&) {
            return "told: " + messages().back();
        } catch (const Glib::Error& error) {
            return "Glib: " + error.what().raw();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "made";
    }

    /// The end of a parse.
    void finish() {
        for (const auto& [id, message] : virt->messages)
            message->startWorker();
        for (const auto& [id, message] : virt->messages)
            message->finish();
    }
    /// Makes a signal, uses it and ends the parse.
    std::shared_ptr<VirtualSignal> compute(const std::string& lines) {
        auto signal = make(lines);
        signal->addUser(nullptr);
        finish();
        return signal;
    }

    std::shared_ptr<Signal> getSignal(const std::string& reference) override {
        if (!makeInputs || reference.starts_with("Virt.")) return Store::getSignal(reference);
        const auto words = wordsOf(reference, '.');
        return input(words.at(2), words.at(0), words.at(1));
    }

    std::shared_ptr<CanIface> virt = addInterface("Virt", kVirtualInterface);
    std::shared_ptr<VirtualMessage> virtualMessage = std::make_shared<VirtualMessage>(virt, "Calc");
    bool makeInputs = false;  ///< references to unknown signals make them

  private:
    std::map<std::string, std::shared_ptr<Message>> messages_;
};

inline TimedValues stored(const Signal& signal) {
    TimedValues samples;
    for (const Sample& sample : signal.samples())
        samples.emplace_back(sample.time - kStart, sample.value);
    return samples;
}

inline double summaryOf(const VirtualSignal& signal) {
    double value = std::nan("");
    EXPECT_TRUE(signal.summaryValue(value));
    return value;
}

/// The lines of a group from words: "max a,b fact=2" is the method, its inputs Can.In.a and
/// Can.In.b, and keys. A step of 100 ms is added, but for integrate.
inline std::string linesOf(const std::string& text) {
    const auto words = wordsOf(text, ' ');
    std::string lines = "method=" + words.front() + "\n";
    if (words.front() != "integrate" && text.find("step=") == std::string::npos)
        lines += "step=100\n";
    for (std::size_t i = 1; i < words.size(); ++i) {
        const bool isKey = words[i].find('=') != std::string::npos;
        const auto inputs = isKey ? std::vector<std::string>{} : wordsOf(words[i], ',');
        for (std::size_t k = 0; k < inputs.size(); ++k)
            lines += "signal_0" + std::to_string(k + 1) + "=Can.In." + inputs[k] + "\n";
        if (isKey) lines += words[i] + "\n";
    }
    return lines;
}

/// A signal, what its inputs get, and what it makes of it.
struct MethodCase {
    std::string group;   ///< see linesOf
    std::string inputs;  ///< "a 1 2 3; b 0:5 70:6": a value every 100 ms, or times with values
    /// Values every 100 ms, or at times; "=5" is a summary, "#3" the number of samples.
    std::string out;
};

/// A time before a colon, else that of the step of 100 ms.
inline std::pair<std::uint64_t, double> sampleOf(const std::string& word, std::size_t place) {
    const auto colon = word.find(':');
    if (colon == std::string::npos) return {place * 100, std::stod(word)};
    return {std::stoull(word), std::stod(word.substr(colon + 1))};
}

inline void check(std::initializer_list<MethodCase> cases) {
    for (const auto& [group, inputs, out] : cases) {
        SCOPED_TRACE(group + " | " + inputs);
        TestModel model;
        for (const std::string& input : wordsOf(inputs, ';')) {
            const auto words = wordsOf(input, ' ');
            TimedValues samples;
            for (std::size_t i = 1; i < words.size(); ++i)
                samples.push_back(sampleOf(words[i], i - 1));
            if (input.find(':') == std::string::npos && !samples.empty())
                samples.emplace_back(samples.size() * 100, samples.back().second);
            model.feed(words.front(), samples);
        }
        const auto signal = model.compute(linesOf(group));
        const auto results = wordsOf(out, ' ');
        for (std::size_t i = 0; i < results.size(); ++i) {
            if (results[i].front() == '#') {
                EXPECT_EQ(signal->samples().size(), std::stoul(results[i].substr(1)));
            } else if (results[i].front() == '=') {
                EXPECT_DOUBLE_EQ(summaryOf(*signal), std::stod(results[i].substr(1)));
            } else {
                const auto [time, value] = sampleOf(results[i], i);
                EXPECT_DOUBLE_EQ(signal->valueAt(kStart + time), value) << "at " << time;
            }
        }
    }
}

}  // namespace trelis::test
