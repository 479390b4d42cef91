// Files of a test: a folder of its own, what files hold, and a disk that is full.
#pragma once

#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace trelis::test {

namespace fs = std::filesystem;

/// Removed at the end with all that is in it.
class Folder {
  public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "sigmiraXXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
        path_ = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(path_); }

    [[nodiscard]] std::string operator/(const fs::path& name) const { return path_ / name; }
    [[nodiscard]] const fs::path& path() const { return path_; }
    /// Writes a file, and the folders above it.
    std::string write(const fs::path& name, std::string_view content) const {
        fs::create_directories((path_ / name).parent_path());
        std::ofstream(path_ / name, std::ios::binary) << content;
        return path_ / name;
    }
    [[nodiscard]] auto entries() const {
        return std::distance(fs::directory_iterator(path_), fs::directory_iterator{});
    }

  private:
    fs::path path_;
};

inline std::string contentOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

inline unsigned modeOf(const fs::path& path) {
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

}  // namespace trelis::test
