#include "virtual/IIR.h"

#include "virtual/KeyReading.h"

namespace trelis {

IIR::IIR(const std::shared_ptr<Message>& owner, const std::string& group,
         const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile),
      share_(1.0 / readNumber(keyFile, group, "K", 1000.0)),
      rest_(1.0 - share_) {
    addSingleInput(keyFile, group);
}

void IIR::calculateStep() {
    const double value = inputs.front().heldValue;
    lastOutput_ = first_ ? value : value * share_ + rest_ * lastOutput_;
    first_ = false;
    output(curTime, lastOutput_);
}

}  // namespace trelis
