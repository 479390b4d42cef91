#include "model/CanIface.h"

#include <algorithm>

#include <bit>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "model/Message.h"
#include "model/ModelContext.h"

namespace trelis {

UseCounts& UseCounts::operator+=(const UseCounts& other) {
    selectedVisibleCount += other.selectedVisibleCount;
    selectedCount += other.selectedCount;
    usedCount += other.usedCount;
    pendingCount += other.pendingCount;
    return *this;
}

CanIface::CanIface(ModelContext& context, std::string ifaceName, std::uint32_t ifaceNumber)
    : name(std::move(ifaceName)), number(ifaceNumber), context_(context) {}

void CanIface::addMessage(const std::shared_ptr<Message>& message) {
    const auto messageId = static_cast<std::int32_t>(message->id);
    if (messages.emplace(messageId, message).second) {
        if (!namesIndexed_) return;
        const auto [entry, isNew] = idsByName_.emplace(message->name, messageId);
        if (!isNew) entry->second = std::min(entry->second, messageId);
        return;
    }
    reportFatal(
        format("Couldn't insert message '%s' into interface '%s', message with ID '%u' "
               "already exists",
               message->name.c_str(), name.c_str(), message->id));
}

Message* CanIface::findActive(std::uint32_t id) const {
    if (activeSlots_.empty()) return nullptr;
    for (std::size_t at = slotOf(id);; at = (at + 1) & (activeSlots_.size() - 1)) {
        const ActiveSlot& slot = activeSlots_[at];
        if (slot.message == nullptr || slot.id == id) return slot.message;
    }
}

// Fibonacci hashing (Knuth, The Art of Computer Programming, volume 3, 6.4).
std::size_t CanIface::slotOf(std::uint32_t id) const {
    const std::uint64_t spread = std::uint64_t{id} * 0x9E3779B97F4A7C15U;
    return static_cast<std::size_t>(spread >> 32) & (activeSlots_.size() - 1);
}

void CanIface::indexActive() {
    activeSlots_.clear();
    if (activeMessages.empty()) return;
    activeSlots_.resize(std::bit_ceil(activeMessages.size() * 2));
    for (const auto& [id, message] : activeMessages) {
        std::size_t at = slotOf(static_cast<std::uint32_t>(id));
        while (activeSlots_[at].message != nullptr)
            at = (at + 1) & (activeSlots_.size() - 1);
        activeSlots_[at] = {static_cast<std::uint32_t>(id), message};
    }
}

std::shared_ptr<Message> CanIface::findById(std::uint32_t id) const {
    const auto found = messages.find(static_cast<std::int32_t>(id));
    return found == messages.end() ? nullptr : found->second;
}

std::shared_ptr<Message> CanIface::findByName(const std::string& messageName) const {
    if (!namesIndexed_) {
        idsByName_.clear();
        for (const auto& [id, message] : messages)
            idsByName_.emplace(message->name, id);
        namesIndexed_ = true;
    }
    const auto found = idsByName_.find(messageName);
    if (found == idsByName_.end())
        throw SignalNotFoundException("Can't find message with name " + messageName);
    return messages.at(found->second);
}

bool CanIface::buildActiveMap() {
    activeMessages.clear();
    for (const auto& [id, message] : messages)
        if (message->pendingCount != 0 || context_.readAll)
            activeMessages.emplace(id, message.get());
    indexActive();
    return !activeMessages.empty();
}

void CanIface::clear() {
    for (const auto& [id, message] : messages) {
        message->finish();
        message->clearMessage();
    }
    messages.clear();
    activeMessages.clear();
    activeSlots_.clear();
    namesIndexed_ = false;
}

void CanIface::recount() {
    static_cast<UseCounts&>(*this) = {};
    for (const auto& [id, message] : messages) {
        message->recount();
        *this += *message;
    }
}

}  // namespace trelis
