// A virtual signal that computes one value a step from the values that its inputs hold.
#pragma once

#include <glibmm/keyfile.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "virtual/VirtualSignal.h"

namespace trelis {

/// An input of a CustomSignal with its read position.
struct SignalInput {
    explicit SignalInput(std::shared_ptr<Signal> source) : signal(std::move(source)) {}

    std::shared_ptr<Signal> signal;
    const Sample* next = nullptr;   ///< valid within one calculation
    const Sample* end = nullptr;    ///< likewise
    std::size_t index = 0;          ///< read position from calculation to calculation
    double heldValue = 0.0;         ///< value of the last sample read
    const Sample* mark = nullptr;   ///< where this step began to read
    const Sample* first = nullptr;  ///< stands for the sample at `index`
    std::vector<Sample> copy;       ///< of the unread samples, during live runs
};

/// The step loop reads the inputs' arrays in place: after a finished parse nobody writes to them.
/// During a live run, where their decoders append meanwhile, it works on copies of the few samples
/// that are new. `mutex` is held over a few hundred steps at a time.
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
    [[nodiscard]] bool usesSignal(const std::string& fullName) const override;
    void collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const override;

    std::vector<SignalInput> inputs;
    std::uint32_t step = 1;     ///< ms, never 0
    std::uint64_t curTime = 0;  ///< ms since the epoch; time of the next step
    bool started = false;

  protected:
    /// The work of one step: reads the inputs' heldValue and curTime, and calls output if there is
    /// a result. `mutex` is held.
    virtual void calculateStep() {}

    /// Adds the signal that the reference under this key names.
    void addInput(const Glib::KeyFile& keyFile, const std::string& group, const std::string& key);
    /// The input of a method that has one: `signal`, else `signal_01`.
    void addSingleInput(const Glib::KeyFile& keyFile, const std::string& group);
    /// `signal_01`, `signal_02` and so on up to the first gap. `noneText`: what
    /// std::invalid_argument says if there is none.
    void addInputList(const Glib::KeyFile& keyFile, const std::string& group,
                      const char* noneText = "At least one signal_XX= must be defined");

    /// The step loop with `work` in the place of calculateStep.
    template <typename Work>
    void runSteps(Work&& work);

    static constexpr unsigned kStepsPerLock = 512;

  private:
    /// Sets the read positions of all inputs; false if no step is possible.
    bool openInputs();
    void copyInputs();
    void closeInputs();
    /// Reads all samples up to curTime; false if an input ran out.
    bool readInputs();

    std::uint64_t soonest_ = 0;  ///< time of the next sample of the input that changes first
    std::uint64_t latest_ = 0;   ///< the same of the one that changes last
};

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
