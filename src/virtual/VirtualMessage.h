// The message that holds virtual signals.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/Message.h"

namespace trelis {

class VirtualSignal;

class VirtualMessage : public Message {
  public:
    /// With a dynamic id: the next one in order of creation.
    VirtualMessage(const std::shared_ptr<CanIface>& iface, const std::string& name);
    /// With a given id. On the virtual interface, where the dynamic ids live, ERR "Mixing static
    /// and dynamic message ID:s" and PrintMsgError if that id was or may have been handed out.
    VirtualMessage(const std::shared_ptr<CanIface>& iface, std::uint32_t id,
                   const std::string& name);
    /// A scratch message, for trying out a definition: its signals are not registered, so nothing
    /// calculates them, and its end leaves the model alone.
    VirtualMessage(ModelContext& context, std::uint32_t id, const std::string& name);

    /// Prepares the next finish; there is no worker, so it returns false.
    bool startWorker() override;
    /// The first of all virtual messages to finish calculates and flushes every signal that has a
    /// user and was not flushed before. What a calculation throws comes through.
    void finish() override;
    void clearMessage() override;

    /// Adds the signal under this name and registers it behind all others. std::invalid_argument,
    /// and nothing happens, if the message has a signal of that name.
    void addVirtualSignal(const std::shared_ptr<VirtualSignal>& signal, const std::string& name);

  private:
    bool scratch_ = false;
};

}  // namespace trelis
