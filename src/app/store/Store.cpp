#include "app/store/Store.h"

#include <glibmm/error.h>
#include <pthread.h>
#include <string.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

constexpr const char* kDefaultColour = "#00007833ffff";

}  // namespace

Store::Store() {
    const char* home = std::getenv("HOME");
    const bool hasHome = home != nullptr && *home != '\0';
    liveFilePath = (hasHome ? std::string(home) : "/tmp") + "/.sigmiralive";
}

Store::~Store() {
    try {
        shutdown();
    } catch (const PrintMsgError&) {  // NOLINT(bugprone-empty-catch): the message is out
    }
}

// ---- interfaces and lookup

std::shared_ptr<CanIface> Store::addInterface(const std::string& name, std::uint32_t number) {
    if (findInterfaceByName(name))
        reportFatal(
            format("Interface name '%s' already used. Duplicates not allowed.", name.c_str()));
    auto interface = std::make_shared<CanIface>(*this, name, number);
    if (!interfaces.emplace(number, interface).second)
        reportFatal(format("Could not insert Can interface (nbr), %s (%u)", name.c_str(), number));
    return interface;
}

std::shared_ptr<CanIface> Store::findInterfaceByNumber(std::uint32_t number) const {
    const auto found = interfaces.find(number);
    return found == interfaces.end() ? nullptr : found->second;
}

CanIface* Store::findActiveInterface(std::uint32_t number) const {
    if (number < kByteNumbers) return activeByNumber_[number];
    if (number - kStatisticsOffset < kByteNumbers)
        return activeByNumber_[number - kStatisticsOffset + kByteNumbers];
    const auto found = activeInterfaces.find(number);
    return found == activeInterfaces.end() ? nullptr : found->second;
}

std::shared_ptr<CanIface> Store::findInterfaceByName(const std::string& name) const {
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const auto& entry) { return entry.second->name == name; });
    return found == interfaces.end() ? nullptr : found->second;
}

std::string Store::completeLegacyReference(const std::string& reference) const {
    if (std::count(reference.begin(), reference.end(), '.') >= 2) return reference;
    if (!legacyVsd)
        throw std::invalid_argument(
            "Expected signal to be formatted as <iface>.<msg>.<sign> but got " + reference);
    const bool isVirtual = reference.find("Virtual.") != std::string::npos;
    return (isVirtual ? "Virt." : "Can.") + reference;
}

std::shared_ptr<Signal> Store::getSignal(const std::string& reference) {
    const std::string complete = completeLegacyReference(reference);
    if (std::count(complete.begin(), complete.end(), '.') < 2)
        throw std::invalid_argument(
            "Expected signal to be formatted as <iface>.<msg>.<sign> but got " + reference);
    try {
        return findSignal(complete);
    } catch (const SignalNotFoundException&) {
        if (missedLookups != nullptr) missedLookups->push_back(complete);
        throw;
    }
}

std::shared_ptr<Signal> Store::findSignal(const std::string& complete) const {
    const auto interfaceEnd = complete.find('.');
    const auto messageEnd = complete.find('.', interfaceEnd + 1);
    const std::string interfaceName = complete.substr(0, interfaceEnd);
    const auto interface = findInterfaceByName(interfaceName);
    if (!interface)
        throw SignalNotFoundException("Couldn't find interface with name " + interfaceName);
    const auto message =
        interface->findByName(complete.substr(interfaceEnd + 1, messageEnd - interfaceEnd - 1));
    return message->getSignal(complete.substr(messageEnd + 1));
}

std::optional<std::string> Store::interfaceName(std::uint32_t number) const {
    const auto found = interfaces.find(number);
    if (found == interfaces.end()) return std::nullopt;
    return found->second->name;
}

