// A small model to compute in: one bus, the logger's interface, and the virtual one.
#pragma once

#include <glibmm/init.h>
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
#include "app/diagnostics/MessageLog.h"
#include "model/Message.h"
#include "model/ModelContext.h"
#include "model/Signal.h"
#include "virtual/SignalFactory.h"
#include "virtual/VirtualMessage.h"
#include "virtual/VirtualRegistry.h"
#include "virtual/VirtualSignal.h"

namespace trelis::test {

/// Times in tests count from here, in ms since the epoch.
inline constexpr std::uint64_t kStart = 1'600'000'000'000;

class TestModel : public ModelContext {
  public:
    TestModel() {
        Glib::init();
        static_cast<void>(messages());
        bus = addInterface("Can", 0);
        addInterface("Logger", kLoggerInterface);
        virt = addInterface("Virt", kVirtualInterface);
        virtualMessage = std::make_shared<VirtualMessage>(virt, "Calc");
        virt->addMessage(virtualMessage);
    }
    ~TestModel() override { clear(); }

    void clear() {
        for (const auto& [name, iface] : interfaces)
            iface->clear();
    }

    std::shared_ptr<CanIface> addInterface(const std::string& name, std::uint32_t number) {
        return interfaces[name] = std::make_shared<CanIface>(*this, name, number);
    }

    /// A plain signal, "Can.In.<name>" unless told otherwise; one that exists is returned.
    std::shared_ptr<Signal> input(const std::string& name, const std::string& iface = "Can",
                                  const std::string& messageName = "In") {
        auto& message = messages_[iface + "." + messageName];
        if (!message) {
            const auto id = static_cast<std::uint32_t>(messages_.size());
            message = std::make_shared<Message>(id, messageName, interfaces.at(iface));
            interfaces.at(iface)->addMessage(message);
        }
        message->addSignal(name, std::make_shared<Signal>(message, name));
        return message->getSignal(name);
    }

    /// Gives an input samples at times from kStart on.
    std::shared_ptr<Signal> feed(const std::string& name,
                                 const std::vector<std::pair<std::uint64_t, double>>& samples) {
        auto signal = input(name);
        for (const auto& [time, value] : samples)
            signal->addSample(kStart + time, value);
        signal->flushSamples();
        return signal;
    }
    /// One value every 100 ms, and the last one once more, so that a step of 100 ms sees them all.
    std::shared_ptr<Signal> feedSteps(const std::string& name, const std::vector<double>& values) {
        std::vector<std::pair<std::uint64_t, double>> samples;
        for (const double value : values)
            samples.emplace_back(100 * samples.size(), value);
        samples.emplace_back(100 * samples.size(), values.back());
        return feed(name, samples);
    }

    /// Makes the signal of a group with these lines, named "Calc.<name>" or as told.
    std::shared_ptr<VirtualSignal> make(const std::string& lines, const std::string& name = "out",
                                        const std::string& vsdFile = "/nowhere/test.vsd") {
        const std::string group = virtualMessage->name + "." + name;
        Glib::KeyFile keyFile;
        keyFile.load_from_data("[" + group + "]\n" + lines + "\n");
        return createSignal(virtualMessage, group, name, keyFile, vsdFile);
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
        const auto first = reference.find('.');
        const auto second = reference.find('.', first + 1);
        const std::string iface = reference.substr(0, first);
        if (makeInputs && iface != "Virt")
            return input(reference.substr(second + 1), iface,
                         reference.substr(first + 1, second - first - 1));
        if (!interfaces.contains(iface))
            throw SignalNotFoundException("Couldn't find interface with name " + iface);
        return interfaces.at(iface)
            ->findByName(reference.substr(first + 1, second - first - 1))
            ->getSignal(reference.substr(second + 1));
    }
    [[nodiscard]] std::optional<std::string> interfaceName(std::uint32_t number) const override {
        for (const auto& [name, iface] : interfaces)
            if (iface->number == number) return name;
        return std::nullopt;
    }
    [[nodiscard]] std::string colorOf(const std::string& /*iface*/, const std::string& /*message*/,
                                      const std::string& /*signal*/) const override {
        return {};
    }

    /// The texts told since the last call.
    static std::vector<std::string> messages() {
        std::vector<std::string> texts;
        while (!MessageLog::instance().isEmpty())
            texts.push_back(MessageLog::instance().pop().text);
        return texts;
    }

    std::map<std::string, std::shared_ptr<CanIface>> interfaces;
    std::shared_ptr<CanIface> bus;
    std::shared_ptr<CanIface> virt;
    std::shared_ptr<VirtualMessage> virtualMessage;
    bool makeInputs = false;  ///< references to unknown signals make them

  protected:
    void recountNow() override {}

  private:
    std::map<std::string, std::shared_ptr<Message>> messages_;
};

/// What is held at 0, 100, 200 ms and so on; 0 before the first sample.
inline std::vector<double> valuesAtSteps(const Signal& signal, std::size_t count) {
    std::vector<double> values;
    for (std::size_t i = 0; i < count; ++i)
        values.push_back(signal.valueAt(kStart + i * 100));
    return values;
}

/// The stored samples with times from kStart on.
inline std::vector<std::pair<std::uint64_t, double>> stored(const Signal& signal) {
    std::vector<std::pair<std::uint64_t, double>> samples;
    for (const Sample& sample : signal.samples())
        samples.emplace_back(sample.time - kStart, sample.value);
    return samples;
}

inline double summaryOf(const VirtualSignal& signal) {
    double value = std::nan("");
    EXPECT_TRUE(signal.summaryValue(value));
    return value;
}

inline std::vector<std::string> wordsOf(const std::string& text, char separator) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, separator);)
        if (!word.empty()) words.push_back(word);
    return words;
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
    /// Values every 100 ms, or at times; "=5" is a summary, "none" says that there are no samples.
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
            std::vector<std::pair<std::uint64_t, double>> samples;
            for (std::size_t i = 1; i < words.size(); ++i)
                samples.push_back(sampleOf(words[i], i - 1));
            if (input.find(':') == std::string::npos && !samples.empty())
                samples.emplace_back(samples.size() * 100, samples.back().second);
            model.feed(words.front(), samples);
        }
        const auto signal = model.compute(linesOf(group));
        const auto results = wordsOf(out, ' ');
        for (std::size_t i = 0; i < results.size(); ++i) {
            if (results[i] == "none") {
                EXPECT_TRUE(signal->samples().empty());
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
