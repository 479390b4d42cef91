#include "app/Wiring.h"

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/AscImport.h"
#include "input/CsvImport.h"
#include "input/LiveConnection.h"
#include "input/LogFiles.h"

namespace trelis {

void wireStore(Store& store) {
    store.hooks.logFiles = parseLogs;
    store.hooks.csvImport = importCsvFiles;
    store.hooks.ascImport = importAscFiles;
    wireLiveInputs(store);
    store.hooks.colorLookup = [](const std::string& interface, const std::string& message,
                                 const std::string& signal) {
        return Settings::instance().getSignalColor(interface, message, signal);
    };
    store.hooks.bitRateInterval = [] { return Settings::instance().getBitrateInterval(); };
    store.hooks.saveSettings = [] { Settings::instance().save(); };
}

}  // namespace trelis
