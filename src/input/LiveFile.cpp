#include "input/LiveFile.h"

#include <glibmm/miscutils.h>
#include <string.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>

#include "app/diagnostics/AtomicFile.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"

namespace trelis {
namespace {

constexpr std::size_t kLongestFile = 64 * 1024;
constexpr const char* kDefaultPort = "777";

struct Entry {
    const char* key;
    std::string StoredConnection::*value;
};

constexpr std::array<Entry, 6> kEntries = {{
    {"TITLE", &StoredConnection::title},
    {"SERVER", &StoredConnection::server},
    {"PORT", &StoredConnection::port},
    {"KEY", &StoredConnection::key},
    {"VSD", &StoredConnection::vsdFile},
    {"DBC", &StoredConnection::dbcFile},
}};

void readLine(StoredConnection& connection, std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return;
    for (const Entry& entry : kEntries)
        if (line.substr(0, equals) == entry.key)
            connection.*entry.value = toValidUtf8(line.substr(equals + 1));
}

// A line break in a value would make two lines of it.
std::string line(std::string_view key, std::string_view value) {
    std::string text(key);
    text.append("=").append(value.substr(0, value.find_first_of("\r\n"))).append("\n");
    return text;
}

bool write(const std::string& path, const StoredConnection& connection, std::string_view dbcKey) {
    std::string text = line("TITLE", connection.title) + line("SERVER", connection.server) +
                       line("PORT", connection.port.empty() ? kDefaultPort : connection.port);
    if (!connection.key.empty()) text += line("KEY", connection.key);
    if (!connection.vsdFile.empty()) text += line("VSD", connection.vsdFile);
    if (!connection.dbcFile.empty()) text += line(dbcKey, connection.dbcFile);
    bool written = true;
    try {
        replaceFile(path, text, kPrivateMode);
    } catch (const std::system_error&) {
        report(Level::kWarning, "Couldn't create " + path);
        written = false;
    }
    explicit_bzero(text.data(), text.size());
    return written;
}

}  // namespace

std::optional<StoredConnection> readStoredConnection(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(kLongestFile, '\0');
    if (!file || (!file.read(text.data(), static_cast<std::streamsize>(text.size())) && file.bad()))
        return std::nullopt;
    text.resize(static_cast<std::size_t>(file.gcount()));
    StoredConnection connection;
    for (std::string_view rest = text; !rest.empty();) {
        const auto end = std::min(rest.find('\n'), rest.size());
        readLine(connection, rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    explicit_bzero(text.data(), text.size());
    return connection;
}

void resolvePaths(StoredConnection& connection, const std::string& path) {
    const std::string folder = Glib::path_get_dirname(path);
    for (std::string* file : {&connection.vsdFile, &connection.dbcFile})
        if (!file->empty() && !Glib::path_is_absolute(*file))
            *file = Glib::build_filename(folder, *file);
}

bool writeStoredConnection(const std::string& path, const StoredConnection& connection) {
    return write(path, connection, "DBC");
}

void saveLiveFile(const Store& store) {
    StoredConnection connection;
    connection.title = store.title;
    connection.server = store.hostName;
    connection.port = std::to_string(store.port);
    connection.key = store.decryptionKey;
    const std::string dbFile = Settings::instance().getDbFile();
    const std::string vsdFile = Settings::instance().getVsdFile();
    if (dbFile != kNoFile)
        connection.dbcFile = dbFile;
    else if (vsdFile != kNoFile)
        connection.vsdFile = vsdFile;
    // The doubled sign is what readers of this file have always met.
    write(store.liveFilePath, connection, "DBC=");
    explicit_bzero(connection.key.data(), connection.key.size());
}

}  // namespace trelis
