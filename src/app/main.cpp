// The program's entry: reads the command line, loads the definitions and runs one mode.
#include <fcntl.h>
#include <glibmm/error.h>
#include <glibmm/init.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>

#include "app/ProgressLine.h"
#include "app/ResultPrinter.h"
#include "app/StartUp.h"
#include "app/StopSignals.h"
#include "app/Wiring.h"
#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/CsvImport.h"
#include "input/DefinitionCheck.h"
#include "model/builtin/LoggerMessage.h"
#ifdef SIGMIRA_WITH_GUI
#include "app/WindowMode.h"
#endif

namespace {

using namespace trelis;

constexpr int kFailed = 1;

void chooseTolerance(Store& store, const StartUp& startUp) {
    store.tolerantDefinitions = startUp.tolerant || Settings::instance().getTolerantDefinitions();
}

void prepare(Store& store, StartUp& startUp, int argc, char** argv) {
    if (!store.csvMode && !store.ascMode && !store.dongleMode) addLoggerInterface(store);
    readPositionals(store, startUp, argc, argv);
    if (store.csvMode) prepareCsvImport(store);
    if (store.dumpAsc) return;
    chooseTolerance(store, startUp);
    loadDefinitions(store, startUp);
    if (!startUp.listOnly) selectSignals(store, startUp.signalArguments);
}

int runWithoutWindow(Store& store, const StartUp& startUp) {
    if (startUp.listOnly) {
        printListing(store, std::cout);
        std::exit(outputIsWhole() ? 0 : kFailed);  // nothing was parsed
    }
    Settings::instance().save();
    const StopSignals signals([&store] { store.interrupt(); });
    bool whole = false;
    {
        std::optional<ProgressLine> line;
        if (ProgressLine::isWelcome(startUp.showProgress)) line.emplace(store);
        whole = store.parseNow();
    }
    // A run over files that was stopped has no end results; one over a connection ends so. A run
    // that failed has none either: half of them would pass for all.
    const int stopped = signals.exitStatus();
    if (whole && (stopped == 0 || store.liveMode))
        printResults(store, startUp.printHeaders, std::cout);
    if (stopped != 0) return stopped;
    return outputIsWhole() && whole ? 0 : kFailed;
}

// Lists what the definition readers pass over, of the files given or else of those used last.
int runCheck(Store& store, StartUp& startUp, int argc, char** argv) {
    addLoggerInterface(store);
    readPositionals(store, startUp, argc, argv);
    chooseTolerance(store, startUp);
    if (startUp.dbcArgument.empty() && startUp.vsdArgument.empty()) {
        Settings& settings = Settings::instance();
        if (settings.getDbFile() != kNoFile) startUp.dbcArgument = settings.getDbFile();
        if (settings.getVsdFile() != kNoFile) startUp.vsdArgument = settings.getVsdFile();
    }
    if (startUp.dbcArgument.empty() && startUp.vsdArgument.empty()) {
        report(Level::kWarning, "Nothing to check, give a DBC or VSD file by -d or -f");
        return kFailed;
    }
    const int status = checkDefinitions(store, startUp.dbcArgument, startUp.vsdArgument, std::cout);
    return outputIsWhole() ? status : kFailed;
}

int runMode(Store& store, const StartUp& startUp, [[maybe_unused]] int argc,
            [[maybe_unused]] char** argv) {
    if (store.title.empty()) store.title = "Signal Plot";
    if (store.noGui) return runWithoutWindow(store, startUp);
    Settings::instance().save();
#ifdef SIGMIRA_WITH_GUI
    return runWindow(store, startUp.link, argc, argv);
#else
    report(Level::kError, "This build has no window, see the modes of -h");
    return kFailed;
#endif
}

// Shows what was told in a dialog, in the window mode, and gives the exit status.
int fail(const Store& store) {
    if (store.noGui) return kFailed;
#ifdef SIGMIRA_WITH_GUI
    installMessagePresenter();
#endif
    MessageLog::instance().showAll();
    return kFailed;
}

int fail(const Store& store, const std::string& text) {
    if (!store.noGui) report(Level::kError, text);
    return fail(store);
}

// Without a place for the settings the program does not start, and saves nothing at its end.
bool openSettings(Store& store) {
    try {
        Settings::instance();
        return true;
    } catch (const PrintMsgError&) {
        store.hooks.saveSettings = nullptr;
        return false;
    }
}

// A standard stream that the caller has closed must not become a file that is opened later:
// messages and results would go into it. This way they fail as on any closed stream.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int run(Store& store, int argc, char** argv) {
    StartUp startUp;
    try {
        if (const auto status = readOptions(store, startUp, argc, argv)) std::exit(*status);
        if (!openSettings(store)) return fail(store);
        // These only look, so a wrong path given to them is forgotten, also when they fail.
        if (startUp.listOnly || startUp.checkOnly) store.hooks.saveSettings = nullptr;
        if (startUp.checkOnly) std::exit(runCheck(store, startUp, argc, argv));
        try {
            prepare(store, startUp, argc, argv);
        } catch (const PrintMsgError&) {
            if (store.noGui) return kFailed;
            // The window opens with what was loaded and shows the messages.
        }
        return runMode(store, startUp, argc, argv);
    } catch (const PrintMsgError&) {
        return fail(store);
    } catch (const Glib::Exception& error) {
        return fail(store, "Glib: " + error.what().raw());
    } catch (const std::exception& error) {
        return fail(store, std::string("Exception: ") + error.what());
    }
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    std::setlocale(LC_ALL, "C");
    // A reader that closes the pipe ends the program quietly, whatever the caller ignored.
    std::signal(SIGPIPE, SIG_DFL);
    Glib::init();
    Store store;
    wireStore(store);
    int status = run(store, argc, argv);
    try {
        store.shutdown();
    } catch (const PrintMsgError&) {
        status = kFailed;
    }
    return status;
}
