#include "Traffic.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <set>

#include "Angles.h"

namespace trelis::sim {

namespace {

/// CRC-8 with the polynomial 0x1D, as SAE J1850 has it: initial value and final inversion 0xFF.
constexpr std::array<std::uint8_t, 256> makeCrcTable() {
    std::array<std::uint8_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned crc = i;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80U) ? (crc << 1) ^ 0x11DU : crc << 1;
        table[i] = static_cast<std::uint8_t>(crc);
    }
    return table;
}
constexpr auto kCrcTable = makeCrcTable();

/// Over the `length` first bytes of `word` but the one that holds the checksum itself.
std::uint8_t checksumOf(std::uint64_t word, unsigned length, unsigned ownByte) {
    std::uint8_t crc = 0xFF;
    for (unsigned i = 0; i < length; ++i)
        if (i != ownByte) crc = kCrcTable[crc ^ static_cast<std::uint8_t>(word >> (8 * i))];
    return static_cast<std::uint8_t>(crc ^ 0xFFU);
}

std::int64_t rawOf(const SignalSpec& spec, double physical) {
    if (spec.isFloat) {
        const auto scaled = static_cast<float>((physical - spec.offset) / spec.factor);
        return std::bit_cast<std::int32_t>(scaled);
    }
    // A scenario may hold any number; what no integer can be would be undefined to convert.
    constexpr double kMost = 9.2e18;
    const double raw = std::floor((physical - spec.offset) / spec.factor + 0.5);
    return std::isnan(raw) ? 0 : static_cast<std::int64_t>(std::clamp(raw, -kMost, kMost));
}

std::int64_t lowestRaw(const SignalSpec& spec) {
    if (!spec.isSigned) return 0;
    return spec.bits == 64 ? INT64_MIN : -(std::int64_t{1} << (spec.bits - 1));
}

std::int64_t highestRaw(const SignalSpec& spec) {
    const unsigned bits = spec.isSigned ? spec.bits - 1 : std::min(spec.bits, 63U);
    return bits == 63 ? INT64_MAX : (std::int64_t{1} << bits) - 1;
}

/// The part of a period that has passed, 0 to 1.
double phaseOf(std::uint64_t timeMs, double periodS) {
    const double periods = static_cast<double>(timeMs) / (periodS * 1000.0);
    return periods - std::floor(periods);
}

constexpr std::uint64_t dataMask(unsigned length) {
    return length >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * length)) - 1;
}

}  // namespace

Traffic::Traffic(const Scenario& scenario)
    : scenario_(scenario),
      random_(scenario.recording.seed),
      vehicle_(scenario.vehicle, scenario.recording.seed + 1) {
    if (scenario.messages.empty()) throw ScenarioError("the scenario has no messages");
    messages_.reserve(scenario.messages.size());
    for (const MessageSpec& spec : scenario.messages)
        messages_.push_back(makeLive(spec));
    std::stable_sort(messages_.begin(), messages_.end(),
                     [](const LiveMessage& a, const LiveMessage& b) {
                         constexpr std::uint32_t kBits = 0x1FFFFFFFU;
                         return (a.spec->id & kBits) < (b.spec->id & kBits);
                     });
    for (std::uint32_t rank = 0; rank < messages_.size(); ++rank)
        heap_.push_back({random_.below(messages_[rank].spec->periodMs), rank});
    for (const auto& [number, interface] : scenario.interfaces)
        if (number != kLoggerInterface) buses_.push_back(number);
    errorRank_ = static_cast<std::uint32_t>(messages_.size());
    if (scenario.recording.errorsPerMinute > 0.0 && !buses_.empty())
        heap_.push_back({500 + random_.below(1000), errorRank_});
    std::make_heap(heap_.begin(), heap_.end(), std::greater<>{});
}

