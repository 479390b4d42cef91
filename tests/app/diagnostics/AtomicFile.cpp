#include "app/diagnostics/AtomicFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace trelis {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

unsigned modeOf(const fs::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

/// While it lives no file of this process grows beyond some bytes: as good as a full disk.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit limit{bytes, old_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit old_{};
    void (*handler_)(int);
};

class AtomicFileTest : public ::testing::Test {
  protected:
    AtomicFileTest() : directory(fs::temp_directory_path() / fs::path("atomicXXXXXX")) {
        std::string name = directory.string();
        directory = ::mkdtemp(name.data());
    }
    ~AtomicFileTest() override { fs::remove_all(directory); }

    [[nodiscard]] fs::path write(const char* name, std::string_view content) const {
        std::ofstream(directory / name, std::ios::binary) << content;
        return directory / name;
    }
    [[nodiscard]] auto entries() const {
        return std::distance(fs::directory_iterator(directory), fs::directory_iterator{});
    }

    fs::path directory;
};

TEST_F(AtomicFileTest, replacesContentAndSetsTheMode) {
    const fs::path path = write("a", "old");
    ::chmod(path.c_str(), 0640);
    replaceFile(path, "new");
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_EQ(modeOf(path), 0640U);
    replaceFile(path, "", kPrivateMode);
    EXPECT_EQ(contentOf(path), "");
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(entries(), 1);
}

TEST_F(AtomicFileTest, linksStayLinks) {
    const fs::path target = write("target", "old");
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
    const fs::path path = write("a", "old content");
    {
        const FullDisk full(4096);
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
    EXPECT_EQ(entries(), 1);

    fs::create_directory(directory / "folder");
    EXPECT_THROW(replaceFile(directory / "folder", "x"), std::system_error);
    EXPECT_TRUE(fs::is_directory(directory / "folder"));
    EXPECT_THROW(replaceFile(directory / "missing" / "a", "x"), std::system_error);
    EXPECT_EQ(entries(), 2);
}

TEST_F(AtomicFileTest, whatIsNoRegularFileIsWrittenTo) {
    replaceFile("/dev/null", "x");
    EXPECT_FALSE(fs::is_regular_file("/dev/null"));
    EXPECT_THROW(replaceFile("/dev/full", "x"), std::system_error);
}

}  // namespace
}  // namespace trelis
