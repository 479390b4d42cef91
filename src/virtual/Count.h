// How often a signal rose above a level.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// Counts with a hysteresis: a count is due when the input exceeds `above`, and the next one only
/// after it was less than `below`. A reset input above 0 holds the count at 0.
class Count final : public SteppedSignal<Count> {
  public:
    Count(const std::shared_ptr<Message>& message, const std::string& group,
          const Glib::KeyFile& keyFile);

    void calculateStep() override;
    [[nodiscard]] bool summaryValue(double& out) const override;

  private:
    double above_;
    double below_;
    double count_ = 0.0;
    bool high_ = false;
};

}  // namespace trelis
