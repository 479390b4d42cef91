// Linking of the running copies of this program: they show the same interval and the same rulers.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "app/store/Notifier.h"
#include "config/link/LinkRecord.h"
#include "config/link/LinkSegment.h"

namespace trelis {

/// Keeps this copy's view and cursors and exchanges them with the other copies. Times in ms.
///
/// The main thread makes and destroys it and calls it; addOffset may come from any thread. Nothing
/// here waits for the lock between the copies but the thread of this object, so a window stays
/// usable though another copy died with the lock. Until an offset is known, that is, a log is
/// loaded, nothing is read or written.
class IPC {
  public:
    struct View {
        std::uint64_t start = 0;
        std::uint64_t end = 0;
    };

    /// Joins the other copies of the file at `path`, the running program's own if empty, but tells
    /// and hears nothing before enable(). ERR and PrintMsgError if the system refuses.
    explicit IPC(const std::string& path = {});
    IPC(const IPC&) = delete;
    IPC& operator=(const IPC&) = delete;
    virtual ~IPC();

    /// Starts the exchange and writes this copy's view and cursors.
    void enable();
    void disable();
    [[nodiscard]] bool isEnabled() const { return linkEnabled_; }

    /// From `time` on, the log's clock has this offset. Any thread.
    void addOffset(std::int64_t time, std::int64_t offset);
    [[nodiscard]] std::int64_t offsetAt(std::int64_t time) const;

    /// The user moved the rulers; negative for an unset one.
    void setCursors(std::int64_t first, std::int64_t second);
    /// In this copy's own time, -1 while unset.
    [[nodiscard]] std::int64_t firstCursor() const;
    [[nodiscard]] std::int64_t secondCursor() const;

    /// The user moved the view. Ignored if it is no interval or no offset is known.
    void viewChanged(std::uint64_t start, std::uint64_t end);
    /// The view in this copy's own time; empty as long as no copy has told one.
    [[nodiscard]] std::optional<View> view() const;

    /// Another copy moved its view or its cursors.
    Notifier changed;

  private:
    void run();
    /// False if the lock between the copies could not be had.
    bool exchangeOnce();
    /// Notes for the thread what has to be written. The caller holds mutex_.
    void markPending(bool view, bool cursors);
    [[nodiscard]] std::int64_t ownCursor(std::int64_t absolute, std::int64_t offsetFree) const;

    mutable std::mutex mutex_;       // guards local_, pending_, offsets_ and stopThread_
    std::condition_variable woken_;  // by pending_ and stopThread_
    LinkRecord local_;
    LinkSegment::Changes pending_;
    TimeOffsets offsets_;
    bool stopThread_ = false;
    std::atomic<bool> linkEnabled_ = false;

    LinkSegment segment_;  // the thread's own once it runs
    /// Owner: this object; the destructor stops and joins it. Runs run(): an exchange with the
    /// other copies every 10 ms, and at once when something is to be written.
    std::thread thread_;
};

}  // namespace trelis
