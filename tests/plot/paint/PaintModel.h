// A small model to paint from.
#pragma once

#include "plot/paint/PaintTask.h"
#include "support/Model.h"

namespace trelis::test {

/// A run without a window and without a crop, whose one message holds the signals.
struct PaintModel : BusStore {
    std::shared_ptr<Message> message = addMessage(1, "Message");

    PaintModel() { intervalEnd = ~0ULL; }

    std::shared_ptr<Signal> addSignal(const std::string& name = "Signal") {
        auto signal = std::make_shared<Signal>(message, name);
        message->addSignal(name, signal);
        return signal;
    }

    /// Appends samples some ms apart, now and then after a gap.
    static void fill(Signal& signal, Randomness& random, std::size_t count, std::uint32_t mostStep,
                     std::uint32_t gapOneIn) {
        std::uint64_t time = signal.samples().empty() ? 1700000000000 : signal.lastSeenTime + 1;
        double value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const bool gap = gapOneIn != 0 && random.below(gapOneIn) == 0;
            time += gap ? 9990 + random.below(20) : 1 + random.below(mostStep);
            value = random.below(50) == 0 ? random.below(1000) : value + random.below(21) - 10;
            signal.addSample(time, value);
        }
    }
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

}  // namespace trelis::test
