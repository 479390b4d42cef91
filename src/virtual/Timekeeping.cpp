#include "virtual/Timekeeping.h"

#include "virtual/KeyReading.h"

namespace trelis {
namespace {

constexpr double kSecondsPerMs = 0.001;

}  // namespace

Timekeeping::Timekeeping(const std::shared_ptr<Message>& owner, const std::string& group,
                         const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile),
      above_(keyFile.get_double(group, "above")),
      below_(keyFile.get_double(group, "below")),
      countAbove_(readFlag(keyFile, group, "countAbove", true)) {
    addSingleInput(keyFile, group);
    addResetInput(keyFile, group);
}

void Timekeeping::calculateStep() {
    const double value = inputs.front().heldValue;
    const bool before = high_;
    if (high_ && value < below_)
        high_ = false;
    else if (!high_ && value > above_)
        high_ = true;
    if (high_ == before && high_ == countAbove_) timeMs_ += step;
    if (resetRequested()) timeMs_ = 0.0;
    output(curTime, timeMs_ * kSecondsPerMs);
}

bool Timekeeping::summaryValue(double& out) const {
    out = (timeMs_ * factor + offset) * kSecondsPerMs;
    return true;
}

}  // namespace trelis
