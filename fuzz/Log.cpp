// A recording of any bytes, read into a small model with a multiplexed message, rates and errors.
#include <glibmm/init.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"
#include "input/LogFiles.h"
#include "model/RealMessage.h"
#include "model/builtin/BuiltinMessages.h"
#include "model/builtin/LoggerMessage.h"

namespace {

using namespace trelis;

void addMessage(Store& store, std::uint32_t id) {
    const auto interface = store.findInterfaceByNumber(0);
    const auto message = RealMessage::create(id, "M" + std::to_string(id), interface);
    interface->addMessage(message);
    const auto add = [&](const char* name, std::uint32_t start, std::uint32_t length, int intel) {
        auto signal =
            RealSignal::create(message, name, start, length, intel, '-', "", 0.5, 1, 0, 0);
        message->addSignal(name, signal);
        return signal;
    };
    add("Low", 0, 12, 1);
    add("High", 7, 64, 0);
    add("Mux", 16, 4, 1);
    add("Part", 24, 16, 1)->muxValue = 1;
    message->multiplexor = RealSignal::create(message, "Mux", 16, 4, 1, '+', "", 1, 0, 0, 0);
    message->multiplexor->muxValue = kMultiplexor;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = [] {
        Glib::init();
        // The messages of a million damaged files would cost more time than the reading.
        return std::freopen("/dev/null", "w", stderr) != nullptr;
    }();
    static_cast<void>(ready);
    const int descriptor = memfd_create("log", MFD_CLOEXEC);
    if (descriptor < 0 || write(descriptor, data, size) != static_cast<ssize_t>(size)) return -1;
    {
        Store store;
        store.noGui = true;
        store.hooks.logFiles = parseLogs;
        addLoggerInterface(store);
        store.addInterface("Can", 0);
        addMessage(store, 0x123);
        addMessage(store, 0x80000001);
        addBuiltinMessages(store);
        {
            const RecountBatch batch(store);
            for (const auto& [number, interface] : store.interfaces)
                for (const auto& [id, message] : interface->messages)
                    message->selectAll(true);
        }
        const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
        addLogFile(store, path);
        addLogFile(store, path);
        store.parseNow();
    }
    while (!MessageLog::instance().isEmpty())
        MessageLog::instance().pop();
    close(descriptor);
    return 0;
}
