#include "input/LiveRun.h"

#include <algorithm>
#include <chrono>

#include "app/store/Store.h"
#include "input/AscWriter.h"
#include "input/HandleRecord.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

void finishMessages(Store& store) {
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            message->finish();
    for (const auto& rate : store.bitRates)
        if (rate) rate->flushSamples();
}

// Messages stop decoding at the first signal that is not in use; while liveMode is set their own
// counting leaves the order as it is.
void sortByUse(Store& store) {
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            std::stable_sort(
                message->parseOrder.begin(), message->parseOrder.end(),
                [](const auto& one, const auto& other) { return one->useCount > other->useCount; });
}

}  // namespace

std::uint64_t wallClockMs() {
    using std::chrono::milliseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<milliseconds>(now).count());
}

bool liveStopAsked(const Store& store) {
    return !store.running || store.liveStopRequested || !(store.networkInput || store.dongleMode);
}

void beginLiveRun(Store& store, std::uint64_t startTime) {
    // In a window any signal may be looked at later, without one only what is in use now.
    store.readAll = !store.noGui;
    if (store.noGui) sortByUse(store);
    resetTimeAxis(store);
    store.nextFileStart = startTime;
    store.parseFirstTime = startTime;
    store.parseLastTime = startTime + kLiveWindowMs;
    if (!store.intervalSet) {
        store.intervalStart = startTime;
        store.intervalEnd = startTime + kLiveWindowMs;
    }
    store.buildActiveMaps();
}

void growLiveAxis(Store& store) {
    if (store.ascDump && !store.dumpToFile) store.ascDump->writer().flush();
    const std::uint64_t end = store.parseLastTime;
    if (end - kLiveWindowMs >= store.lastTime) return;
    store.parseLastTime = end + kLiveWindowMs;
    if (!store.intervalSet) store.intervalEnd = end + kLiveWindowMs;
}

void endLiveRun(Store& store) {
    if (store.ascDump && !store.dumpToFile) {
        store.ascDump->commit();
        store.ascDump.reset();
    }
    if (store.noGui && !store.dumpAsc) finishMessages(store);
    finishTimeAxis(store);
}

}  // namespace trelis
