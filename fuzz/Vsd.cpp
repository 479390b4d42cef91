// Reads a definition file against a model of some signals with samples, and calculates what its
// groups define.
#include <glibmm/error.h>

#include <cmath>
#include <map>

#include "FuzzFile.h"
#include "app/diagnostics/Exceptions.h"
#include "app/store/Store.h"
#include "input/VsdFile.h"
#include "model/RealMessage.h"
#include "virtual/VirtualRegistry.h"
#include "virtual/VirtualSignal.h"

using namespace trelis;

namespace {

constexpr std::uint64_t kStart = 1700000000000;
constexpr std::string_view kDbc = "BO_ 7 Read: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n";
constexpr std::string_view kTable = "0\t10\t20\n1\t5\t6\n2\t7\t8.5\n";

/// Files that the seeds refer to as /proc/self/fd/900 and 901.
void placeFiles() {
    static const bool placed = [] {
        int number = 900;
        for (const std::string_view content : {kDbc, kTable}) {
            const int descriptor = ::memfd_create("side", 0);
            if (::write(descriptor, content.data(), content.size()) < 0) std::abort();
            if (::dup2(descriptor, number++) < 0) std::abort();
            ::close(descriptor);
        }
        return true;
    }();
    static_cast<void>(placed);
}

void addSignals(Store& store) {
    const auto interface = store.addInterface("Can", 0);
    const auto message = RealMessage::create(1, "M", interface);
    interface->addMessage(message);
    for (const char* name : {"A", "B", "Lat", "Lon"}) {
        const auto signal =
            RealSignal::create(message, name, 0, 8, 1, '+', "V", 1.0, 0.0, 0.0, 0.0);
        message->addSignal(name, signal);
        // Slow and uneven, with a gap of more than ten seconds.
        for (unsigned i = 0; i < 40; ++i)
            signal->addSample(kStart + i * 97 + (i > 25 ? 15000 : 0),
                              std::sin(i * 0.4) * 20 + (name[0] == 'B' ? 0 : 40));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::beginInput();
    placeFiles();
    const fuzz::FuzzFile file(data, size);
    Store store;
    store.noGui = true;
    store.csvMode = true;  // no settings needed
    addSignals(store);
    try {
        loadVsdFile(store, file.path());
    } catch (const PrintMsgError&) {
    } catch (const Glib::Error&) {
    } catch (const std::exception&) {
    }
    for (const auto& signal : virtualRegistry(store).allVirtualSignals) {
        try {
            signal->setSelected(true);
            signal->calculate();
            signal->flushSamples();
        } catch (const PrintMsgError&) {
        } catch (const std::exception&) {
        }
        double value = 0;
        static_cast<void>(signal->summaryValue(value));
    }
    store.clearAll();
    return 0;
}