Traffic::LiveSignal Traffic::makeLive(const SignalSpec& spec) {
    const ModelSpec& model = spec.model;
    LiveSignal live{&spec, SignalLayout(spec), 0, lowestRaw(spec), highestRaw(spec), 0, true};
    live.chance = static_cast<std::uint32_t>(std::clamp(model.chance, 0.0, 1.0) * 65536.0);
    if (model.kind == ModelKind::kState) {
        live.low = 0;
        live.high = std::min(live.high, std::max<std::int64_t>(1, model.states) - 1);
    }
    const bool starts = model.kind != ModelKind::kCounter && model.kind != ModelKind::kChecksum &&
                        model.kind != ModelKind::kMultiplexor;
    if (starts) live.raw = rawOf(spec, model.value);
    if (!spec.isFloat) live.raw = std::clamp(live.raw, live.low, live.high);
    live.moves = model.kind != ModelKind::kConstant && model.kind != ModelKind::kChecksum &&
                 model.kind != ModelKind::kMultiplexor;
    return live;
}

Traffic::LiveMessage Traffic::makeLive(const MessageSpec& spec) {
    LiveMessage live{&spec, {}, {}, 0, spec.signals.size(), 0, 0};
    const std::uint64_t used = dataMask(spec.length);
    live.empty = (spec.fill * 0x0101010101010101ULL) & used;
    std::set<std::int64_t> pages;
    for (const SignalSpec& signal : spec.signals) {
        if (signal.model.kind == ModelKind::kChecksum) live.checksum = live.signals.size();
        if (signal.mux >= 0) pages.insert(signal.mux);
        live.signals.push_back(makeLive(signal));
        live.empty &= ~live.signals.back().layout.mask();
    }
    live.pages.assign(pages.begin(), pages.end());
    live.word = live.empty;
    for (const LiveSignal& signal : live.signals)
        if (signal.spec->mux == SignalSpec::kPlain)
            live.word = signal.layout.put(live.word, static_cast<std::uint64_t>(signal.raw));
    return live;
}

void Traffic::scheduleNext(Due due) {
    if (due.rank == errorRank_) {
        const double mean = 60000.0 / scenario_.recording.errorsPerMinute;
        due.timeMs += 1 + static_cast<std::uint64_t>(mean * 2.0 * random_.real());
    } else {
        const MessageSpec& spec = *messages_[due.rank].spec;
        due.timeMs += spec.periodMs;
        if (spec.jitterMs > 0) {
            // One frame in sixteen is late or early; the delay stays, so that messages drift
            // against each other as on a real bus.
            const std::uint64_t dice = random_.next() >> 48;
            const std::uint64_t delay = 1 + (dice >> 4) % spec.jitterMs;
            if ((dice & 15) == 0) due.timeMs += delay;
            if ((dice & 15) == 1 && delay < spec.periodMs) due.timeMs -= delay;
        }
    }
    heap_.push_back(due);
    std::push_heap(heap_.begin(), heap_.end(), std::greater<>{});
}

SimFrame Traffic::next() {
    std::pop_heap(heap_.begin(), heap_.end(), std::greater<>{});
    const Due due = heap_.back();
    heap_.pop_back();
    SimFrame frame;
    if (due.rank == errorRank_) {
        frame = errorFrame(due.timeMs);
    } else {
        LiveMessage& message = messages_[due.rank];
        const MessageSpec& spec = *message.spec;
        frame = {due.timeMs, spec.id, spec.length, spec.interface, nextData(message, due.timeMs)};
    }
    scheduleNext(due);
    return frame;
}

std::uint64_t Traffic::nextData(LiveMessage& message, std::uint64_t timeMs) {
    std::uint64_t word = message.word;
    std::int64_t page = SignalSpec::kPlain;
    if (!message.pages.empty()) {
        page = message.pages[message.page];
        message.page = (message.page + 1) % message.pages.size();
        word = message.empty;
    }
    for (LiveSignal& signal : message.signals) {
        const int mux = signal.spec->mux;
        if (mux >= 0 && mux != page) continue;
        if (mux == SignalSpec::kMultiplexor) {
            word = signal.layout.put(word, static_cast<std::uint64_t>(page));
            continue;
        }
        const std::int64_t before = signal.raw;
        if (signal.moves) signal.raw = nextRaw(signal, timeMs);
        if (signal.raw != before || !message.pages.empty())
            word = signal.layout.put(word, static_cast<std::uint64_t>(signal.raw));
    }
    if (message.checksum < message.signals.size()) {
        const LiveSignal& signal = message.signals[message.checksum];
        const unsigned length = std::min<unsigned>(message.spec->length, 8);
        word = signal.layout.put(word, checksumOf(word, length, signal.spec->start / 8));
    }
    message.word = word;
    return word & dataMask(message.spec->length);
}

