#include "config/settings/HelpFolder.h"

#include <system_error>

namespace trelis {
namespace {

namespace fs = std::filesystem;

// <source>/build/<preset>/src/app/sigmira lies five folders deep.
constexpr int kBuildDepth = 5;

bool holdsHelp(const fs::path& folder) {
    std::error_code error;
    return fs::is_regular_file(folder / "sigmira_quick_guide" / "index.html", error);
}

}  // namespace

fs::path findHelpFolder(const fs::path& installed, const fs::path& program) {
    // Without its path there is nothing beside the program but whatever folder it was started in.
    if (holdsHelp(installed) || program.is_relative()) return installed;
    const fs::path prefix = program.parent_path().parent_path();
    if (fs::path own = prefix / "share/doc/sigmira/help"; holdsHelp(own)) return own;
    fs::path folder = program.parent_path();
    for (int level = 0; level < kBuildDepth; ++level, folder = folder.parent_path())
        if (fs::path source = folder / "share/help"; holdsHelp(source)) return source;
    return installed;
}

std::string helpPage(std::string_view topic) {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (findHelpFolder(kInstalledHelp, program) / topic / "index.html").string();
}

}  // namespace trelis
