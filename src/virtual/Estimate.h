// The mean level of each excursion of a signal.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// Two levels: `offValue`, and for each excursion above `highLimit` the average of its values,
/// which is known, and written out for the whole excursion, only once the input is below
/// `lowLimit`. The sample that starts an excursion does not count for the average, the one that
/// ends it does. An excursion that is still open at the end of the data gives no output.
class Estimate final : public SteppedSignal<Estimate> {
  public:
    Estimate(const std::shared_ptr<Message>& message, const std::string& group,
             const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    void writeExcursion(double level);

    double highLimit_;
    double lowLimit_;
    double offValue_;
    std::uint64_t highStart_ = 0;
    bool inHigh_ = false;
    std::uint32_t count_ = 0;
    double sum_ = 0.0;
};

}  // namespace trelis
