#include "virtual/Accumulate.h"

namespace trelis {

Accumulate::Accumulate(const std::shared_ptr<Message>& owner, const std::string& group,
                       const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile) {
    addSingleInput(keyFile, group);
    addResetInput(keyFile, group);
}

void Accumulate::calculateStep() {
    const double value = inputs.front().heldValue;
    if (value < lastValue_ || value > lastValue_) {  // a NaN differs from nothing
        lastValue_ = value;
        sum_ += value;
    }
    if (inputs.size() > 1 && inputs.back().heldValue > 0.0) sum_ = lastValue_ = 0.0;
    output(curTime, sum_);
}

bool Accumulate::summaryValue(double& out) const {
    out = sum_ * factor + offset;
    return true;
}

}  // namespace trelis
