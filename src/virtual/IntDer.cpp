#include "virtual/IntDer.h"

#include <algorithm>

#include "model/ModelContext.h"
#include "virtual/BatchLock.h"
#include "virtual/KeyReading.h"

namespace trelis {

IntDer::IntDer(const std::shared_ptr<Message>& owner, const std::string& group,
               const Glib::KeyFile& keyFile)
    : VirtualSignal(owner, signalNameOfGroup(group)),
      input(readSingleInput(context(), keyFile, group)),
      onlyPos_(readFlag(keyFile, group, "onlyPos")),
      onlyNeg_(readFlag(keyFile, group, "onlyNeg")),
      hasSumLimits_(keyFile.has_key(group, "maxSum") || keyFile.has_key(group, "minSum")),
      maxSum_(readNumber(keyFile, group, "maxSum", std::numeric_limits<double>::max())),
      minSum_(readNumber(keyFile, group, "minSum", std::numeric_limits<double>::lowest())) {
    if (keyFile.has_key(group, "resetSig"))
        resetSignal = readSignal(context(), keyFile, group, "resetSig");
    readCommonOptions(keyFile, group);
}

IntDer::~IntDer() {
    release(std::move(input));
    if (resetSignal) release(std::move(resetSignal));
}

bool IntDer::usesSignal(const std::string& other) const {
    return input->fullName == other || (resetSignal && resetSignal->fullName == other);
}

void IntDer::collectInputs(std::vector<std::shared_ptr<Signal>>& sources) const {
    sources.push_back(input);
    if (resetSignal) sources.push_back(resetSignal);
}

bool IntDer::summaryValue(double& out) const {
    out = sum_ * factor + offset;
    return true;
}

double IntDer::inputValue(const Sample& sample) const {
    return absInput ? std::fabs(sample.value) : sample.value;
}

bool IntDer::inputsReady() {
    if (started_) return true;
    if (!firstSampleTime(*input) || (resetSignal && !lastSampleTime(*resetSignal))) return false;
    // The reset signal's first sample is the seed if there is one: integration starts with it.
    const Signal& source = resetSignal ? *resetSignal : *input;
    const std::lock_guard lock(*source.mutex);
    lastTime_ = source.samples().front().time;
    lastValue_ = inputValue(source.samples().front());
    inputIndex_ = resetIndex_ = 1;
    started_ = true;
    return true;
}

void IntDer::calculate() {
    if (!inputsReady()) return;
    std::uint64_t end = UnreadSamples::kNoEnd;
    std::span<const Sample> resets;
    if (resetSignal) {
        const std::uint64_t inputEnd = lastSampleTime(*input).value_or(0);
        end = lastSampleTime(*resetSignal).value_or(0);
        resets = unreadResets_.open(*resetSignal, resetIndex_, inputEnd);
        // Samples that arrive from here on may need resets that were not there yet.
        if (context().liveMode) end = std::min(end, inputEnd);
    }
    const auto samples = unreadInput_.open(*input, inputIndex_, end);
    const std::size_t resetCount = resets.size();
    std::size_t read = 0;
    {
        BatchLock lock(*mutex);
        for (const Sample& sample : samples) {
            if (resetSignal && sample.time > end) break;
            integrate(sample, resets);
            ++read;
            lock.tick();
        }
    }
    inputIndex_ += finalSamples(*input, samples, read);
    resetIndex_ += resetCount - resets.size();
    unreadInput_.close();
    unreadResets_.close();
}

void IntDer::integrate(const Sample& sample, std::span<const Sample>& resets) {
    const std::uint64_t elapsed = sample.time - lastTime_;
    if (elapsed == 0) return;
    if (elapsed <= kGapMs) {
        double value = lastValue_;
        if (onlyPos_)
            value = std::max(value, 0.0);
        else if (onlyNeg_)
            value = std::min(value, 0.0);
        sum_ += static_cast<double>(elapsed) * 0.001 * value;
        if (resetSignal) applyResets(sample.time, resets);
        if (hasSumLimits_) {  // the sum itself is cut off, so it leaves a limit at once
            if (sum_ > maxSum_) sum_ = maxSum_;
            if (minSum_ > sum_) sum_ = minSum_;
        }
        output(sample.time, absOutput ? std::fabs(sum_) : sum_);
    }
    lastTime_ = sample.time;
    lastValue_ = inputValue(sample);
}

void IntDer::applyResets(std::uint64_t before, std::span<const Sample>& resets) {
    bool last = resetActive_;
    while (!resets.empty() && resets.front().time < before) {
        last = resets.front().value > 0.0;
        resetActive_ = resetActive_ || last;
        resets = resets.subspan(1);
    }
    if (resetActive_) sum_ = 0.0;
    resetActive_ = last;
}

}  // namespace trelis
