#include "app/diagnostics/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace trelis {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kModeBits = 07777;
constexpr mode_t kNewFileMode = 0666;  // less the process's mask

[[noreturn]] void fail(int error, const std::string& path) {
    throw std::system_error(error, std::generic_category(), path);
}

// The rename is on the disk once the directory is. Not all file systems know how to; the content is
// safe in any case.
void syncDirectory(const fs::path& directory) {
    const char* name = directory.empty() ? "." : directory.c_str();
    const int descriptor = ::open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

// A run by the superuser must not take a file from its owner; others cannot give one away.
void adopt(int descriptor, const struct stat& old) {
    if (old.st_uid == ::geteuid() && old.st_gid == ::getegid()) return;
    if (::fchown(descriptor, old.st_uid, old.st_gid) != 0 && ::geteuid() == 0)
        throw std::system_error(errno, std::generic_category());
}

}  // namespace

std::string followLinks(const std::string& path) {
    constexpr int kMostLinks = 40;  // as the kernel's own limit
    fs::path current = path;
    for (int links = 0; links < kMostLinks; ++links) {
        std::error_code error;
        const fs::path target = fs::read_symlink(current, error);
        if (error) return current.string();
        current = target.is_absolute() ? target : current.parent_path() / target;
    }
    fail(ELOOP, path);
}

AtomicFile::AtomicFile(const std::string& path, mode_t mode)
    : path_(path), target_(followLinks(path)) {
    struct stat old {};
    const bool exists = ::stat(target_.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) fail(errno, path_);
    if (exists && S_ISDIR(old.st_mode)) fail(EISDIR, path_);
    // A rename would pass over the protection of the file itself.
    if (exists && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail(errno, path_);
    if (exists && !S_ISREG(old.st_mode)) {
        descriptor_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) fail(errno, path_);
        return;
    }
    createBeside(mode == kKeepMode ? kNewFileMode : mode);
    try {
        if (exists) adopt(descriptor_, old);
        if (mode == kKeepMode && !exists) return;
        const mode_t wanted = mode == kKeepMode ? old.st_mode & kModeBits : mode;
        if (::fchmod(descriptor_, wanted) != 0) fail(errno, path_);
    } catch (const std::system_error&) {
        ::close(descriptor_);
        ::unlink(temporaryPath_.c_str());
        throw;
    }
}

AtomicFile::~AtomicFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (!temporaryPath_.empty()) ::unlink(temporaryPath_.c_str());
}

void AtomicFile::createBeside(mode_t mode) {
    static std::atomic<unsigned> counter = 0;
    const fs::path directory = fs::path(target_).parent_path();
    do {
        temporaryPath_ = directory / (".sigmira-" + std::to_string(::getpid()) + "-" +
                                      std::to_string(counter++) + ".tmp");
        descriptor_ = ::open(temporaryPath_.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
    } while (descriptor_ < 0 && (errno == EEXIST || errno == EINTR));
    if (descriptor_ < 0) fail(errno, path_);
}

void AtomicFile::write(std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor_, content.data(), content.size());
        if (written > 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            fail(written == 0 ? EIO : errno, path_);
    }
}

void AtomicFile::commit() {
    const bool beside = !temporaryPath_.empty();
    if (beside && ::fsync(descriptor_) != 0) fail(errno, path_);
    const int descriptor = descriptor_;
    descriptor_ = -1;
    // Some file systems tell only now that the disk is full.
    if (::close(descriptor) != 0) fail(errno, path_);
    if (!beside) return;
    if (::rename(temporaryPath_.c_str(), target_.c_str()) != 0) fail(errno, path_);
    temporaryPath_.clear();
    syncDirectory(fs::path(target_).parent_path());
}

void replaceFile(const std::string& path, std::string_view content, mode_t mode) {
    AtomicFile file(path, mode);
    file.write(content);
    file.commit();
}

}  // namespace trelis
