// A key file on the disk that is read as a whole and replaced as a whole.
#pragma once

#include <glibmm/keyfile.h>
#include <sys/types.h>

#include <string>

namespace trelis {

/// What cannot be read as a key file counts as empty and is never lost: the next save keeps it
/// beside the new file, with ".damaged" behind its name.
class StoredKeyFile {
  public:
    explicit StoredKeyFile(std::string path) : path_(std::move(path)) {}

    /// Makes an empty private file if none can be opened; std::system_error if that fails too.
    void ensureExists() const;
    /// Reads the file. A missing one is empty; one that cannot be read is told at WRN, and false
    /// comes back.
    bool load();
    /// Replaces the file. std::system_error, and the old file is whole, if that fails.
    void save(mode_t mode);

    [[nodiscard]] const std::string& path() const { return path_; }

    Glib::KeyFile keys;

  private:
    std::string path_;
    bool damaged_ = false;  ///< the file holds something that `keys` does not
};

}  // namespace trelis
