// Live connections as small text files of `KEY=value` lines: those that the user stores (.tvlive),
// and the one that remembers the last connection (Store::liveFilePath).
#pragma once

#include <optional>
#include <string>

namespace trelis {

class Store;

struct StoredConnection {
    std::string title;
    std::string server;  ///< host name or IPv4 address
    std::string port;    ///< decimal; empty stands for 777
    std::string key;     ///< in clear; empty: not encrypted
    std::string vsdFile;
    std::string dbcFile;
};

/// Reads such a file; nothing if it cannot be read. Unknown lines are passed over. Main thread.
std::optional<StoredConnection> readStoredConnection(const std::string& path);

/// Resolves paths of definition files that are not absolute against the folder of `path`.
void resolvePaths(StoredConnection& connection, const std::string& path);

/// Replaces the file, which only its owner may read. A failure is told at WRN.
bool writeStoredConnection(const std::string& path, const StoredConnection& connection);

/// Remembers the Store's connection with the definition files of the settings. A failure is told
/// at WRN. Main thread.
void saveLiveFile(const Store& store);

}  // namespace trelis
