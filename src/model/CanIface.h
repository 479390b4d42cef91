// A named bus (or a built-in group of signals) with its messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace trelis {

class Message;
class ModelContext;

/// Sums of what the user wants, over the signals of a message or the messages of an interface.
struct UseCounts {
    std::uint32_t selectedVisibleCount = 0;  ///< selected and not internal
    std::uint32_t selectedCount = 0;
    std::uint32_t usedCount = 0;     ///< with users
    std::uint32_t pendingCount = 0;  ///< with users, not parsed yet

    UseCounts& operator+=(const UseCounts& other);
};

/// Its maps change only while no parse runs. Main thread, and the worker's thread for the active
/// map; other threads only look up while a parse runs.
class CanIface : public UseCounts {
  public:
    CanIface(ModelContext& context, std::string name, std::uint32_t number);

    /// ERR and PrintMsgError if the id is taken.
    void addMessage(const std::shared_ptr<Message>& message);
    /// A message of the active map, or null. One or two looks into a table: live inputs ask for
    /// every frame.
    [[nodiscard]] Message* findActive(std::uint32_t id) const;
    [[nodiscard]] std::shared_ptr<Message> findById(std::uint32_t id) const;
    /// The first message of that name in order of id; SignalNotFoundException without one.
    [[nodiscard]] std::shared_ptr<Message> findByName(const std::string& messageName) const;
    /// Enters the messages that this parse decodes; says whether there is any.
    bool buildActiveMap();
    /// Empties all messages and ends their workers.
    void clear();
    /// Recounts the messages and sums them.
    void recount();

    [[nodiscard]] ModelContext& context() const { return context_; }

    std::string name;
    std::uint32_t number;
    /// By id as a signed number, which puts extended ids first.
    std::map<std::int32_t, std::shared_ptr<Message>> messages;
    std::map<std::int32_t, Message*> activeMessages;

  private:
    struct ActiveSlot {
        std::uint32_t id = 0;
        Message* message = nullptr;  ///< null: a free slot
    };

    void indexActive();
    [[nodiscard]] std::size_t slotOf(std::uint32_t id) const;

    ModelContext& context_;
    /// The active map as a hash table with linear probing, at most half full; empty with the map.
    std::vector<ActiveSlot> activeSlots_;
    /// Made at the first lookup after a change of `messages`.
    mutable std::unordered_map<std::string, std::int32_t> idsByName_;
    mutable bool namesIndexed_ = false;
};

}  // namespace trelis
