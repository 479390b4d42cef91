#include "input/HandleRecord.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/AscWriter.h"
#include "input/TimeAxis.h"
#include "input/stream/LittleEndian.h"
#include "input/stream/StreamCodec.h"
#include "model/FrameSource.h"
#include "model/Message.h"
#include "model/builtin/BitRate.h"

namespace trelis {
namespace {

constexpr std::uint32_t kErrorMessageId = 1;
constexpr std::size_t kRoutes = 512;  // a power of two, 16 KB

void setTimeBase(Store& store, std::uint64_t time, std::uint64_t base) {
    store.timeBase = base;
    if (store.hooks.timeBaseListener) store.hooks.timeBaseListener(time, base);
}

std::uint64_t followClock(Store& store, std::uint32_t clock, std::uint64_t last) {
    std::uint64_t base = store.timeBase.load(std::memory_order_relaxed);
    if (isBefore(base + clock, last)) [[unlikely]] {
        base += kCounterOverflowMs;
        report(Level::kWarning, format("can message timestamp has overflowed (%u)", clock));
        setTimeBase(store, base + clock, base);
    }
    return base + clock;
}

std::uint64_t startAtAnchor(Store& store, std::uint32_t clock, std::uint64_t last) {
    const std::uint64_t anchor = std::exchange(store.nextFileStart, 0);
    std::uint64_t base = store.timeBase;
    if (!store.firstFrame && baseGoesOn(base, clock, anchor, last)) return base + clock;
    store.firstFrame = false;
    base = baseFor(clock, anchor, last);
    setTimeBase(store, base + clock, base);
    return base + clock;
}

std::uint64_t placeInTime(Store& store, std::uint32_t clock) {
    // This thread alone writes the bounds; other threads may look at any time.
    const std::uint64_t last = store.lastTime.load(std::memory_order_relaxed);
    const std::uint64_t time = store.nextFileStart == 0 ? followClock(store, clock, last)
                                                        : startAtAnchor(store, clock, last);
    store.lastTime.store(time, std::memory_order_relaxed);
    if (time < store.firstTime.load(std::memory_order_relaxed))
        store.firstTime.store(time, std::memory_order_relaxed);
    return time;
}

void countFrames(Store& store, std::uint64_t frames) {
    store.framesRead.store(store.framesRead.load(std::memory_order_relaxed) + frames,
                           std::memory_order_relaxed);
}

bool isDumping(const Store& store) {
    return store.dumpAsc || store.dumpToFile.load(std::memory_order_relaxed);
}

// The message that wants the frames of this id and interface, if any.
Message* receiverOf(const Store& store, std::uint32_t id, std::uint32_t interfaceNumber) {
    const bool isError = (id & kErrorFrameFlag) != 0;
    const CanIface* interface =
        store.findActiveInterface(isError ? interfaceNumber + kStatisticsOffset : interfaceNumber);
    if (interface == nullptr) return nullptr;
    Message* message = interface->findActive(isError ? kErrorMessageId : id);
    const bool wanted = message != nullptr &&
                        (store.readAll.load(std::memory_order_relaxed) || message->usedCount != 0);
    return wanted ? message : nullptr;
}

// The bus load that counts this frame, if any; error frames have no length.
BitRate* busLoadOf(const Store& store, std::uint32_t id, std::uint32_t interfaceNumber) {
    if ((id & kErrorFrameFlag) != 0) return nullptr;
    BitRate* rate = bitRateOf(store, interfaceNumber);
    const bool wanted =
        rate != nullptr && (store.readAll.load(std::memory_order_relaxed) || rate->needsParse);
    return wanted ? rate : nullptr;
}

void tellFailure(std::uint32_t id, const std::exception& error) {
    report(Level::kWarning, format("Error while parsing CAN frame %u: %s", id, error.what()));
}

}  // namespace

void handleRecord(Store& store, const Frame& record) {
    const std::uint64_t time = placeInTime(store, record.timestamp);
    countFrames(store, 1);
    if (isDumping(store)) {
        writeAscRecord(store, record, time);
        return;
    }
    try {
        if (BitRate* rate = busLoadOf(store, record.id, record.interface))
            rate->addFrame(time, record);
        if (Message* receiver = receiverOf(store, record.id, record.interface))
            receiver->postFrame(record, time);
    } catch (const std::exception& error) {
        tellFailure(record.id, error);
    }
}

/// The fields of a record, each read by itself: a copy of the bytes would have to reach memory
/// before its parts could be looked at.
struct RecordBatch::Record {
    explicit Record(const std::uint8_t* bytes, bool hasInterface)
        : clock(loadLittleEndian<std::uint32_t>(bytes)),
          id(loadLittleEndian<std::uint32_t>(bytes + 4)),
          data(loadLittleEndian<std::uint64_t>(bytes + 9)),
          dlc(bytes[8]),
          interface(hasInterface ? bytes[17] : std::uint8_t{0}) {}

