// The integral of a signal over time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "virtual/UnreadSamples.h"
#include "virtual/VirtualSignal.h"

namespace trelis {

/// Goes through every sample of its input, since an integral must not depend on a step: rectangles
/// with the value at the start of each interval, in units of the input times seconds. A gap adds
/// nothing. While a reset signal is above 0 the sum is held at 0; the integration then waits for
/// the reset signal's samples.
class IntDer final : public VirtualSignal {
  public:
    IntDer(const std::shared_ptr<Message>& message, const std::string& group,
           const Glib::KeyFile& keyFile);
    ~IntDer() override;

    bool inputsReady() override;
    void calculate() override;
    [[nodiscard]] bool usesSignal(const std::string& other) const override;
    void collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const override;
    [[nodiscard]] bool summaryValue(double& out) const override;

    std::shared_ptr<Signal> input;
    std::shared_ptr<Signal> resetSignal;  ///< may be empty

  private:
    void integrate(const Sample& sample, std::span<const Sample>& resets);
    void applyResets(std::uint64_t before, std::span<const Sample>& resets);
    [[nodiscard]] double inputValue(const Sample& sample) const;

    bool onlyPos_;  ///< hides onlyNeg_
    bool onlyNeg_;
    bool hasSumLimits_;
    double maxSum_;
    double minSum_;
    double sum_ = 0.0;
    std::uint64_t lastTime_ = 0;
    double lastValue_ = 0.0;
    std::size_t inputIndex_ = 0;
    std::size_t resetIndex_ = 0;
    bool resetActive_ = false;
    bool started_ = false;
    UnreadSamples unreadInput_;
    UnreadSamples unreadResets_;
};

}  // namespace trelis
