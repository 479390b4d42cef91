// Reads a trace into two messages, one with users. The last byte of the input picks the mode.
#include <memory>

#include "FuzzFile.h"
#include "app/diagnostics/Exceptions.h"
#include "app/store/Store.h"
#include "input/AscImport.h"
#include "model/RealMessage.h"
#include "model/builtin/BuiltinMessages.h"

using namespace trelis;

namespace {

void addMessage(const std::shared_ptr<CanIface>& interface, std::uint32_t id) {
    const auto message = RealMessage::create(id, "M" + std::to_string(id), interface);
    interface->addMessage(message);
    message->addSignal("s", RealSignal::create(message, "s", 4, 12, 1, '-', "", 2, 1, 0, 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::beginInput();
    const fuzz::FuzzFile file(data, size);
    Store store;
    store.noGui = true;
    const auto interface = store.addInterface("Can", 0);
    addMessage(interface, 0x123);
    addMessage(interface, 0x80000123);
    addBuiltinMessages(store);
    store.getSignal("Can.M291.s")->setSelected(true);
    store.getSignal("ST_Can.BusLoad.Bitrate")->setSelected(true);
    store.getSignal("ST_Can.MsgRate.M291")->setSelected(true);
    store.readAll = size > 0 && (data[size - 1] & 1U) != 0;
    store.logFiles = {file.path(), file.path()};
    importAscFiles(store);
    if (store.firstTime < store.lastTime && store.parseLastTime < store.parseFirstTime)
        std::abort();
    return 0;
}
