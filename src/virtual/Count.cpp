#include "virtual/Count.h"

namespace trelis {

Count::Count(const std::shared_ptr<Message>& owner, const std::string& group,
             const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile),
      above_(keyFile.get_double(group, "above")),
      below_(keyFile.get_double(group, "below")) {
    addSingleInput(keyFile, group);
    addResetInput(keyFile, group);
}

void Count::calculateStep() {
    const double value = inputs.front().heldValue;
    if (high_) {
        if (value < below_) high_ = false;
    } else if (value > above_) {
        count_ += 1.0;
        high_ = true;
    }
    // A rising edge in the step of a reset is counted and lost again.
    if (resetRequested()) count_ = 0.0;
    output(curTime, count_);
}

bool Count::summaryValue(double& out) const {
    out = count_ * factor + offset;
    return true;
}

}  // namespace trelis
