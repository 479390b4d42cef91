#include "virtual/Slope.h"

#include <algorithm>

namespace trelis {

Slope::Slope(const std::shared_ptr<Message>& owner, const std::string& group,
             const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile) {
    addSingleInput(keyFile, group);
    const auto perStep = [&](const char* key) {
        return keyFile.get_double(group, key) * 0.001 * step;
    };
    posIncrease_ = perStep("posSlopeIncr");
    posDecrease_ = perStep("posSlopeDecr");
    negIncrease_ = perStep("negSlopeIncr");
    negDecrease_ = perStep("negSlopeDecr");
}

void Slope::calculateStep() {
    const double value = inputs.front().heldValue;
    if (startTime_ == 0) {
        startTime_ = curTime;
        current_ = value;
        return;
    }
    double change = value - current_;
    if (current_ < 0)
        change = change < 0 ? std::max(change, -negIncrease_) : std::min(change, negDecrease_);
    else
        change = change > 0 ? std::min(change, posIncrease_) : std::max(change, -posDecrease_);
    current_ += change;
    output(curTime, current_);
}

}  // namespace trelis
