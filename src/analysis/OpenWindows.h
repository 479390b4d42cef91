// Keeps one open window per signal.
#pragma once

#include <glibmm/main.h>
#include <sigc++/connection.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace trelis {

class Signal;

/// T is a Gtk::Window. Main thread only.
template <typename T>
class OpenWindows {
  public:
    using Maker = std::function<std::unique_ptr<T>(const std::shared_ptr<Signal>&)>;

    explicit OpenWindows(Maker maker) : maker_(std::move(maker)) {}
    OpenWindows(const OpenWindows&) = delete;
    OpenWindows& operator=(const OpenWindows&) = delete;
    ~OpenWindows() { cleaning_.disconnect(); }

    /// Raises the window of the signal, or makes and shows one.
    void show(const std::shared_ptr<Signal>& signal) {
        auto& window = windows_[signal];
        if (!window) {
            window = maker_(signal);
            window->signal_hide().connect([this, signal] { onClosed(signal); });
            window->show();
        }
        window->present();
    }

    /// All windows go: their signals are about to be dropped.
    void closeAll() {
        cleaning_.disconnect();
        closed_.clear();
        // A window tells of its own end while it is destroyed; it must find no entry then.
        const auto windows = std::exchange(windows_, {});
    }

    [[nodiscard]] std::size_t size() const { return windows_.size(); }
    /// The window of a signal, null if none is open.
    [[nodiscard]] T* find(const std::shared_ptr<Signal>& signal) const {
        const auto found = windows_.find(signal);
        return found == windows_.end() ? nullptr : found->second.get();
    }

  private:
    // The window is still in its own signal handler, so it is destroyed by the main loop.
    void onClosed(const std::shared_ptr<Signal>& signal) {
        const auto found = windows_.find(signal);
        if (found == windows_.end()) return;
        closed_.push_back(std::move(found->second));
        windows_.erase(found);
        if (!cleaning_.connected())
            cleaning_ = Glib::signal_idle().connect([this] {
                closed_.clear();
                return false;
            });
    }

    Maker maker_;
    std::map<std::shared_ptr<Signal>, std::unique_ptr<T>> windows_;
    std::vector<std::unique_ptr<T>> closed_;
    sigc::connection cleaning_;
};

}  // namespace trelis
