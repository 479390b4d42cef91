// What the targets that read files share.
#pragma once

#include <glibmm/init.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/diagnostics/MessageLog.h"

namespace trelis::fuzz {

/// A file in memory with a path of its own.
class FuzzFile {
  public:
    FuzzFile(const std::uint8_t* data, std::size_t size)
        : descriptor_(::memfd_create("fuzz", MFD_CLOEXEC)) {
        while (size > 0) {
            const ssize_t written = ::write(descriptor_, data, size);
            if (written <= 0) std::abort();
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;
    ~FuzzFile() { ::close(descriptor_); }

    [[nodiscard]] std::string path() const {
        return "/proc/self/fd/" + std::to_string(descriptor_);
    }

  private:
    int descriptor_;
};

/// Makes the toolkit ready, once, and forgets the messages of the last input. They are not written
/// to standard error, which takes most of the time otherwise; findings of the sanitizers go
/// to the descriptor itself.
inline void beginInput() {
    static const bool ready = [] {
        Glib::init();
        std::FILE* const nowhere = std::fopen("/dev/null", "w");
        if (nowhere != nullptr) stderr = nowhere;
        return true;
    }();
    static_cast<void>(ready);
    static_cast<void>(MessageLog::instance().takeMarkup());
}

}  // namespace trelis::fuzz
