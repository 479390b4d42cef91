#include "virtual/AboveBelow.h"

namespace trelis {

AboveBelow::AboveBelow(const std::shared_ptr<Message>& owner, const std::string& group,
                       const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile),
      above_(keyFile.get_double(group, "above")),
      below_(keyFile.get_double(group, "below")),
      inverted_(keyFile.get_string(group, "method") == "below") {
    addSingleInput(keyFile, group);
}

void AboveBelow::calculateStep() {
    const double value = inputs.front().heldValue;
    high_ = high_ ? value >= below_ : value > above_;
    output(curTime, high_ != inverted_ ? 1.0 : 0.0);
}

}  // namespace trelis