std::shared_ptr<Message> Store::getMessage(std::uint32_t interfaceNumber, std::uint32_t id) const {
    const auto interface = findInterfaceByNumber(interfaceNumber);
    if (!interface)
        throw std::invalid_argument(format("Can't find interface with number %u", interfaceNumber));
    auto message = interface->findById(id);
    if (!message) throw std::invalid_argument(format("Can't find message with id %u", id));
    return message;
}

std::string Store::colorOf(const std::string& interface, const std::string& message,
                           const std::string& signal) const {
    return hooks.colorLookup ? hooks.colorLookup(interface, message, signal) : kDefaultColour;
}

void Store::buildActiveMaps() {
    activeInterfaces.clear();
    activeByNumber_ = {};
    for (const auto& [number, interface] : interfaces) {
        if (!interface->buildActiveMap()) continue;
        activeInterfaces.emplace(number, interface.get());
        if (number < kByteNumbers) activeByNumber_[number] = interface.get();
        const std::uint32_t statistics = number - kStatisticsOffset;
        if (statistics < kByteNumbers) activeByNumber_[kByteNumbers + statistics] = interface.get();
    }
}

void Store::clearSelection() {
    const RecountBatch batch(*this);
    for (const auto& [number, interface] : interfaces)
        for (const auto& [id, message] : interface->messages)
            message->selectAll(false);
}

void Store::recountNow() {
    selectedSignals.clear();
    counts = {};
    for (const auto& [number, interface] : interfaces) {
        interface->recount();
        counts += *interface;
    }
    for (const auto& rate : bitRates)
        if (rate && rate->needsParse) ++counts.pendingCount;
    progress = counts.pendingCount != 0 ? 0 : -1;
    emitStatus();
}

// ---- the worker

void Store::startWorker() {
    if (workerThread_.joinable()) return;
    workerThread_ = std::thread([this] { workerLoop(); });
    pthread_setname_np(workerThread_.native_handle(), "Store");
}

void Store::markRequest() {
    const std::lock_guard lock(workerMutex_);
    parseRequested_ = true;
    parsing = !networkInput && !dongleMode;
    workerCondition_.notify_all();
}

void Store::requestParse() {
    // An import that met an unreadable file has ended the worker; the next request needs a new one.
    if (!running && !shutDown_ && workerThread_.joinable()) {
        workerThread_.join();
        running = true;
        startWorker();
    }
    markRequest();
}

bool Store::parseNow() {
    markRequest();
    fatal_ = false;
    workerFailed = false;
    workerLoop();
    if (fatal_) throw PrintMsgError{};
    return !workerFailed;
}

bool Store::reparseRequested() const {
    const std::lock_guard lock(workerMutex_);
    return parseRequested_;
}

const StoreHooks::InputPath& Store::chooseInput() const {
    if (networkInput) return hooks.liveConnection;
    if (dongleMode) return hooks.canSocket;
    if (csvMode) return hooks.csvImport;
    if (ascMode) return hooks.ascImport;
    return hooks.logFiles;
}

void Store::runPass() {
    const bool live = networkInput || dongleMode;
    if (!live) busyUp();
    try {
        if (const auto& path = chooseInput()) path(*this);
    } catch (const PrintMsgError&) {
        fatal_ = true;
        if (!noGui) fatalError.emit();
    } catch (const Glib::Exception& error) {
        workerFailed = true;
        report(Level::kError, format("Exception: %s", error.what().c_str()));
    } catch (const std::exception& error) {
        workerFailed = true;
        report(Level::kError, format("Exception: %s", error.what()));
    }
    if (!live) busyDown();
}

// The request flag and `running` change under the mutex of the condition, so a request between the
// look and the wait is seen by the look:
//
//      worker                          main thread
//      lock
//      parseRequested_? no
//      wait (unlocks)
//                                      lock, parseRequested_ = true, notify, unlock
//      wakes, locks, looks again
void Store::workerLoop() {
    std::unique_lock lock(workerMutex_);
    while (running) {
        workerCondition_.wait(lock, [this] { return parseRequested_ || !running; });
        parseRequested_ = false;
        if (!running) return;
        lock.unlock();
        runPass();
        lock.lock();
        parsing = parseRequested_ && !networkInput && !dongleMode;
        if (noGui) running = false;
    }
}

