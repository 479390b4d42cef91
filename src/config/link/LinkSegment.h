// The shared memory of the running copies of one program file, and the lock around it.
#pragma once

#include <string>

#include "config/link/LinkRecord.h"

namespace trelis {

/// A System V segment of 64 bytes and a set of two semaphores, both keyed on the path of the
/// program's file (POSIX: shmget, semget; ftok with the bytes `N` and `O`). Any copy may have made
/// them, and any user may have written into them: sizes are checked before use and the content is
/// copied before it is looked at. They are never removed: the next copy joins them.
///
/// One thread at a time.
class LinkSegment {
  public:
    /// Joins or makes the segment for this path; the running program's own file if it is empty.
    /// ERR and PrintMsgError if the system refuses.
    explicit LinkSegment(const std::string& path = {});
    LinkSegment(const LinkSegment&) = delete;
    LinkSegment& operator=(const LinkSegment&) = delete;
    /// Detaches.
    ~LinkSegment();

    /// What exchange has to pass on.
    struct Changes {
        bool view = false;
        bool cursors = false;
    };
    enum class Outcome { kNotLocked, kSame, kDiffers };

    /// Under the lock: writes the changed parts of `local` to the shared record, or all of it to
    /// one that nobody has written yet, then takes over what others have written. kDiffers: `local`
    /// has news from another copy. kNotLocked: nothing was done, since the lock was not free for a
    /// second; the caller tries again later. A copy that died with the lock leaves it so for good.
    /// ERR and PrintMsgError if it cannot be released.
    Outcome exchange(LinkRecord& local, Changes changes);

    /// Takes the lock and keeps it, as a copy does that is killed at the wrong moment.
    [[nodiscard]] bool lock();
    void unlock();

  private:
    [[nodiscard]] LinkRecord load() const;
    void store(const LinkRecord& record);
    void openSegment(const std::string& path);
    void openSemaphores(const std::string& path);

    int shmId_ = -1;
    int semId_ = -1;
    void* shared_ = nullptr;
};

}  // namespace trelis
