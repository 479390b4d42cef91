#include "model/builtin/LoggerMessage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <mutex>

#include "app/store/Store.h"

namespace trelis {
namespace {

// Little-endian numbers at a byte of the data.
constexpr std::uint32_t word32(std::uint64_t data, unsigned byte) {
    return static_cast<std::uint32_t>(data >> (8 * byte));
}
constexpr std::uint16_t word16(std::uint64_t data, unsigned byte) {
    return static_cast<std::uint16_t>(data >> (8 * byte));
}
constexpr double bitAt(std::uint64_t data, unsigned byte, unsigned bit) {
    return (data >> (8 * byte + bit) & 1U) != 0 ? 1.0 : 0.0;
}

// Degrees and minutes in one number, as NMEA 0183 writes them: the low seven decimal digits are
// minutes times 100000. The top bit tells the hemisphere and bit 30 is the sign.
constexpr double coordinate(std::uint32_t packed) {
    constexpr std::int32_t kDegree = 10'000'000;
    constexpr double kMinuteParts = 6'000'000.0;
    const std::int32_t number = std::bit_cast<std::int32_t>(packed << 1) >> 1;
    const std::int32_t degrees = number / kDegree;
    return degrees + (number - degrees * kDegree) / kMinuteParts;
}

using Field = LoggerMessage::Field;

constexpr std::array<Field, 4> kPosition = {{
    {"lat", "°", "Latitude", 7, [](std::uint64_t d) { return coordinate(word32(d, 0)); }},
    {"N_S", "", "Heading north (0) or south (1)", -1,
     [](std::uint64_t d) { return bitAt(d, 3, 7); }},
    {"long", "°", "Longitude", 7, [](std::uint64_t d) { return coordinate(word32(d, 4)); }},
    {"E_W", "", "Heading east (0) or west (1)", -1, [](std::uint64_t d) { return bitAt(d, 7, 7); }},
}};

constexpr std::array<Field, 3> kMotion = {{
    {"alt", "m", "Height above sea level", -1, [](std::uint64_t d) { return word32(d, 0) / 10.0; }},
    {"speed", "km/h", "Ground speed", -1, [](std::uint64_t d) { return word16(d, 4) / 100.0; }},
    {"bearing", "°", "Travel direction", -1, [](std::uint64_t d) { return word16(d, 6) / 10.0; }},
}};

constexpr std::array<Field, 4> kReception = {{
    {"hacc", "", "Horizontal accuracy", -1,
     [](std::uint64_t d) { return static_cast<double>(word16(d, 0)); }},
    {"vacc", "", "Vertical accuracy", -1,
     [](std::uint64_t d) { return static_cast<double>(word16(d, 2)); }},
    {"sats", "", "Number of satellites used", -1,
     [](std::uint64_t d) { return static_cast<double>(word32(d, 4) & 0xFFU); }},
    {"fix", "", "Position fix obtained", -1, [](std::uint64_t d) { return bitAt(d, 5, 0); }},
}};

constexpr std::size_t kRunBlock = 512;

}  // namespace

LoggerMessage::LoggerMessage(std::uint32_t messageId, const std::string& messageName,
                             const std::shared_ptr<CanIface>& interface)
    : RealMessage(messageId, messageName, interface) {}

void LoggerMessage::addFields(std::span<const Field> fields) {
    for (const Field& field : fields) {
        auto signal = std::make_shared<Signal>(shared_from_this(), field.name);
        signal->unit = field.unit;
        signal->comment = field.comment;
        if (field.decimals >= 0) signal->decimals = field.decimals;
        addSignal(field.name, signal);
        decoders_.push_back({std::move(signal), field.decode});
    }
    addRateSignal(kPlainSignal);
}

void LoggerMessage::addAll(const std::shared_ptr<CanIface>& interface) {
    const auto add = [&](std::uint32_t id, const char* name, std::span<const Field> fields) {
        const auto message = std::make_shared<LoggerMessage>(id, name, interface);
        message->addFields(fields);
        interface->addMessage(message);
    };
    add(10, "GPS_POS", kPosition);
    add(11, "GPS_MOT", kMotion);
    add(12, "GPS_STAT", kReception);
}

// A signal that went through a parse is complete; a later parse, for the rate of this message, must
// not run its time back.
bool LoggerMessage::takesSamples(const Signal& signal) const {
    return !signal.parsed || context().readAll;
}

void LoggerMessage::handleFrame(const Frame& frame) {
    std::uint64_t data = 0;
    std::memcpy(&data, frame.data.data(), sizeof data);
    if constexpr (std::endian::native == std::endian::big) data = __builtin_bswap64(data);
    for (const Decoder& decoder : decoders_)
        if (takesSamples(*decoder.signal))
            decoder.signal->addSample(frame.absoluteTime, decoder.decode(data));
    if (rateSignal && rateSignal->needsParse) rateSignal->decodeFrame(frame);
}

void LoggerMessage::handleRun(std::span<const StoredFrame> run, std::uint64_t baseTime) {
    const std::shared_ptr<std::mutex> mutex = sampleMutex();
    while (!run.empty()) {
        const auto block = run.first(std::min(run.size(), kRunBlock));
        run = run.subspan(block.size());
        const std::lock_guard lock(*mutex);
        for (const Decoder& decoder : decoders_) {
            if (!takesSamples(*decoder.signal)) continue;
            for (const StoredFrame& frame : block)
                decoder.signal->storeSample(baseTime + frame.time(), decoder.decode(frame.data()));
        }
        if (rateSource && rateSource->needsParse) rateSource->decodeRun(block, baseTime, {});
    }
}

void LoggerMessage::clearMessage() {
    decoders_.clear();
    RealMessage::clearMessage();
}

void addLoggerInterface(Store& store) {
    LoggerMessage::addAll(store.addInterface("Logger", kLoggerInterface));
}

}  // namespace trelis
