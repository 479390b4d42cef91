#include "model/builtin/BitRate.h"

#include <algorithm>

#include "app/store/Store.h"
#include "model/Message.h"
#include "model/builtin/FrameBits.h"

namespace trelis {

BitRate::BitRate(Store& store, const std::shared_ptr<Message>& owner)
    : Signal(owner, "Bitrate"), store_(store) {
    unit = "bits/s";
    reset();
}

void BitRate::reset() {
    periodStart_ = 0;
    accumulatedBits_ = 0;
    if (store_.hooks.bitRateInterval)
        interval_ = static_cast<std::uint64_t>(std::max(store_.hooks.bitRateInterval(), 0));
}

void BitRate::clearSamples() {
    Signal::clearSamples();
    reset();
}

void BitRate::addFrame(std::uint64_t absoluteTime, std::uint32_t id, std::uint8_t dlc,
                       std::uint64_t data) {
    addBits(absoluteTime, frameBits(id, dlc, data));
}

void BitRate::addFrame(std::uint64_t absoluteTime, const Frame& frame) {
    addBits(absoluteTime, frameBits(frame));
}

void BitRate::addBits(std::uint64_t absoluteTime, std::uint32_t bits) {
    if (periodStart_ == 0) periodStart_ = absoluteTime;
    const std::uint64_t elapsed = absoluteTime - periodStart_;
    accumulatedBits_ += bits;
    // A period of no length has no rate, whatever the interval is.
    if (elapsed == 0 || elapsed < interval_) return;
    const std::uint64_t rate = accumulatedBits_ * 1000 / elapsed;
    addSample(periodStart_ + elapsed / 2, static_cast<double>(rate));
    periodStart_ = absoluteTime;
    accumulatedBits_ = 0;
}

BitRate* bitRateOf(const Store& store, std::uint32_t interface) {
    if (interface >= store.bitRates.size()) return nullptr;
    return static_cast<BitRate*>(store.bitRates[interface].get());
}

}  // namespace trelis
