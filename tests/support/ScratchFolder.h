// A folder for the files of one test.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace trelis::test {

/// Removed with its content.
class ScratchFolder {
  public:
    ScratchFolder() {
        std::string name = std::filesystem::temp_directory_path() / "sigmiraXXXXXX";
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
        path_ = name;
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() { std::filesystem::remove_all(path_); }

    [[nodiscard]] std::string operator/(const std::string& name) const {
        return path_ + "/" + name;
    }
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(*this / name, std::ios::binary) << bytes;
        return *this / name;
    }

  private:
    std::string path_;
};

}  // namespace trelis::test
