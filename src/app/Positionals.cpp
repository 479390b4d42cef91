#include <glibmm/fileutils.h>
#include <glibmm/miscutils.h>

#include <cstdlib>
#include <fstream>
#include <string_view>

#include "app/StartUp.h"
#include "app/Utf8Path.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/LiveFile.h"
#include "input/LogFiles.h"

namespace trelis {
namespace {

constexpr int kScanDepth = 3;

bool endsWithIgnoringCase(std::string_view text, std::string_view lowerSuffix) {
    if (text.size() < lowerSuffix.size()) return false;
    const std::string_view tail = text.substr(text.size() - lowerSuffix.size());
    for (std::size_t i = 0; i < tail.size(); ++i) {
        const char c = tail[i];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lowerSuffix[i])
            return false;
    }
    return true;
}

void scanDirectory(Store& store, const std::string& path, int depth) {
    Glib::Dir directory(path);
    if (depth == 0) {
        report(Level::kWarning, "Log file directory structure to deep, will not parse: " + path);
        return;
    }
    for (const std::string& name : directory) {
        const std::string entry = Glib::build_filename(path, name);
        if (Glib::file_test(entry, Glib::FILE_TEST_IS_DIR))
            scanDirectory(store, entry, depth - 1);
        else if (Glib::file_test(entry, Glib::FILE_TEST_IS_REGULAR))
            addLogFile(store, entry);
    }
}

void resolve(std::string& path, const std::string& directory) {
    if (!path.empty() && !Glib::path_is_absolute(path))
        path = Glib::build_filename(directory, path);
}

void applyConnectionLine(Store& store, StartUp& startUp, const std::string& directory,
                         const std::string& key, const std::string& value) {
    if (key == "SERVER") {
        store.hostName = value;
        store.networkInput = true;
        store.liveMode = true;
    } else if (key == "KEY") {
        store.decryptionKey = value;
    } else if (key == "PORT") {
        store.port = static_cast<std::int32_t>(std::strtol(value.c_str(), nullptr, 10));
    } else if (key == "TITLE") {
        store.title = toValidUtf8(value);
    } else if (key == "DBC" || key == "VSD") {
        (key == "DBC" ? startUp.dbcArgument : startUp.vsdArgument) = value;
        resolve(startUp.vsdArgument, directory);
        resolve(startUp.dbcArgument, directory);
    }
}

void readStoredConnection(Store& store, StartUp& startUp, const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        report(Level::kWarning, "Couldn't open " + path);
        return;
    }
    const std::string directory = Glib::path_get_dirname(path);
    for (std::string line; std::getline(file, line);) {
        const auto equals = line.find('=');
        if (equals == std::string::npos) continue;
        applyConnectionLine(store, startUp, directory, line.substr(0, equals),
                            line.substr(equals + 1));
    }
    Settings::instance().addLiveDirectory(directory);
    saveLiveFile(store);
}

// A definition file or stored connection in the first place ends the walk.
bool takeAsDefinition(Store& store, StartUp& startUp, const std::string& path) {
    if (endsWithIgnoringCase(path, ".tvlive"))
        readStoredConnection(store, startUp, path);
    else if (endsWithIgnoringCase(path, ".vsd"))
        startUp.vsdArgument = path;
    else if (endsWithIgnoringCase(path, ".dbc"))
        startUp.dbcArgument = path;
    else
        return false;
    return true;
}

}  // namespace

void readPositionals(Store& store, StartUp& startUp, int argc, char** argv) {
    bool first = true;
    for (int i = startUp.firstPositional; i < argc; ++i) {
        const std::string path = utf8Path(argv[i]);
        if (first && takeAsDefinition(store, startUp, path)) return;
        if (Glib::file_test(path, Glib::FILE_TEST_IS_DIR)) {
            scanDirectory(store, path, kScanDepth);
        } else if (Glib::file_test(path, Glib::FILE_TEST_IS_REGULAR)) {
            addLogFile(store, path);
        } else {
            report(Level::kInfo, "Argument not a recognzied as a file: " + path);
            continue;
        }
        if (first) Settings::instance().addLogDirectory(Glib::path_get_dirname(path));
        first = false;
    }
}

}  // namespace trelis
