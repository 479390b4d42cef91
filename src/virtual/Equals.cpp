#include "virtual/Equals.h"

#include <stdexcept>

#include "virtual/KeyReading.h"

namespace trelis {

Equals::Equals(const std::shared_ptr<Message>& owner, const std::string& group,
               const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile), allOf_(readFlag(keyFile, group, "allOf")) {
    addInputList(keyFile, group);
    for (unsigned number = 1; number <= kMostNumberedKeys; ++number) {
        const std::string key = numberedKey("value", number);
        if (!keyFile.has_key(group, key)) break;
        values_.push_back(keyFile.get_double(group, key));
    }
    if (values_.size() != inputs.size())
        throw std::invalid_argument("Input and value count for Equals signal must match");
}

void Equals::calculateStep() {
    std::size_t matches = 0;
    for (std::size_t i = 0; i < values_.size(); ++i)
        matches += inputs[i].heldValue == values_[i] ? 1U : 0U;
    const bool result = allOf_ ? matches == values_.size() : matches != 0;
    output(curTime, result ? 1.0 : 0.0);
}

}  // namespace trelis
