// Reads a table twice over, as if it were two files.
#include "FuzzFile.h"
#include "app/diagnostics/Exceptions.h"
#include "app/store/Store.h"
#include "input/CsvImport.h"
#include "model/Message.h"
#include "model/Signal.h"

using namespace trelis;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::beginInput();
    const fuzz::FuzzFile file(data, size);
    Store store;
    store.noGui = true;
    store.csvMode = true;
    store.logFiles = {file.path(), file.path()};
    try {
        prepareCsvImport(store);
        importCsvFiles(store);
    } catch (const PrintMsgError&) {
        return 0;
    }
    for (const auto& signal : store.getMessage(kCsvInterface, 0)->signals)
        for (std::size_t i = 1; i < signal->samples().size(); ++i)
            if (signal->samples()[i].time < signal->samples()[i - 1].time) std::abort();
    return 0;
}