std::int64_t Traffic::nextRaw(LiveSignal& signal, std::uint64_t timeMs) {
    const SignalSpec& spec = *signal.spec;
    const ModelSpec& model = spec.model;
    double physical = 0.0;
    switch (model.kind) {
        case ModelKind::kCounter:
            return signal.raw >= signal.high ? 0 : signal.raw + 1;
        case ModelKind::kWalk:
        case ModelKind::kDrift:
        case ModelKind::kState: {
            const std::uint64_t dice = random_.next();
            if ((dice & 0xFFFF) >= signal.chance) return signal.raw;
            const auto rest = static_cast<std::int64_t>(dice >> 17);
            if (model.kind == ModelKind::kState) return rest % (signal.high + 1);
            const std::int64_t move = model.kind == ModelKind::kDrift
                                          ? (rest & 1) * 2 - 1
                                          : rest % (2 * model.step + 1) - model.step;
            return std::clamp(signal.raw + move, signal.low, signal.high);
        }
        case ModelKind::kWave:
            physical =
                (model.low + model.high) / 2.0 +
                (model.high - model.low) / 2.0 * sine(2.0 * kPi * phaseOf(timeMs, model.periodS));
            break;
        case ModelKind::kRamp:
            physical = model.low + (model.high - model.low) * phaseOf(timeMs, model.periodS);
            break;
        case ModelKind::kVehicle:
            vehicle_.advanceTo(timeMs);
            physical = vehicle_[model.quantity];
            if (model.noise > 0.0) physical += (random_.real() * 2.0 - 1.0) * model.noise;
            break;
        case ModelKind::kConstant:
        case ModelKind::kChecksum:
        case ModelKind::kMultiplexor:
            return signal.raw;
    }
    const std::int64_t raw = rawOf(spec, physical);
    return spec.isFloat ? raw : std::clamp(raw, signal.low, signal.high);
}

/// An error frame as the Linux header linux/can/error.h lays it out, or, one time in eight, the
/// logger's own report of frames that it had no time to write.
SimFrame Traffic::errorFrame(std::uint64_t timeMs) {
    const std::uint32_t kind = random_.below(8);
    if (kind == 0) {
        dropped_ += 1 + random_.below(20);
        return {timeMs, kErrorFrame | 0x100U, 8, kLoggerInterface, std::uint64_t{dropped_} << 32};
    }
    struct Sort {
        std::uint32_t flag;
        unsigned byte;       // which data byte tells the details
        std::uint8_t first;  // the smallest detail
        unsigned doublings;  // how many further details there are, each twice the last
    };
    constexpr std::array<Sort, 7> kSorts = {{{0x002, 0, 1, 4},    // arbitration lost at a bit
                                             {0x004, 1, 4, 3},    // controller warning or passive
                                             {0x008, 2, 1, 5},    // protocol violation
                                             {0x010, 4, 4, 0},    // no wire
                                             {0x020, 0, 0, 0},    // no acknowledge
                                             {0x080, 0, 0, 0},    // bus error
                                             {0x100, 0, 0, 0}}};  // controller restarted
    const Sort& sort = kSorts[kind - 1];
    const std::uint64_t detail = std::uint64_t{sort.first} << random_.below(sort.doublings + 1);
    const std::uint8_t bus = buses_[random_.below(static_cast<std::uint32_t>(buses_.size()))];
    return {timeMs, kErrorFrame | sort.flag, 8, bus, detail << (8 * sort.byte)};
}

SimFrame nextHeard(Traffic& traffic, const RecordingSpec& recording) {
    for (;;) {
        const SimFrame frame = traffic.next();
        const bool silent = std::any_of(
            recording.silences.begin(), recording.silences.end(), [&frame](const auto& silence) {
                return frame.timeMs >= silence.first && frame.timeMs < silence.second;
            });
        if (!silent) return frame;
    }
}

}  // namespace trelis::sim
