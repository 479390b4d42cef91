#include "config/settings/HelpFolder.h"

#include <gtest/gtest.h>

#include "support/Files.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;

TEST(HelpFolder, takesTheInstalledPagesThenTheOnesBesideTheProgram) {
    const test::Folder root;
    const auto makeHelp = [&](const char* folder) {
        const fs::path help = root / folder;
        static_cast<void>(root.write(help / "sigmira_quick_guide/index.html", "<p>guide"));
        return help;
    };
    const fs::path installed = root / "package/help";
    const fs::path built = root / "source/build/release/src/app/sigmira";
    const fs::path moved = root / "prefix/bin/sigmira";

    EXPECT_EQ(findHelpFolder(installed, built), installed) << "nothing anywhere";
    const fs::path source = makeHelp("source/share/help");
    const fs::path own = makeHelp("prefix/share/doc/sigmira/help");
    EXPECT_EQ(findHelpFolder(installed, built), source);
    EXPECT_EQ(findHelpFolder(installed, moved), own);
    fs::current_path(root / "source");
    EXPECT_EQ(findHelpFolder(installed, {}), installed) << "unknown program";
    fs::current_path("/");

    makeHelp("package/help");
    EXPECT_EQ(findHelpFolder(installed, built), installed);
    EXPECT_EQ(findHelpFolder(installed, moved), installed);
}

}  // namespace
}  // namespace trelis
