// The text of -e: how a definition file is written.
#pragma once

#include <string>

namespace trelis {

/// Help for definition files with all keys of all methods and an example of each, coloured for a
/// terminal.
std::string vsdHelpText();

}  // namespace trelis
