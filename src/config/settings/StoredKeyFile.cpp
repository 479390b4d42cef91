#include "config/settings/StoredKeyFile.h"

#include <fcntl.h>
#include <glibmm/error.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "app/diagnostics/AtomicFile.h"
#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDamagedSuffix = ".damaged";

}  // namespace

void StoredKeyFile::ensureExists() const {
    // Never truncating: a file that may be written but not read keeps its content.
    int descriptor = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        descriptor = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kPrivateMode);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), path_);
    ::close(descriptor);
}

bool StoredKeyFile::load() {
    keys = Glib::KeyFile();
    damaged_ = false;
    std::error_code error;
    const fs::file_status status = fs::status(path_, error);
    if (status.type() == fs::file_type::not_found) return true;
    std::string cause = "not a regular file";
    if (fs::is_regular_file(status)) {
        try {
            keys.load_from_file(path_);
            return true;
        } catch (const Glib::Error& failure) {
            cause = toValidUtf8(failure.what().raw());
        }
    }
    keys = Glib::KeyFile();
    damaged_ = true;
    report(Level::kWarning, format("Couldn't read %s: %s", path_.c_str(), cause.c_str()));
    return false;
}

void StoredKeyFile::save(mode_t mode) {
    const std::string content = keys.to_data();
    const std::string target = followLinks(path_);
    const std::string aside = target + kDamagedSuffix;
    const bool keepAside = damaged_ && fs::is_regular_file(target);
    if (keepAside) fs::rename(target, aside);
    try {
        replaceFile(path_, content, mode);
    } catch (const std::system_error&) {
        std::error_code ignored;
        if (keepAside) fs::rename(aside, target, ignored);
        throw;
    }
    if (keepAside)
        report(Level::kInfo, format("The damaged file is kept as %s", toValidUtf8(aside).c_str()));
    damaged_ = false;
}

}  // namespace trelis
