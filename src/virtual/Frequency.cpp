#include "virtual/Frequency.h"

#include <algorithm>
#include <cmath>

#include "virtual/KeyReading.h"

namespace trelis {

Frequency::Frequency(const std::shared_ptr<Message>& owner, const std::string& group,
                     const Glib::KeyFile& keyFile)
    : SteppedSignal(owner, group, keyFile),
      samples_(readInteger(keyFile, group, "samples", 1)),
      filter_(readNumber(keyFile, group, "filter", 0.0)),
      peaks_(readInteger(keyFile, group, "peaks", 1)),
      amplitude_(readFlag(keyFile, group, "amplitude")) {
    addSingleInput(keyFile, group);
}

void Frequency::calculateStep() {
    const double value = inputs.front().heldValue;
    if (lastEdge_ == 0) {
        lastEdge_ = curTime;
        previous_ = lastLow_ = lastHigh_ = value;
    }
    if (filter_ != 0.0 && std::fabs(previous_ - value) > filter_) return;
    findTurn(value);
    previous_ = value;
    if (static_cast<std::int64_t>(queue_.size()) < samples_) return;
    const double mean = static_cast<double>(queueSum_) / samples_;
    if (!queue_.empty()) {
        queueSum_ -= queue_.front();
        queue_.pop();
    }
    output(curTime, amplitude_ ? mean : 1000.0 / (mean * peaks_));
}

void Frequency::findTurn(double value) {
    if (!rising_ && value > previous_) {
        rising_ = true;
        if (!amplitude_) return;
        lastLow_ = previous_;
        addAmplitude(lastHigh_ - previous_);
    } else if (rising_ && previous_ > value) {
        rising_ = false;
        if (amplitude_) {
            lastHigh_ = previous_;
            addAmplitude(previous_ - lastLow_);
        } else {
            addEntry(static_cast<std::uint32_t>(curTime - lastEdge_));
            lastEdge_ = curTime;
        }
    }
}

void Frequency::addAmplitude(double distance) {
    constexpr double kMost = 4294967295.0;
    const double whole = std::fabs(distance);
    addEntry(std::isnan(whole) ? 0 : static_cast<std::uint32_t>(std::min(whole, kMost)));
}

void Frequency::addEntry(std::uint32_t entry) {
    queueSum_ += entry;
    queue_.push(entry);
}

}  // namespace trelis
