#include "input/HandleRecord.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/AscWriter.h"
#include "model/FrameSource.h"
#include "model/Message.h"
#include "model/builtin/BitRate.h"

namespace trelis {
namespace {

// What one turn of a record's 32-bit clock adds: one less than its range, as the logger counts.
constexpr std::uint64_t kClockTurn = 4294967295;
// A start time up to this far ahead of the running base is the clock's drift, not a pause.
constexpr std::int64_t kMostDrift = 20000;
constexpr std::uint32_t kErrorMessageId = 1;

void tellTimeBase(const Store& store, std::uint64_t time, std::uint64_t base) {
    if (store.hooks.timeBaseListener) store.hooks.timeBaseListener(time, base);
}

// A base below 0 stands for a clock that started before the epoch, so sums wrap, and what they give
// is compared as signed.
bool isBefore(std::uint64_t time, std::uint64_t other) {
    return static_cast<std::int64_t>(time) < static_cast<std::int64_t>(other);
}

std::uint64_t followClock(Store& store, std::uint32_t clock, std::uint64_t last) {
    std::uint64_t base = store.timeBase.load(std::memory_order_relaxed);
    if (!isBefore(base + clock, last)) return base + clock;
    base += kClockTurn;
    store.timeBase = base;
    report(Level::kWarning, format("can message timestamp has overflowed (%u)", clock));
    tellTimeBase(store, base + clock, base);
    return base + clock;
}

std::uint64_t startAtAnchor(Store& store, std::uint32_t clock, std::uint64_t last) {
    const std::uint64_t anchor = store.nextFileStart;
    std::uint64_t base = store.timeBase;
    const auto drift = static_cast<std::int64_t>(anchor - clock - base);
    if (!store.firstFrame && !isBefore(base + clock, last) && drift <= kMostDrift)
        return base + clock;
    store.firstFrame = false;
    const std::uint64_t time = std::max(anchor, last);
    base = time - clock;
    store.timeBase = base;
    tellTimeBase(store, time, base);
    return time;
}

std::uint64_t placeInTime(Store& store, std::uint32_t clock) {
    // This thread alone writes the bounds; other threads may look at any time.
    const std::uint64_t last = store.lastTime.load(std::memory_order_relaxed);
    const std::uint64_t time = store.nextFileStart == 0 ? followClock(store, clock, last)
                                                        : startAtAnchor(store, clock, last);
    store.lastTime.store(time, std::memory_order_relaxed);
    if (time < store.firstTime.load(std::memory_order_relaxed))
        store.firstTime.store(time, std::memory_order_relaxed);
    store.nextFileStart = 0;
    return time;
}

// Counts the frame on its bus and finds the message that wants it, if any.
Message* receiverOf(Store& store, const Frame& record, std::uint64_t time) {
    const bool isError = (record.id & kErrorFrameFlag) != 0;
    const bool all = store.readAll.load(std::memory_order_relaxed);
    std::uint32_t number = record.interface;
    if (isError) {
        number += kStatisticsOffset;
    } else if (BitRate* rate = bitRateOf(store, number); rate != nullptr) {
        if (all || rate->needsParse) rate->addFrame(time, record);
    }
    const CanIface* interface = store.findActiveInterface(number);
    if (interface == nullptr) return nullptr;
    Message* message = interface->findActive(isError ? kErrorMessageId : record.id);
    return message != nullptr && (all || message->usedCount != 0) ? message : nullptr;
}

// The record's absolute time, or nothing if it went to a dump.
std::optional<std::uint64_t> acceptRecord(Store& store, const Frame& record) {
    const std::uint64_t time = placeInTime(store, record.timestamp);
    store.framesRead.store(store.framesRead.load(std::memory_order_relaxed) + 1,
                           std::memory_order_relaxed);
    if (!store.dumpAsc && !store.dumpToFile.load(std::memory_order_relaxed)) return time;
    writeAscRecord(store, record, time);
    return std::nullopt;
}

void tellFailure(std::uint32_t id, const std::exception& error) {
    report(Level::kWarning, format("Error while parsing CAN frame %u: %s", id, error.what()));
}

}  // namespace

void handleRecord(Store& store, const Frame& record) {
    const auto time = acceptRecord(store, record);
    if (!time) return;
    try {
        Message* receiver = receiverOf(store, record, *time);
        if (receiver != nullptr) receiver->postFrame(record, *time);
    } catch (const std::exception& error) {
        tellFailure(record.id, error);
    }
}

void RecordBatch::add(const Frame& record) {
    const auto time = acceptRecord(store_, record);
    if (!time) return;
    try {
        Message* receiver = receiverOf(store_, record, *time);
        if (receiver == nullptr) return;
        std::vector<StoredFrame>* held = receiver->heldFrames();
        if (held == nullptr) {
            receiver->postFrame(record, *time);
            return;
        }
        if (held->empty()) holders_.push_back(receiver);
        std::uint64_t data = 0;
        std::memcpy(&data, record.data.data(), sizeof data);
        if constexpr (std::endian::native == std::endian::big) data = __builtin_bswap64(data);
        held->emplace_back(*time, record.dlc, data);
    } catch (const std::exception& error) {
        tellFailure(record.id, error);
    }
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
