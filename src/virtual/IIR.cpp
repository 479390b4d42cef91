#include "virtual/IIR.h"

#include "virtual/KeyReading.h"

namespace trelis {

IIR::IIR(const std::shared_ptr<Message>& owner, const std::string& group,
         const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile), k_(readNumber(keyFile, group, "K", 1000.0)) {
    addSingleInput(keyFile, group);
}

void IIR::calculateStep() {
    const double value = inputs.front().heldValue;
    const double share = 1.0 / k_;
    lastOutput_ = first_ ? value : value * share + (1.0 - share) * lastOutput_;
    first_ = false;
    output(curTime, lastOutput_);
}

}  // namespace trelis