bool Store::waitingForWork() const {
    if (dumpToFile) {
        report(Level::kInfo, "Wait for dump to finish");
        return true;
    }
    if (parsing) {
        report(Level::kInfo, "Wait for parse to complete");
        return true;
    }
    return false;
}

void Store::dumpLogsToFile(const std::string& path, std::uint64_t from, std::uint64_t to) {
    dumpPath = path;
    dumpFrom = from;
    dumpTo = to;
    dumpToFile = true;
    requestParse();
}

void Store::stopNetwork() {
    networkInput = false;
    liveMode = false;
    readAll = false;
    liveStopRequested = true;
    if (hooks.stopLiveRead) hooks.stopLiveRead();
    const std::lock_guard lock(liveMutex);
    liveStopRequested = false;
    forgetKey();
    clearInterval();
}

void Store::forgetKey() {
    explicit_bzero(decryptionKey.data(), decryptionKey.size());
    decryptionKey.clear();
}

void Store::interrupt() {
    {
        const std::lock_guard lock(workerMutex_);
        running = false;
        workerCondition_.notify_all();
    }
    if (hooks.stopLiveRead) hooks.stopLiveRead();
    const std::lock_guard lock(stopperMutex_);
    if (passStopper_) passStopper_();
}

void Store::setPassStopper(std::function<void()> stopper) {
    const std::lock_guard lock(stopperMutex_);
    passStopper_ = std::move(stopper);
}

void Store::shutdown() {
    if (shutDown_) return;
    shutDown_ = true;
    if (workerThread_.joinable()) {
        interrupt();
        workerThread_.join();
    }
    forgetKey();
    clearAll();
    if (hooks.saveSettings) hooks.saveSettings();
}

void Store::clearAll() {
    for (const auto& [number, interface] : interfaces)
        interface->clear();
    interfaces.clear();
    selectedSignals.clear();
    activeInterfaces.clear();
    activeByNumber_ = {};
    bitRates.clear();
    highestInterface = 0;
    dbcLoaded = false;
    vsdLoaded = false;
    legacyVsd = false;
    legacyGps = false;
    firstFrame = true;
    firstTime = kNoTime;
    lastTime = 0;
    parseFirstTime = kNoTime;
    parseLastTime = 0;
    recount();
    const bool hadInterval = intervalSet.exchange(false);
    intervalStart = 0;
    intervalEnd = 0;
    if (hadInterval) emitData();
}

// ---- the view

void Store::setInterval(std::uint64_t a, std::uint64_t b) {
    clearInterval();
    intervalStart = std::min(a, b);
    intervalEnd = std::max(a, b);
    intervalSet = true;
    for (const auto& [number, interface] : interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals)
                signal->updateVisibleRange();
    emitData();
}

void Store::clearInterval() {
    if (!intervalSet) return;
    intervalStart = firstTime.load();
    intervalEnd = lastTime.load();
    for (const auto& [number, interface] : interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals)
                signal->resetVisibleRange();
    intervalSet = false;
    emitData();
}

void Store::requestRedraw() {
    emitData();
}

void Store::emitStatus() {
    if (!noGui && !dumpAsc) statusChanged.emit();
}

void Store::emitData() {
    if (!noGui && !dumpAsc) dataChanged.emit();
}

bool Store::isBusy() const {
    const std::lock_guard lock(busyMutex_);
    return busyCount_ > 0;
}

void Store::busyUp() {
    {
        const std::lock_guard lock(busyMutex_);
        ++busyCount_;
    }
    emitStatus();
}

void Store::busyDown() {
    {
        const std::lock_guard lock(busyMutex_);
        if (busyCount_ > 0) --busyCount_;
    }
    emitStatus();
}

}  // namespace trelis
