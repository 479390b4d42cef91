#include "model/RealSignal.h"

#include <bit>
#include <cstring>

#include "app/diagnostics/Report.h"
#include "model/Message.h"
#include "model/ModelContext.h"

namespace trelis {
namespace {

std::uint64_t littleEndianWord(const Frame& frame) {
    std::uint64_t word = 0;
    std::memcpy(&word, frame.data.data(), sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
}

// A multiplexor's value as the number that multiplexed signals compare with.
std::int32_t muxNumber(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value) : -1;
}

}  // namespace

RealSignal::RealSignal(Making /*by*/, const std::shared_ptr<Message>& owner,
                       const std::string& signalName, double low, double high)
    : Signal(owner, signalName, low, high) {}

std::shared_ptr<RealSignal> RealSignal::create(const std::shared_ptr<Message>& message,
                                               const std::string& name, std::uint32_t startBit,
                                               std::uint32_t bitLength, std::int32_t intel,
                                               char sign, const std::string& unit, double factor,
                                               double offset, double min, double max) {
    auto signal = std::make_shared<RealSignal>(Making{}, message, name, min, max);
    signal->startBit = startBit;
    signal->bitLength = bitLength;
    signal->intel = intel;
    signal->sign = sign;
    signal->unit = unit;
    signal->factor = factor;
    signal->offset = offset;
    signal->hasFactor = factor != 0.0;
    signal->hasOffset = offset != 0.0;
    signal->dbcMin = min;
    signal->dbcMax = max;
    signal->byteAligned =
        bitLength % 8 == 0 && (intel != 0 ? startBit % 8 == 0 : startBit % 8 == 7);
    signal->bits_ = BitField(startBit, bitLength, intel != 0);
    if (sign == '-' && bitLength > 0) signal->signBit_ = 1U << ((bitLength - 1) % 32);
    return signal;
}

void RealSignal::setFloat() {
    if (!byteAligned || bitLength != 32)
        reportFatal("Only 32bit floats on 4 whole bytes are supported.");
    isFloat = true;
}

void RealSignal::decodeWide() {
    wide_ = bitLength > 32 && bitLength <= 64;
}

bool RealSignal::setFloatOfWidth(std::uint32_t bits) {
    if (bitLength != bits) return false;
    isFloat = true;
    decodeWide();
    return true;
}

double RealSignal::scaled(double value) const {
    if (hasFactor) value *= factor;
    if (hasOffset) value += offset;
    return value;
}

double RealSignal::physicalWide(std::uint64_t data) const {
    std::uint64_t raw = bits_.extractWide(bits_.isBigEndian() ? __builtin_bswap64(data) : data);
    if (isFloat) return scaled(std::bit_cast<double>(raw));
    if (signBit_ == 0) return scaled(static_cast<double>(raw));
    const std::uint64_t top = std::uint64_t{1} << (bitLength - 1);
    if ((raw & top) != 0) raw -= top << 1;
    return scaled(static_cast<double>(static_cast<std::int64_t>(raw)));
}

double RealSignal::physical(std::uint32_t raw) const {
    double value = 0;
    if (isFloat) {
        value = static_cast<double>(std::bit_cast<float>(raw));
    } else if (signBit_ != 0) {
        if ((raw & signBit_) != 0) raw -= signBit_ << 1;
        value = static_cast<double>(static_cast<std::int32_t>(raw));
    } else {
        value = static_cast<double>(raw);
    }
    return scaled(value);
}

double RealSignal::valueOf(std::uint64_t data) const {
    if (wide_) [[unlikely]]
        return physicalWide(data);
    return physical(bits_.extract(bits_.isBigEndian() ? __builtin_bswap64(data) : data));
}

std::int32_t RealSignal::muxNumberOf(std::uint64_t data) const {
    return muxNumber(valueOf(data));
}

void RealSignal::decodeFrame(const Frame& frame) {
    if (muxValue >= 0 && muxValue != message->currentMux) return;
    double value = 0;
    if (bitLength == 0) {
        toggle = !toggle;
        value = physical(toggle ? 1 : 0);
    } else {
        value = valueOf(littleEndianWord(frame));
    }
    if (muxValue == kMultiplexor)
        message->currentMux = muxNumber(value);
    else
        addSample(frame.absoluteTime, value);
}

void RealSignal::decodeRun(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                           std::span<const std::int32_t> muxes) {
    const bool multiplexed = muxValue >= 0;
    if (multiplexed && muxes.empty() && muxValue != message->currentMux) return;
    if (bitLength == 0)
        decodeToggles(frames, baseTime, muxes);
    else if (wide_)
        decodeWideRun(frames, baseTime, muxes);
    else if (multiplexed && !muxes.empty())
        bits_.isBigEndian() ? decodeBits<true, true>(frames, baseTime, muxes)
                            : decodeBits<false, true>(frames, baseTime, muxes);
    else
        bits_.isBigEndian() ? decodeBits<true, false>(frames, baseTime, muxes)
                            : decodeBits<false, false>(frames, baseTime, muxes);
}

void RealSignal::decodeToggles(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                               std::span<const std::int32_t> muxes) {
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (muxValue >= 0 && !muxes.empty() && muxes[i] != muxValue) continue;
        toggle = !toggle;
        storeSample(baseTime + frames[i].time(), physical(toggle ? 1 : 0));
    }
}

void RealSignal::decodeWideRun(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                               std::span<const std::int32_t> muxes) {
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (muxValue >= 0 && !muxes.empty() && muxes[i] != muxValue) continue;
        storeSample(baseTime + frames[i].time(), physicalWide(frames[i].data()));
    }
}

// The inner loop of a full decode: it leaves the registers only when the raw value changed or the
// storage rules about time may fire. Equal raw values are equal values, so nothing is missed but
// the way of a running stream's end marker, which catches up before and after.
template <bool kBigEndian, bool kMultiplexed>
void RealSignal::decodeBits(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                            std::span<const std::int32_t> muxes) {
    const BitField field = bits_;
    const bool live = liveStorage();
    bool first = true;
    std::uint32_t held = 0;
    std::uint64_t seen = lastSeenTime;
    std::uint64_t stored = lastStoredTime;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if constexpr (kMultiplexed)
            if (muxes[i] != muxValue) continue;
        const std::uint64_t data = frames[i].data();
        const std::uint32_t raw = field.extract(kBigEndian ? __builtin_bswap64(data) : data);
        const std::uint64_t time = baseTime + frames[i].time();
        if (raw != held || first || time - seen > kGapMs || time - stored > kGapMs - 1) {
            lastSeenTime = seen;
            if (live && !first) samples_.back().time = seen;
            storeSample(time, physical(raw));
            stored = lastStoredTime;
            held = raw;
            first = false;
        }
        seen = time;
    }
    lastSeenTime = seen;
    if (live && !first) samples_.back().time = seen;
}

}  // namespace trelis
