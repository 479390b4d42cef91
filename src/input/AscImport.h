// Reads ASC traces as an input of their own.
#pragma once

#include <optional>
#include <string_view>

#include "model/Frame.h"

namespace trelis {

class Store;

/// The input path of ASC traces: takes the frames of Store::logFiles, in order, into the system.
/// Runs on the Store's worker. A file that cannot be opened is told at WRN and ends the import and
/// the worker; lines that are no received data frames are passed over.
void importAscFiles(Store& store);

/// A received data frame in a line of a trace; the time stamp in ms, the channel as an interface
/// number. Empty for any other line. Pure.
std::optional<Frame> parseAscLine(std::string_view line);

}  // namespace trelis
