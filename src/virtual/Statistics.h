// The least, greatest or mean value of a signal.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// Has no samples and no plot; the result is in the summary at the end of a parse. "max"
/// deliberately starts from the smallest positive number: a signal with only negative values has
/// that maximum.
class Statistics final : public SteppedSignal<Statistics> {
  public:
    Statistics(const std::shared_ptr<Message>& message, const std::string& group,
               const Glib::KeyFile& keyFile);

    void calculateStep() override;
    /// Turns the sum of an average into the mean. Stores no sample.
    void flushSamples() override;
    [[nodiscard]] bool summaryValue(double& out) const override;

  private:
    void takeMin(double x);
    void takeMax(double x);
    void takeSum(double x);

    double value_ = 0.0;
    double count_ = 0.0;
    void (Statistics::*update_)(double) = nullptr;
};

}  // namespace trelis
