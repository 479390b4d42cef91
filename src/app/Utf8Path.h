// Paths from the command line as UTF-8 texts.
#pragma once

#include <string>

namespace trelis {

/// The argument converted from the file-name encoding. Bytes that do not convert stay as they are:
/// the file can be opened all the same.
std::string utf8Path(const char* argument);

}  // namespace trelis
