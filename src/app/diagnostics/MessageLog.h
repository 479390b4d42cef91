// The process-wide queue of messages that the window has not shown yet.
#pragma once

#include <list>
#include <mutex>
#include <string>
#include <string_view>

namespace trelis {

struct MessageLogEntry {
    int level = 0;     ///< 0 INF, 1 WRN, 2 ERR
    std::string text;  ///< without colour codes and without the level word
};

/// Any thread may add, pop and ask; showing is the main thread's business (see setPresenter).
class MessageLog {
  public:
    /// What shows the collected markup of showAll in a dialog. `parentWindow` is the toolkit's
    /// window or null; the engine itself links no toolkit.
    using Presenter = void (*)(void* parentWindow, const std::string& markup);

    static constexpr std::size_t kMostEntries = 1000;

    static MessageLog& instance();

    /// Queues a message unless an entry of the same level and text still waits, or kMostEntries
    /// wait already: a flood of different messages must not eat the memory, and all of them were
    /// written to standard error. Any level word but "ERR" and "WRN" counts as information.
    void add(std::string_view levelWord, std::string_view text);

    [[nodiscard]] bool isEmpty() const;

    /// Removes and returns the oldest entry; std::runtime_error on an empty queue.
    MessageLogEntry pop();

    /// Empties the queue and shows its warnings and errors in one dialog; information is dropped.
    /// Shows nothing when nothing is left or no presenter is set. Main thread only.
    void showAll(void* parentWindow = nullptr);

    /// Set once at start-up by a program that has windows.
    void setPresenter(Presenter presenter) { presenter_ = presenter; }

    /// Empties the queue and gives the markup that showAll presents, empty if there is nothing.
    std::string takeMarkup();

  private:
    MessageLog() = default;

    mutable std::mutex mutex_;            // guards entries_
    std::list<MessageLogEntry> entries_;  // in order of arrival
    Presenter presenter_ = nullptr;       // main thread only
};

}  // namespace trelis
