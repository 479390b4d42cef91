// The sum of all values that a signal took.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// A value enters the sum when it differs from the one before. A reset input above 0 restarts both
/// the sum and the comparison, so that the value before the reset counts again.
class Accumulate final : public SteppedSignal<Accumulate> {
  public:
    Accumulate(const std::shared_ptr<Message>& message, const std::string& group,
               const Glib::KeyFile& keyFile);

    void calculateStep() override;
    [[nodiscard]] bool summaryValue(double& out) const override;

  private:
    double lastValue_ = 0.0;
    double sum_ = 0.0;
};

}  // namespace trelis
