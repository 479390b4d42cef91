// What the command line asked for.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace trelis {

class Store;

/// Values of the command line that are not fields of the Store.
struct StartUp {
    std::string dbcArgument;  ///< path from -d or a first positional .dbc
    std::string vsdArgument;  ///< path from -f, a first positional .vsd, or a stored connection
    std::vector<std::string> signalArguments;  ///< patterns of -s in the order given
    bool printHeaders = true;                  ///< the printing mode writes a row of heads
    bool listOnly = false;                     ///< -l
    bool checkOnly = false;                    ///< --check
    bool tolerant = false;                     ///< --tolerant
    bool showProgress = false;                 ///< --progress
    bool link = false;                         ///< -g
    int firstPositional = 0;                   ///< index of the first positional argument
};

/// Reads the options into `startUp` and the Store. An exit status, if the process is to end now.
std::optional<int> readOptions(Store& store, StartUp& startUp, int argc, char** argv);

/// Sorts the positional arguments into recordings, directories, definition files and stored
/// connections. Glib::FileError for a directory that cannot be read.
void readPositionals(Store& store, StartUp& startUp, int argc, char** argv);

/// Settles which definition files are in force and loads them.
void loadDefinitions(Store& store, const StartUp& startUp);

/// Selects the signals that the patterns name.
void selectSignals(Store& store, const std::vector<std::string>& patterns);

}  // namespace trelis
