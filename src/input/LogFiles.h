// The set of recording files: which are valid, in which order, and how they are read into the
// model.
#pragma once

#include <cstdint>
#include <string>

namespace trelis {

class Store;

/// Adds a recording in order of start time. INF and nothing else if it is none. With CSV or ASC
/// input the path is taken unseen. Main thread.
void addLogFile(Store& store, const std::string& path);

/// Start time of a recording in ms since the epoch (UTC), -1 for a file that is none. Notes a
/// logger with several interfaces in the Store.
std::int64_t readLogStartTime(Store& store, const std::string& path);

void clearLogFiles(Store& store);

/// The input path of recordings: reads all files and fills the wanted signals, or writes their
/// frames as text in a dump. Runs on the Store's worker, or on the main thread without a window.
void parseLogs(Store& store);

}  // namespace trelis
