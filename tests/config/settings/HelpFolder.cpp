#include "config/settings/HelpFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace trelis {
namespace {

namespace fs = std::filesystem;

class HelpFolderTest : public ::testing::Test {
  protected:
    HelpFolderTest() {
        std::string name = (fs::temp_directory_path() / "helpXXXXXX").string();
        root = ::mkdtemp(name.data());
    }
    ~HelpFolderTest() override { fs::remove_all(root); }

    fs::path makeHelp(const char* folder) const {
        const fs::path help = root / folder;
        fs::create_directories(help / "sigmira_quick_guide");
        std::ofstream(help / "sigmira_quick_guide/index.html") << "<p>guide";
        return help;
    }

    fs::path root;
};

TEST_F(HelpFolderTest, takesTheInstalledPagesThenTheOnesBesideTheProgram) {
    const fs::path installed = root / "package/help";
    const fs::path built = root / "source/build/release/src/app/sigmira";
    const fs::path moved = root / "prefix/bin/sigmira";

    EXPECT_EQ(findHelpFolder(installed, built), installed) << "nothing anywhere";
    EXPECT_EQ(findHelpFolder(installed, {}), installed) << "unknown program";

    const fs::path source = makeHelp("source/share/help");
    const fs::path own = makeHelp("prefix/share/doc/sigmira/help");
    EXPECT_EQ(findHelpFolder(installed, built), source);
    EXPECT_EQ(findHelpFolder(installed, moved), own);

    makeHelp("package/help");
    EXPECT_EQ(findHelpFolder(installed, built), installed);
    EXPECT_EQ(findHelpFolder(installed, moved), installed);
}

}  // namespace
}  // namespace trelis
