// A value that is taken over whenever other signals have certain values.
#pragma once

#include <vector>

#include "virtual/CustomSignal.h"

namespace trelis {

/// Takes its first input over while each trigger equals its value. In between the last value taken
/// over goes on, so that there is an output at every step once the triggers have matched.
class Multiplex final : public SteppedSignal<Multiplex> {
  public:
    Multiplex(const std::shared_ptr<Message>& message, const std::string& group,
              const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    std::vector<double> triggerValues_;  ///< of the inputs from the second on
    double current_ = 0.0;
    bool hasCurrent_ = false;
};

}  // namespace trelis
