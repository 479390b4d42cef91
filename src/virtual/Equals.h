// Whether signals have certain values.
#pragma once

#include <vector>

#include "virtual/CustomSignal.h"

namespace trelis {

/// 1 if any input equals its value exactly, or, with `allOf`, only if every one does; else 0.
class Equals final : public SteppedSignal<Equals> {
  public:
    Equals(const std::shared_ptr<Message>& message, const std::string& group,
           const Glib::KeyFile& keyFile);

    void calculateStep() override;

  private:
    std::vector<double> values_;  ///< one an input
    bool allOf_;
};

}  // namespace trelis
