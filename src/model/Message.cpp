#include "model/Message.h"

#include <glibmm/pattern.h>

#include <algorithm>
#include <stdexcept>

#include "app/diagnostics/Exceptions.h"
#include "model/ModelContext.h"
#include "model/Signal.h"

namespace trelis {

Message::Message(std::uint32_t messageId, std::string messageName,
                 const std::shared_ptr<CanIface>& owner)
    : id(messageId), name(std::move(messageName)), iface(owner), context_(owner->context()) {}

Message::Message(ModelContext& context, std::uint32_t messageId, std::string messageName)
    : id(messageId), name(std::move(messageName)), context_(context) {}

Message::~Message() = default;

bool Message::startWorker() {
    return false;
}

bool Message::startLogWorker(const std::deque<std::shared_ptr<FrameSource>>& /*parsers*/) {
    return startWorker();
}

void Message::finish() {
    for (const auto& signal : signals) {
        if (!signal->hasData && signal->useCount == 0) {
            signal->parsed = false;
            continue;
        }
        signal->parsed = true;
        if (!signal->needsParse) continue;
        signal->flushSamples();
        signal->needsParse = false;
    }
}

std::shared_ptr<Signal> Message::getSignal(const std::string& signalName) const {
    const auto found = signalsByName.find(signalName);
    if (found == signalsByName.end())
        throw SignalNotFoundException("Can't find signal with name " + signalName);
    return found->second;
}

void Message::postFrame(const Frame& /*frame*/, std::uint64_t /*absoluteTime*/) {}

std::vector<StoredFrame>* Message::heldFrames() {
    return nullptr;
}

void Message::decodeHeld() {}

void Message::clearMessage() {
    for (const auto& signal : signals)
        signal->resetAll();
    signalsByName.clear();
    signals.clear();
    parseOrder.clear();
    rateSignal.reset();
    iface.reset();
}

bool Message::isWanted() const {
    return false;
}

bool Message::addSignal(const std::string& signalName, const std::shared_ptr<Signal>& signal) {
    if (!signalsByName.emplace(signalName, signal).second) return false;
    addUnnamedSignal(signal);
    return true;
}

void Message::addUnnamedSignal(const std::shared_ptr<Signal>& signal) {
    if (auto shared = sampleMutex()) signal->mutex = std::move(shared);
    signals.push_back(signal);
    parseOrder.push_back(signal);
}

std::shared_ptr<std::mutex> Message::sampleMutex() const {
    return nullptr;
}

void Message::selectPattern(const std::string& pattern) {
    const Glib::PatternSpec spec{Glib::ustring(pattern)};
    for (const auto& signal : signals)
        if (spec.match(signal->name)) signal->setSelected(true);
}

void Message::selectAll(bool select) {
    for (const auto& [signalName, signal] : signalsByName)
        signal->setSelected(select);
}

std::shared_ptr<CanIface> Message::parent() const {
    if (!iface) throw std::runtime_error("Message '" + name + "' has no parent interface");
    return iface;
}

void Message::recount() {
    if (!context_.liveMode) {
        std::stable_sort(parseOrder.begin(), parseOrder.end(),
                         [](const auto& a, const auto& b) { return a->useCount > b->useCount; });
    }
    static_cast<UseCounts&>(*this) = {};
    for (const auto& signal : signals) {
        if (signal->selected) {
            ++selectedCount;
            if (!signal->internalOnly) {
                ++selectedVisibleCount;
                context_.selectedSignals.push_back(signal);
            }
        }
        if (signal->useCount == 0) continue;
        ++usedCount;
        if (!signal->parsed) ++pendingCount;
    }
}

}  // namespace trelis
