// Loads definitions as ever and lists what the readers passed over.
#pragma once

#include <iosfwd>
#include <string>

namespace trelis {

class Store;

/// Reads the DBC file (as interface 0) or, if its path is empty, the definition file into the
/// Store, and writes a line `<file>:<line>: <what>` for everything that was passed over, with what
/// tolerant reading would do about it, and a summary line. When the load ends early, the rest is
/// read tolerantly into a model of its own, so that one fault does not hide the others. Returns the
/// exit status: 0 if nothing was passed over, else 1.
int checkDefinitions(Store& store, const std::string& dbcPath, const std::string& vsdPath,
                     std::ostream& output);

}  // namespace trelis
