#include "virtual/Multiplex.h"

#include <stdexcept>

#include "virtual/KeyReading.h"

namespace trelis {

Multiplex::Multiplex(const std::shared_ptr<Message>& owner, const std::string& group,
                     const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile) {
    addSingleInput(keyFile, group);
    for (unsigned number = 1; number <= kMostNumberedKeys; ++number) {
        const std::string key = numberedKey("trigSign", number);
        if (!keyFile.has_key(group, key)) break;
        addInput(keyFile, group, key);
    }
    const auto triggers = static_cast<unsigned>(inputs.size() - 1);
    if (triggers == 0) throw std::invalid_argument("expected at least trigSignal_01");
    for (unsigned number = 1; number <= triggers; ++number) {
        const std::string key = numberedKey("trigVal", number);
        if (!keyFile.has_key(group, key)) throw std::invalid_argument("expected " + key);
        triggerValues_.push_back(keyFile.get_double(group, key));
    }
}

void Multiplex::calculateStep() {
    bool matches = true;
    for (std::size_t i = 0; i < triggerValues_.size(); ++i)
        matches = matches && inputs[i + 1].heldValue == triggerValues_[i];
    if (matches) {
        current_ = inputs.front().heldValue;
        hasCurrent_ = true;
    }
    if (hasCurrent_) output(curTime, current_);
}

}  // namespace trelis
