// Writing a user's file so that a failure at any moment leaves the old file whole.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace trelis {

/// As a mode: that of the file that is replaced, or that of any new file.
inline constexpr mode_t kKeepMode = ~mode_t{0};
/// Files that may hold keys or paths which concern nobody else.
inline constexpr mode_t kPrivateMode = 0600;

/// A file that is written beside its place and takes it at the end, in one step: whoever opens the
/// path sees the old content or the new one, whole. A symbolic link stays a link, its target is
/// replaced; what is no regular file, such as a pipe, is written to as it stands. Destroying the
/// object without commit leaves the old file and nothing else. One thread at a time; all failures
/// are std::system_error whose code tells the cause.
class AtomicFile {
  public:
    explicit AtomicFile(const std::string& path, mode_t mode = kKeepMode);
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    /// Writes at once: the caller gathers small pieces.
    void write(std::string_view content);
    /// Brings the content to the disk and the file to its place. Nothing may be written any more.
    void commit();

  private:
    void createBeside(mode_t mode);

    std::string path_;           // as the caller named it, for messages
    std::string target_;         // behind all links
    std::string temporaryPath_;  // empty: nothing to remove
    int descriptor_ = -1;
};

/// Gives the file this content through an AtomicFile.
void replaceFile(const std::string& path, std::string_view content, mode_t mode = kKeepMode);

/// The path behind all symbolic links at the end of `path`, whether it exists or not.
/// std::system_error if the links lead in a circle.
std::string followLinks(const std::string& path);

}  // namespace trelis
