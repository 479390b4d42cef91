// A small model to paint from.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "app/store/Store.h"
#include "model/CanIface.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/paint/PaintTask.h"

namespace trelis::test {

/// A run without a window, with one message that holds the signals.
class PaintModel {
  public:
    PaintModel() {
        store.noGui = true;
        interface = store.addInterface("Can", 0);
        message = std::make_shared<Message>(1, "Message", interface);
        interface->addMessage(message);
    }

    std::shared_ptr<Signal> addSignal(const std::string& name) {
        auto signal = std::make_shared<Signal>(message, name);
        message->addSignal(name, signal);
        return signal;
    }

    /// Takes the bounds of the data from a signal.
    void boundBy(const Signal& signal) {
        store.intervalStart = signal.samples().front().time;
        store.intervalEnd = signal.samples().back().time;
    }

    /// Appends samples some ms apart, now and then after a gap.
    static void fill(Signal& signal, std::mt19937_64& random, std::size_t count,
                     std::uint64_t mostStep, unsigned gapOneIn, std::uint64_t start = 1000000) {
        std::uint64_t time = signal.samples().empty() ? start : signal.lastSeenTime + 1;
        double value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const bool gap = gapOneIn != 0 && random() % gapOneIn == 0;
            time += gap ? 9990 + random() % 20 : 1 + random() % mostStep;
            value = random() % 50 == 0 ? static_cast<double>(random() % 1000)
                                       : value + static_cast<double>(random() % 21) - 10;
            signal.addSample(time, value);
        }
    }

    Store store;
    std::shared_ptr<CanIface> interface;
    std::shared_ptr<Message> message;
};

/// A task that shows `from` to `to` on a whole image.
inline PainterTask makeTask(const std::shared_ptr<Signal>& signal, std::uint64_t from,
                            std::uint64_t to, int width, int height, double lineWidth = 2) {
    PainterTask task;
    task.signal = signal;
    task.from = from;
    task.to = to;
    task.axis = {from, to, width, 0, width};
    task.height = height;
    task.lineWidth = lineWidth;
    return task;
}

/// The seed of a random test: that of the environment variable SIGMIRA_SEED, or a new one.
inline std::uint64_t testSeed() {
    const char* fixed = std::getenv("SIGMIRA_SEED");
    return fixed != nullptr ? std::strtoull(fixed, nullptr, 10) : std::random_device()();
}

}  // namespace trelis::test