    [[nodiscard]] Frame frame() const {
        Frame frame;
        frame.timestamp = clock;
        frame.id = id;
        frame.dlc = dlc;
        frame.interface = interface;
        storeLittleEndian(data, frame.data.data());
        return frame;
    }

    std::uint32_t clock;
    std::uint32_t id;
    std::uint64_t data;  // the first byte in the lowest place
    std::uint8_t dlc;
    std::uint8_t interface;
};

RecordBatch::RecordBatch(Store& store) : store_(store), routes_(kRoutes) {}

inline std::uint64_t RecordBatch::routeKey(const Record& record) const {
    constexpr unsigned kIdBits = 32;
    constexpr unsigned kInterfaceBits = 8;
    return (lookUps_ << kInterfaceBits | record.interface) << kIdBits | record.id;
}

inline const RecordBatch::Route& RecordBatch::routeOf(const Record& record) {
    const std::uint64_t key = routeKey(record);
    // Fibonacci hashing, see CanIface. Two ids that share a place take turns in it.
    const std::uint64_t spread =
        (key & 0xFFFFFFFFFFU) * 0x9E3779B97F4A7C15U >> (64 - std::countr_zero(kRoutes));
    Route& route = routes_[static_cast<std::size_t>(spread)];
    if (route.key == key) return route;
    route = {};
    route.busLoad = busLoadOf(store_, record.id, record.interface);
    route.receiver = receiverOf(store_, record.id, record.interface);
    if (route.receiver != nullptr) route.held = route.receiver->heldFrames();
    route.key = key;
    return route;
}

inline void RecordBatch::take(const Record& record) {
    const std::uint64_t time = placeInTime(store_, record.clock);
    if (isDumping(store_)) {
        writeAscRecord(store_, record.frame(), time);
        return;
    }
    try {
        const Route& route = routeOf(record);
        if (route.busLoad != nullptr)
            route.busLoad->addFrame(time, record.id, record.dlc, record.data);
        if (route.receiver == nullptr) return;
        if (route.held == nullptr) {
            route.receiver->postFrame(record.frame(), time);
            return;
        }
        if (route.held->empty()) holders_.push_back(route.receiver);
        route.held->emplace_back(time, record.dlc, record.data);
    } catch (const std::exception& error) {
        tellFailure(record.id, error);
    }
}

void RecordBatch::add(std::span<const std::uint8_t> records, std::size_t recordSize) {
    const bool hasInterface = recordSize == kRecordSize;
    countFrames(store_, records.size() / recordSize);
    for (; records.size() >= recordSize; records = records.subspan(recordSize))
        take(Record(records.data(), hasInterface));
}

void RecordBatch::flush() {
    for (Message* holder : holders_) {
        try {
            holder->decodeHeld();
        } catch (const std::exception& error) {
            tellFailure(holder->id, error);
        }
    }
    holders_.clear();
    constexpr std::uint64_t kMostLookUps = 0xFFFFFF;  // what a key has room for
    if (++lookUps_ > kMostLookUps) {
        std::ranges::fill(routes_, Route());
        lookUps_ = 1;
    }
}

void resetTimeAxis(Store& store) {
    store.firstFrame = true;
    store.timeBase = 0;
    store.firstTime = Store::kNoTime;
    store.lastTime = 0;
}

void finishTimeAxis(Store& store) {
    store.parseFirstTime = std::min(store.parseFirstTime.load(), store.firstTime.load());
    store.parseLastTime = std::max(store.parseLastTime.load(), store.lastTime.load());
    if (!store.intervalSet) {
        store.intervalStart = store.parseFirstTime.load();
        store.intervalEnd = store.parseLastTime.load();
    }
    store.emitData();
}

}  // namespace trelis
