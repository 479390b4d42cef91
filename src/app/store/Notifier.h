// News from a worker thread to the main loop.
#pragma once

#include <glibmm/dispatcher.h>
#include <sigc++/connection.h>

#include <atomic>
#include <memory>

namespace trelis {

/// A Glib::Dispatcher that writes to its pipe only when no earlier news waits: a worker can emit as
/// often as it likes without ever blocking on a main loop that is busy. Made, connected and
/// destroyed on the main thread; emitted from any thread, none of which may be left when it is
/// destroyed. News that nobody has heard by then are dropped without a word.
class Notifier {
  public:
    Notifier();
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;
    ~Notifier();

    void emit() {
        if (!wire_->pending.exchange(true)) wire_->dispatcher.emit();
    }
    sigc::connection connect(const sigc::slot<void>& slot) { return wire_->changed.connect(slot); }

  private:
    /// What has to stay until the pipe has been read.
    struct Wire {
        std::atomic<bool> pending = false;
        Glib::Dispatcher dispatcher;
        sigc::signal<void> changed;  // main thread only
    };

    static void hear(const std::weak_ptr<Wire>& wire);

    std::shared_ptr<Wire> wire_;
};

}  // namespace trelis
