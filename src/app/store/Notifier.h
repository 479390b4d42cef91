// News from a worker thread to the main loop.
#pragma once

#include <glibmm/dispatcher.h>
#include <sigc++/connection.h>

#include <atomic>

namespace trelis {

/// A Glib::Dispatcher that writes to its pipe only when no earlier news waits: a worker can emit as
/// often as it likes without ever blocking on a main loop that is busy. Made, connected and
/// destroyed on the main thread; emitted from any thread.
class Notifier {
  public:
    Notifier() {
        dispatcher_.connect([this] {
            pending_ = false;
            changed_.emit();
        });
    }
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;

    void emit() {
        if (!pending_.exchange(true)) dispatcher_.emit();
    }
    sigc::connection connect(const sigc::slot<void>& slot) { return changed_.connect(slot); }

  private:
    std::atomic<bool> pending_ = false;
    Glib::Dispatcher dispatcher_;
    sigc::signal<void> changed_;  // main thread only
};

}  // namespace trelis
