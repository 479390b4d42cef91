#include "model/builtin/MsgRate.h"

#include "model/ModelContext.h"

namespace trelis {

MsgRate::MsgRate(const std::shared_ptr<Message>& owner, const std::string& signalName,
                 std::shared_ptr<Signal> rateSource)
    : VirtualSignal(owner, signalName), source_(std::move(rateSource)) {
    unit = "msg/s";
}

bool MsgRate::inputsReady() {
    if (!source_->hasData || source_->samples().empty()) return false;
    started_ = true;
    lastTime_ = source_->samples().front().time;
    // The first sample differs from this, as each frame's does from the one before.
    lastValue_ = source_->samples().front().value - 1.0;
    return true;
}

void MsgRate::calculate() {
    if (!started_ && !inputsReady()) return;
    const SampleArray& frames = source_->samples();
    // The end marker of a running stream moves on with the next frame.
    const std::size_t markers = context().liveMode ? 1 : 0;
    for (; readIndex_ + markers < frames.size(); ++readIndex_) {
        const Sample& frame = frames[readIndex_];
        // The value flips with every frame; storage repeats a sample at both ends of a gap.
        if (frame.value == lastValue_) continue;
        lastValue_ = frame.value;
        if (frame.time != lastTime_) {
            const auto elapsed = static_cast<double>(frame.time - lastTime_);
            addSample(lastTime_, count_ * 1000.0 / elapsed);
            lastTime_ = frame.time;
            count_ = 0;
        }
        ++count_;
    }
}

void MsgRate::flushSamples() {
    source_->releaseSamples();
    readIndex_ = 0;
}

bool MsgRate::usesSignal(const std::string& signalName) const {
    return source_->fullName == signalName;
}

void MsgRate::collectInputs(std::vector<std::shared_ptr<Signal>>& inputs) const {
    inputs.push_back(source_);
}

}  // namespace trelis
