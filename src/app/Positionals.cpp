#include <glibmm/fileutils.h>
#include <glibmm/miscutils.h>

#include <cstdlib>
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

// The folder of a file, such that it is the same one in the next run too.
std::string folderOf(const std::string& path) {
    return Glib::canonicalize_filename(Glib::path_get_dirname(path));
}

// Takes over what the file tells; what it leaves out stays as the options have it.
void applyConnection(Store& store, StartUp& startUp, const std::string& path) {
    auto connection = readStoredConnection(path);
    if (!connection) {
        report(Level::kWarning, "Couldn't open " + path);
        return;
    }
    if (!connection->server.empty()) {
        store.hostName = connection->server;
        store.networkInput = true;
        store.liveMode = true;
    }
    if (!connection->key.empty()) store.decryptionKey = std::move(connection->key);
    if (!connection->port.empty())
        store.port = static_cast<std::int32_t>(std::strtol(connection->port.c_str(), nullptr, 10));
    if (!connection->title.empty()) store.title = connection->title;
    if (!connection->dbcFile.empty() || !connection->vsdFile.empty()) {
        // A relative path of an option counts from the folder of the stored connection, too.
        if (connection->dbcFile.empty()) connection->dbcFile = startUp.dbcArgument;
        if (connection->vsdFile.empty()) connection->vsdFile = startUp.vsdArgument;
        resolvePaths(*connection, path);
        startUp.dbcArgument = connection->dbcFile;
        startUp.vsdArgument = connection->vsdFile;
    }
    Settings::instance().addLiveDirectory(folderOf(path));
    saveLiveFile(store);
}

// A definition file or stored connection in the first place ends the walk.
bool takeAsDefinition(Store& store, StartUp& startUp, const std::string& path) {
    if (endsWithIgnoringCase(path, ".tvlive"))
        applyConnection(store, startUp, path);
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
        if (first) Settings::instance().addLogDirectory(folderOf(path));
        first = false;
    }
}

}  // namespace trelis
