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
constexpr std::size_t kMostFrame = 64;  // keys, signs and line ends of all lines

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
void addLine(std::string& text, std::string_view key, std::string_view value) {
    text.append(key).append("=");
    text.append(value.substr(0, value.find_first_of("\r\n"))).append("\n");
}

bool write(const std::string& path, const StoredConnection& connection, std::string_view dbcKey) {
    // Nothing moves once the key is in: its text is wiped below and must have no copies.
    std::string text;
    text.reserve(connection.title.size() + connection.server.size() + connection.port.size() +
                 connection.key.size() + connection.vsdFile.size() + connection.dbcFile.size() +
                 kMostFrame);
    addLine(text, "TITLE", connection.title);
    addLine(text, "SERVER", connection.server);
    addLine(text, "PORT", connection.port.empty() ? kDefaultPort : connection.port);
    if (!connection.key.empty()) addLine(text, "KEY", connection.key);
    if (!connection.vsdFile.empty()) addLine(text, "VSD", connection.vsdFile);
    if (!connection.dbcFile.empty()) addLine(text, dbcKey, connection.dbcFile);
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
    std::ifstream file;
    file.rdbuf()->pubsetbuf(nullptr, 0);  // a buffer would keep the key
    file.open(path, std::ios::binary);
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
