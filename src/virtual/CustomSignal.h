// A virtual signal that computes one value a step from the values that its inputs hold.
#pragma once

#include <glibmm/keyfile.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "virtual/BatchLock.h"
#include "virtual/UnreadSamples.h"
#include "virtual/VirtualSignal.h"

namespace trelis {

/// An input of a CustomSignal with its read position. The pointers hold within one calculation.
struct SignalInput {
    explicit SignalInput(std::shared_ptr<Signal> source) : signal(std::move(source)) {}

    double heldValue = 0.0;        ///< value of the last sample read
    const Sample* next = nullptr;  ///< the sample to read next
    const Sample* end = nullptr;
    const Sample* mark = nullptr;   ///< where reading for this step began
    const Sample* first = nullptr;  ///< the sample at `index`
    std::size_t index = 0;          ///< read position from one calculation to the next
    std::shared_ptr<Signal> signal;
    UnreadSamples unread;
};

class CustomSignal : public VirtualSignal {
  public:
    /// Reads `step` and the common options of the group. std::invalid_argument for a step below 1.
    CustomSignal(const std::shared_ptr<Message>& message, const std::string& group,
                 const Glib::KeyFile& keyFile);
    /// A built-in signal: `step` in ms, at least 1, and neutral options.
    CustomSignal(const std::shared_ptr<Message>& message, const std::string& name,
                 std::uint32_t step);
    ~CustomSignal() override;

    bool inputsReady() override;
    /// Does one step after the other as far as all inputs have samples beyond it.
    void calculate() override;
    [[nodiscard]] bool usesSignal(const std::string& other) const override;
    void collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const override;
    /// The work of one step: reads the inputs' heldValue and curTime, and calls output if there is
    /// a result. Called with `mutex` held.
    virtual void calculateStep() {}

    std::vector<SignalInput> inputs;
    std::uint32_t step = 1;     ///< ms, never 0
    std::uint64_t curTime = 0;  ///< ms since the epoch; time of the next step
    bool started = false;

  protected:
    /// Adds the signal that the reference under this key names.
    void addInput(const Glib::KeyFile& keyFile, const std::string& group, const std::string& key);
    /// The input of a method that has one: `signal`, else `signal_01`.
    void addSingleInput(const Glib::KeyFile& keyFile, const std::string& group);
    /// `signal_01`, `signal_02` and so on up to the first gap. `noneText`: what
    /// std::invalid_argument says if there is none.
    void addInputList(const Glib::KeyFile& keyFile, const std::string& group,
                      const char* noneText = "At least one signal_XX= must be defined");
    /// The optional `resetSig`.
    void addResetInput(const Glib::KeyFile& keyFile, const std::string& group);
    /// Whether there is a reset input behind the first one, and it is above 0 or not a number.
    [[nodiscard]] bool resetRequested() const {
        return inputs.size() > 1 && !(inputs.back().heldValue <= 0.0);
    }

    /// The step loop with `work` in the place of calculateStep.
    template <typename Work>
    void runSteps(Work&& work);

  private:
    /// Times of the inputs' next samples: of the first and the last of them.
    struct NextSamples {
        std::uint64_t soonest = 0;
        std::uint64_t latest = 0;
    };

    /// Sets the read positions of all inputs; false if no step is possible.
    bool openInputs();
    void closeInputs();
    /// Reads all samples up to curTime; false if an input ran out.
    bool readInputs(NextSamples& times);
};

inline bool CustomSignal::readInputs(NextSamples& times) {
    constexpr std::ptrdiff_t kSamplesAhead = 32;
    const std::uint64_t now = curTime;
    times = {std::numeric_limits<std::uint64_t>::max(), 0};
    bool ranOut = false;
    for (SignalInput& input : inputs) {
        const Sample* next = input.next;
        const Sample* const end = input.end;
        input.mark = next;
        if (next != end && next->time <= now) {
            do {
                ++next;
            } while (next != end && next->time <= now);
            // A step is too long for the processor to see its next samples coming.
            __builtin_prefetch(next + std::min(end - next, kSamplesAhead));
            input.heldValue = absInput ? std::fabs(next[-1].value) : next[-1].value;
            input.next = next;
        }
        if (next == end) {
            ranOut = true;
            continue;
        }
        times.soonest = std::min(times.soonest, next->time);
        times.latest = std::max(times.latest, next->time);
    }
    return !ranOut;
}

template <typename Work>
void CustomSignal::runSteps(Work&& work) {
    if (!inputsReady() || !openInputs()) return;
    {
        BatchLock lock(*mutex);
        NextSamples times;
        while (curTime < times.soonest || readInputs(times)) {
            work();
            // A time that is damaged may lie at the end of the numbers.
            std::uint64_t next = curTime + step;
            if (next < curTime) next = std::numeric_limits<std::uint64_t>::max();
            // Over a gap of any input the next step is where all have come back.
            if (times.latest > next && times.latest - next > kGapMs) next = times.latest;
            curTime = next;
            lock.tick();
        }
    }
    closeInputs();
}

/// A method whose step the loop calls directly, without a virtual call.
template <typename Method>
class SteppedSignal : public CustomSignal {
  public:
    using CustomSignal::CustomSignal;

    void calculate() final {
        runSteps([method = static_cast<Method*>(this)] { method->Method::calculateStep(); });
    }
};

}  // namespace trelis
