// A first-order low-pass filter.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// Exponential smoothing, y(n) = x(n) / K + y(n-1) * (1 - 1 / K), once a step; see any textbook on
/// infinite impulse response filters. A K of 0 is not refused: the output is then not finite.
class IIR final : public SteppedSignal<IIR> {
  public:
    IIR(const std::shared_ptr<Message>& message, const std::string& group,
        const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    double share_;  ///< of the input in an output: 1 / K
    double rest_;
    double lastOutput_ = 0.0;  ///< before factor and offset
    bool first_ = true;
};

}  // namespace trelis
