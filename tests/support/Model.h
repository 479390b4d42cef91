// What tests of the model have in common: frames, signals and samples in a short form.
#pragma once

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "model/RealMessage.h"
#include "support/TestStore.h"

namespace trelis::test {

using Samples = std::vector<Sample>;
using Messages = std::vector<std::string>;

inline Samples samplesOf(const Signal& signal) {
    return {signal.samples().begin(), signal.samples().end()};
}

inline std::string printed(const Signal& signal, double value, std::size_t size = 128) {
    std::array<char, 128> buffer{};
    signal.printValue(buffer.data(), size, value);
    return buffer.data();
}

/// `data`: the eight data bytes, the first in the lowest byte. Tests run on little-endian machines.
inline Frame frameOf(std::uint64_t data, std::uint64_t time = 0, std::uint32_t id = 1,
                     std::uint8_t dlc = 8) {
    Frame frame;
    frame.id = id;
    frame.dlc = dlc;
    frame.absoluteTime = time;
    std::memcpy(frame.data.data(), &data, sizeof data);
    return frame;
}

/// An unsigned byte, the lowest bit at `start`.
inline std::shared_ptr<RealSignal> byteAt(const std::shared_ptr<Message>& message,
                                          const std::string& name, std::uint32_t start,
                                          std::int32_t muxValue = kPlainSignal) {
    auto signal = RealSignal::create(message, name, start, 8, 1, '+', "", 1, 0, 0, 0);
    signal->muxValue = muxValue;
    return signal;
}

/// Frames such as make every rule of storage fire: steps up to and beyond 10 s, values that stay.
inline std::vector<StoredFrame> randomRun(Randomness& random, std::size_t count) {
    constexpr std::uint32_t kSteps[] = {0, 1, 10, 900, 9999, 10000, 10001, 40000};
    std::vector<StoredFrame> run;
    std::uint64_t time = 0;
    std::uint64_t data = random.bits();
    while (run.size() < count) {
        time += kSteps[random.below(random.below(10) == 0 ? 8 : 4)];
        if (random.below(3) == 0) data = random.bits() & random.bits();
        run.emplace_back(time, 8, data);
    }
    return run;
}

/// A Store with one bus.
struct BusStore : TestStore {
    std::shared_ptr<CanIface> bus = addInterface("Can", 0);

    std::shared_ptr<RealMessage> addMessage(std::uint32_t id, const std::string& name) {
        auto message = RealMessage::create(id, name, bus);
        bus->addMessage(message);
        return message;
    }
};

}  // namespace trelis::test
