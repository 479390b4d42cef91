// The texts of -h and --help.
#pragma once

#include <string>
#include <string_view>

namespace trelis {

/// The usage text, with the program's name as it was called.
std::string usageText(std::string_view programName);

/// What the long options do; --help prints it behind the usage text.
std::string longOptionsText();

}  // namespace trelis
