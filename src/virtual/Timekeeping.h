// How long a signal was above or below a level.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// Adds up time in seconds, step by step, with the hysteresis of Count. The step in which the state
/// changes counts for neither side. A reset input above 0 holds the time at 0.
class Timekeeping final : public SteppedSignal<Timekeeping> {
  public:
    Timekeeping(const std::shared_ptr<Message>& message, const std::string& group,
                const Glib::KeyFile& keyFile);

    void calculateStep() override;
    /// Deliberately scales the offset to seconds too, unlike the samples.
    [[nodiscard]] bool summaryValue(double& out) const override;

  private:
    double above_;
    double below_;
    double timeMs_ = 0.0;
    bool high_ = false;
    bool countAbove_;
};

}  // namespace trelis
