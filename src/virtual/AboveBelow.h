// Whether a signal is above, or below, a level.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// 1 or 0, with a dead band between `below` and `above`. The state starts low, so "below" starts
/// at 1.
class AboveBelow final : public SteppedSignal<AboveBelow> {
  public:
    /// The key `method` says which of the two it is.
    AboveBelow(const std::shared_ptr<Message>& message, const std::string& group,
               const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    double above_;
    double below_;
    bool high_ = false;
    bool inverted_;
};

}  // namespace trelis
