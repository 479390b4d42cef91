#include "virtual/CustomSignal.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "model/ModelContext.h"
#include "virtual/KeyReading.h"

namespace trelis {

CustomSignal::CustomSignal(const std::shared_ptr<Message>& owner, const std::string& group,
                           const Glib::KeyFile& keyFile)
    : VirtualSignal(owner, signalNameOfGroup(group)), step(readStep(keyFile, group)) {
    readCommonOptions(keyFile, group);
}

CustomSignal::CustomSignal(const std::shared_ptr<Message>& owner, const std::string& signalName,
                           std::uint32_t stepMs)
    : VirtualSignal(owner, signalName), step(stepMs) {}

CustomSignal::~CustomSignal() {
    for (auto& input : inputs)
        release(std::move(input.signal));
}

bool CustomSignal::usesSignal(const std::string& other) const {
    return std::any_of(inputs.begin(), inputs.end(),
                       [&](const auto& input) { return input.signal->fullName == other; });
}

void CustomSignal::collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const {
    for (const auto& input : inputs)
        sources.push_back(input.signal);
}

void CustomSignal::calculate() {
    runSteps([this] { calculateStep(); });
}

bool CustomSignal::inputsReady() {
    if (started) return true;
    curTime = 0;
    for (auto& input : inputs) {
        const auto first = firstSampleTime(*input.signal);
        if (!first) return false;
        input.index = 0;
        curTime = std::max(curTime, *first);
    }
    started = !inputs.empty();
    return started;
}

bool CustomSignal::openInputs() {
    std::uint64_t end = UnreadSamples::kNoEnd;
    if (context().liveMode) {
        // All inputs must go beyond a step, so the one that ends first decides.
        for (const auto& input : inputs)
            end = std::min(end, lastSampleTime(*input.signal).value_or(0));
        if (end <= curTime) return false;
    }
    for (auto& input : inputs) {
        const auto samples = input.unread.open(*input.signal, input.index, end);
        input.first = input.next = samples.data();
        input.end = samples.data() + samples.size();
    }
    return true;
}

void CustomSignal::closeInputs() {
    for (auto& input : inputs) {
        // One that ran out reads its last samples again when there are more.
        const Sample* position = input.next == input.end ? input.mark : input.next;
        input.index += static_cast<std::size_t>(position - input.first);
        input.next = input.end = input.mark = input.first = nullptr;
        input.unread.close();
    }
}

void CustomSignal::addInput(const Glib::KeyFile& keyFile, const std::string& group,
                            const std::string& key) {
    inputs.emplace_back(readSignal(context(), keyFile, group, key));
}

void CustomSignal::addSingleInput(const Glib::KeyFile& keyFile, const std::string& group) {
    inputs.emplace_back(readSingleInput(context(), keyFile, group));
}

void CustomSignal::addInputList(const Glib::KeyFile& keyFile, const std::string& group,
                                const char* noneText) {
    for (unsigned number = 1; number <= kMostNumberedKeys; ++number) {
        const std::string key = numberedKey("signal", number);
        if (!keyFile.has_key(group, key)) break;
        addInput(keyFile, group, key);
    }
    if (inputs.empty()) throw std::invalid_argument(noneText);
}

void CustomSignal::addResetInput(const Glib::KeyFile& keyFile, const std::string& group) {
    if (keyFile.has_key(group, "resetSig")) addInput(keyFile, group, "resetSig");
}

}  // namespace trelis
