#include "virtual/VirtualMessage.h"

#include <stdexcept>

#include "app/diagnostics/Report.h"
#include "model/ModelContext.h"
#include "virtual/VirtualRegistry.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

std::uint32_t takeDynamicId(ModelContext& context) {
    return virtualRegistry(context).nextMessageId++;
}

// Dynamic ids are handed out on the virtual interface alone. The given ids of other interfaces,
// such as that of the message rates, cannot meet them however many there are.
std::uint32_t checkGivenId(const CanIface& iface, std::uint32_t id) {
    if (iface.number == kVirtualInterface && virtualRegistry(iface.context()).nextMessageId >= id)
        reportFatal("Mixing static and dynamic message ID:s");
    return id;
}

}  // namespace

VirtualRegistry& virtualRegistry(ModelContext& context) {
    if (!context.virtualRegistry) context.virtualRegistry = std::make_shared<VirtualRegistry>();
    return *context.virtualRegistry;
}

void calculateAll(ModelContext& context) {
    for (const auto& signal : virtualRegistry(context).allVirtualSignals)
        signal->calculate();
}

VirtualMessage::VirtualMessage(const std::shared_ptr<CanIface>& owner,
                               const std::string& messageName)
    : Message(takeDynamicId(owner->context()), messageName, owner) {}

VirtualMessage::VirtualMessage(const std::shared_ptr<CanIface>& owner, std::uint32_t givenId,
                               const std::string& messageName)
    : Message(checkGivenId(*owner, givenId), messageName, owner) {}

VirtualMessage::VirtualMessage(ModelContext& context, std::uint32_t givenId,
                               const std::string& messageName)
    : Message(context, givenId, messageName), scratch_(true) {}

bool VirtualMessage::startWorker() {
    if (!scratch_) virtualRegistry(context()).finishedOnce = false;
    return false;
}

void VirtualMessage::finish() {
    VirtualRegistry& registry = virtualRegistry(context());
    if (!scratch_ && !registry.finishedOnce) {
        registry.finishedOnce = true;
        for (const auto& signal : registry.allVirtualSignals) {
            if (signal->useCount == 0 || signal->flushed) continue;
            signal->calculate();
            signal->flushSamples();
            signal->flushed = true;
            // The message would flush it once more, which would divide an average twice.
            signal->needsParse = false;
        }
    }
    Message::finish();
}

void VirtualMessage::clearMessage() {
    if (!scratch_) {
        VirtualRegistry& registry = virtualRegistry(context());
        registry.allVirtualSignals.clear();
        registry.nextMessageId = 0;
    }
    Message::clearMessage();
}

void VirtualMessage::addVirtualSignal(const std::shared_ptr<VirtualSignal>& signal,
                                      const std::string& signalName) {
    if (!addSignal(signalName, signal))
        throw std::invalid_argument("Message '" + name + "' already has a signal with name " +
                                    signalName);
    if (!scratch_) virtualRegistry(context()).allVirtualSignals.push_back(signal);
}

}  // namespace trelis
