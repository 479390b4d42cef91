// A signal that follows another one at a limited speed.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// The speed has limits of its own for moving away from 0 and back, on each side of 0. The side is
/// that of the value before the step, so one step may cross 0 under the limit of the side it
/// leaves.
class Slope final : public SteppedSignal<Slope> {
  public:
    Slope(const std::shared_ptr<Message>& message, const std::string& group,
          const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    double posIncrease_;  ///< these four in units a step
    double posDecrease_;
    double negIncrease_;
    double negDecrease_;
    double current_ = 0.0;
    std::uint64_t startTime_ = 0;  ///< 0: not started
};

}  // namespace trelis
