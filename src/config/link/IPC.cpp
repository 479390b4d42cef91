#include "config/link/IPC.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>

#include "app/diagnostics/Exceptions.h"

namespace trelis {
namespace {

constexpr std::chrono::milliseconds kPollInterval{10};
constexpr std::int64_t kUnset = -1;

}  // namespace

IPC::IPC(const std::string& path) : segment_(path), thread_([this] { run(); }) {
    pthread_setname_np(thread_.native_handle(), "IPC");
}

IPC::~IPC() {
    {
        const std::lock_guard lock(mutex_);
        stopThread_ = true;
        woken_.notify_all();
    }
    thread_.join();
}

void IPC::markPending(bool view, bool cursors) {
    if (!linkEnabled_ || offsets_.empty()) return;
    pending_.view |= view;
    pending_.cursors |= cursors;
    woken_.notify_all();
}

void IPC::enable() {
    const std::lock_guard lock(mutex_);
    linkEnabled_ = true;
    markPending(local_.viewEnd > local_.viewStart, true);
}

void IPC::disable() {
    const std::lock_guard lock(mutex_);
    linkEnabled_ = false;
    pending_ = {};
}

void IPC::addOffset(std::int64_t time, std::int64_t offset) {
    const std::lock_guard lock(mutex_);
    offsets_.add(time, offset);
}

std::int64_t IPC::offsetAt(std::int64_t time) const {
    const std::lock_guard lock(mutex_);
    return offsets_.at(time);
}

void IPC::setCursors(std::int64_t first, std::int64_t second) {
    const std::lock_guard lock(mutex_);
    local_.firstCursor = first;
    local_.firstCursorFree = offsets_.withoutOffset(first);
    local_.secondCursor = second;
    local_.secondCursorFree = offsets_.withoutOffset(second);
    markPending(false, true);
}

std::int64_t IPC::ownCursor(std::int64_t absolute, std::int64_t offsetFree) const {
    if (absolute < 0) return kUnset;
    return std::max(kUnset, offsets_.ownTime(absolute, offsetFree));
}

std::int64_t IPC::firstCursor() const {
    const std::lock_guard lock(mutex_);
    return ownCursor(local_.firstCursor, local_.firstCursorFree);
}

std::int64_t IPC::secondCursor() const {
    const std::lock_guard lock(mutex_);
    return ownCursor(local_.secondCursor, local_.secondCursorFree);
}

void IPC::viewChanged(std::uint64_t start, std::uint64_t end) {
    const std::lock_guard lock(mutex_);
    if (end <= start || offsets_.empty()) return;
    local_.viewStart = static_cast<std::int64_t>(start);
    local_.viewStartFree = offsets_.withoutOffset(local_.viewStart);
    local_.viewEnd = static_cast<std::int64_t>(end);
    local_.viewEndFree = offsets_.withoutOffset(local_.viewEnd);
    markPending(true, false);
}

std::optional<IPC::View> IPC::view() const {
    const std::lock_guard lock(mutex_);
    const auto start = offsets_.ownTime(local_.viewStart, local_.viewStartFree);
    const auto end = offsets_.ownTime(local_.viewEnd, local_.viewEndFree);
    if (local_.viewEnd <= local_.viewStart || start < 0 || end <= start) return std::nullopt;
    return View{static_cast<std::uint64_t>(start), static_cast<std::uint64_t>(end)};
}

// The lock between the copies may take a second to fail, so mutex_ is not held meanwhile. What the
// main thread changes in that time is pending again and wins over what was read:
//
//      this thread                     main thread
//      takes pending_ and a copy of local_
//                                      setCursors: local_, pending_.cursors
//      exchange() on the copy
//      takes the copy as local_, but
//      leaves the cursors alone
//      next round writes them
bool IPC::exchangeOnce() {
    LinkRecord record;
    LinkSegment::Changes changes;
    {
        const std::lock_guard lock(mutex_);
        if (!linkEnabled_ || offsets_.empty()) return true;
        record = local_;
        changes = std::exchange(pending_, {});
    }
    const auto outcome = segment_.exchange(record, changes);
    bool news = false;
    {
        const std::lock_guard lock(mutex_);
        if (outcome == LinkSegment::Outcome::kNotLocked) {
            pending_.view |= changes.view;
            pending_.cursors |= changes.cursors;
        } else if (outcome == LinkSegment::Outcome::kDiffers) {
            const LinkRecord before = local_;
            if (!pending_.view) local_.copyViewFrom(record);
            if (!pending_.cursors) local_.copyCursorsFrom(record);
            news = local_ != before;
        }
    }
    if (news) changed.emit();
    return outcome != LinkSegment::Outcome::kNotLocked;
}

void IPC::run() {
    std::unique_lock lock(mutex_);
    while (!stopThread_) {
        lock.unlock();
        bool reached = false;
        try {
            reached = exchangeOnce();
        } catch (const PrintMsgError&) {
            // The message is out. The lock is of no use any more, so this copy goes on alone.
            linkEnabled_ = false;
            return;
        }
        lock.lock();
        // What is pending wakes the thread at once, unless it waits for a lock that is stuck.
        woken_.wait_for(lock, kPollInterval, [&] {
            return stopThread_ || (reached && (pending_.view || pending_.cursors));
        });
    }
}

}  // namespace trelis
