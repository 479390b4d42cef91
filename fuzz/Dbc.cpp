// Reads a DBC file by the rules and then tolerantly, and decodes every signal.
#include <glib.h>

#include "FuzzFile.h"
#include "app/diagnostics/Exceptions.h"
#include "app/store/Store.h"
#include "input/DbcReader.h"
#include "model/RealMessage.h"

using namespace trelis;

namespace {

void mustBeUtf8(const std::string& text) {
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) std::abort();
}

void useModel(const Store& store) {
    for (const auto& [number, interface] : store.interfaces) {
        for (const auto& [id, message] : interface->messages) {
            mustBeUtf8(message->name + message->comment);
            for (const auto& signal : message->signals) {
                mustBeUtf8(signal->fullName + signal->unit + signal->comment);
                for (const auto& [value, label] : signal->valueLabels)
                    mustBeUtf8(label);
                char text[32];
                const auto& real = dynamic_cast<const RealSignal&>(*signal);
                real.printValue(text, sizeof text, real.valueOf(0x8877665544332211));
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::beginInput();
    const fuzz::FuzzFile file(data, size);
    for (const bool tolerant : {false, true}) {
        Store store;
        store.noGui = true;
        const FindingSink sink = [](const DefinitionFinding& found) { mustBeUtf8(found.text); };
        try {
            readDbcFile(store, file.path(), 0, "Can",
                        DbcReadOptions{.tolerant = tolerant, .sink = sink});
        } catch (const PrintMsgError&) {
            if (tolerant) std::abort();
        } catch (const std::exception&) {
            if (tolerant) std::abort();
        }
        useModel(store);
    }
    return 0;
}
