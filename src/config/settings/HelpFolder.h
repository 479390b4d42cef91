// Where the help pages lie.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace trelis {

/// The folder of the package's help pages.
inline constexpr std::string_view kInstalledHelp = "/usr/share/doc/sigmira/help";

/// The folder of the help pages for a program in `program`: `installed` if it holds them, else
/// share/doc/sigmira/help of the prefix that the program was installed to, else share/help of the
/// source tree in whose build folder it lies. `installed` if there is none. Never throws.
std::filesystem::path findHelpFolder(const std::filesystem::path& installed,
                                     const std::filesystem::path& program);

/// The page of a topic, such as "method_average", for the running program.
std::string helpPage(std::string_view topic);

}  // namespace trelis
