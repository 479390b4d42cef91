#include "app/diagnostics/AtomicFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "support/Files.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::modeOf;

class AtomicFileTest : public ::testing::Test {
  protected:
    test::Folder directory;
};

TEST_F(AtomicFileTest, replacesContentAndSetsTheMode) {
    const fs::path path = directory.write("a", "old");
    ::chmod(path.c_str(), 0640);
    replaceFile(path, "new");
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_EQ(modeOf(path), 0640U);
    replaceFile(path, "", kPrivateMode);
    EXPECT_EQ(contentOf(path), "");
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(directory.entries(), 1);
}

TEST_F(AtomicFileTest, linksStayLinks) {
    const fs::path target = directory.write("target", "old");
    fs::create_symlink("target", directory / "link");
    fs::create_symlink("link", directory / "second");
    replaceFile(directory / "second", "new");
    EXPECT_TRUE(fs::is_symlink(directory / "second"));
    EXPECT_EQ(contentOf(target), "new");

    fs::create_symlink("later", directory / "dangling");
    replaceFile(directory / "dangling", "made");
    EXPECT_EQ(contentOf(directory / "later"), "made");

    fs::create_symlink("circle", directory / "circle");
    EXPECT_THROW(replaceFile(directory / "circle", "x"), std::system_error);
}

TEST_F(AtomicFileTest, failuresLeaveTheOldFileWholeAndNothingElse) {
    const fs::path path = directory.write("a", "old content");
    {
        const test::FullDisk full(4096);
        try {
            replaceFile(path, std::string(100000, 'x'));
            ADD_FAILURE() << "no failure";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), EFBIG);
        }
    }
    EXPECT_EQ(contentOf(path), "old content");
    {
        AtomicFile abandoned(path);
        abandoned.write("half");
    }
    EXPECT_EQ(contentOf(path), "old content");
    EXPECT_EQ(directory.entries(), 1);

    fs::create_directory(directory / "folder");
    EXPECT_THROW(replaceFile(directory / "folder", "x"), std::system_error);
    EXPECT_TRUE(fs::is_directory(directory / "folder"));
    EXPECT_THROW(replaceFile(directory / "missing/a", "x"), std::system_error);
    EXPECT_EQ(directory.entries(), 2);
}

TEST_F(AtomicFileTest, whatIsNoRegularFileIsWrittenTo) {
    replaceFile("/dev/null", "x");
    EXPECT_FALSE(fs::is_regular_file("/dev/null"));
    EXPECT_THROW(replaceFile("/dev/full", "x"), std::system_error);
}

}  // namespace
}  // namespace trelis
