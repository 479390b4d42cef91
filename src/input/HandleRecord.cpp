#include "input/HandleRecord.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/AscWriter.h"
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

void postRecord(Store& store, const Frame& record, std::uint64_t time) {
    const bool isError = (record.id & kErrorFrameFlag) != 0;
    const bool all = store.readAll.load(std::memory_order_relaxed);
    std::uint32_t number = record.interface;
    if (isError) {
        number += kStatisticsOffset;
    } else if (BitRate* rate = bitRateOf(store, number); rate != nullptr) {
        if (all || rate->needsParse) rate->addFrame(time, record);
    }
    const CanIface* interface = store.findActiveInterface(number);
    if (interface == nullptr) return;
    Message* message = interface->findActive(isError ? kErrorMessageId : record.id);
    if (message != nullptr && (all || message->usedCount != 0)) message->postFrame(record, time);
}

}  // namespace

void handleRecord(Store& store, const Frame& record) {
    const std::uint64_t time = placeInTime(store, record.timestamp);
    store.framesRead.store(store.framesRead.load(std::memory_order_relaxed) + 1,
                           std::memory_order_relaxed);
    if (store.dumpAsc || store.dumpToFile.load(std::memory_order_relaxed)) {
        writeAscRecord(store, record, time);
        return;
    }
    try {
        postRecord(store, record, time);
    } catch (const std::exception& error) {
        report(Level::kWarning,
               format("Error while parsing CAN frame %u: %s", record.id, error.what()));
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
