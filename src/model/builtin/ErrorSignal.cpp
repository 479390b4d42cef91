#include "model/builtin/ErrorSignal.h"

#include <cmath>
#include <cstdio>

#include "model/ModelContext.h"

namespace trelis {
namespace {

constexpr std::uint64_t kFlatMs = 5000;
constexpr int kFlags = 8;

}  // namespace

bool ErrorSignal::wantsEvents() const {
    return context().readAll || needsParse || (description && description->needsParse);
}

void ErrorSignal::restart() {
    count_ = 0;
    lastTime_ = 0;
    lastDescription_ = 0;
}

void ErrorSignal::clearSamples() {
    Signal::clearSamples();
    restart();
}

// Count and description are fed together, but only one of them may be new to this parse.
void ErrorSignal::addUnlessParsed(std::uint64_t time, double value) {
    if (!parsed || context().readAll) addSample(time, value);
}

void ErrorSignal::addEvent(std::uint64_t time, std::int32_t what, std::int64_t explicitCount) {
    if (lastTime_ == 0) {
        lastTime_ = time;
    } else if (time - lastTime_ > kGapMs) {
        addUnlessParsed(lastTime_ + kFlatMs, static_cast<double>(count_));
        if (description) description->addUnlessParsed(lastTime_ + kFlatMs, lastDescription_);
    }
    count_ = explicitCount < 0 ? count_ + 1 : static_cast<std::uint64_t>(explicitCount);
    addUnlessParsed(time, static_cast<double>(count_));
    if (description) description->addUnlessParsed(time, what);
    lastTime_ = time;
    lastDescription_ = what;
}

void ErrorSignal::printValue(char* buffer, std::size_t size, double value) const {
    // Out of range a conversion is undefined.
    const bool fits = std::abs(value) < 2147483648.0;
    const std::int32_t number = fits ? static_cast<std::int32_t>(value) : 0;
    if (valueLabels.empty()) {
        if (unit == "hex")
            std::snprintf(buffer, size, "0x%X", static_cast<unsigned>(number));
        else
            std::snprintf(buffer, size, "%.2f", value);
        return;
    }
    std::string text = number == 0 ? "Unspec" : "";
    for (int bit = 0; bit < kFlags; ++bit) {
        const std::int32_t flag = 1 << bit;
        const auto label = valueLabels.find(flag);
        if ((number & flag) == 0 || label == valueLabels.end()) continue;
        if (!text.empty()) text += ", ";
        text += label->second;
    }
    std::snprintf(buffer, size, "%s (%d)", text.c_str(), number);
}

}  // namespace trelis
