// What the tests of windows and dialogs share: a Store with scratch settings, both themes, dialogs
// that answer.
#pragma once

#include <gtkmm/messagedialog.h>
#include <gtkmm/window.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "config/settings/Settings.h"
#include "plot/GuiTest.h"
#include "support/TestStore.h"

namespace trelis::test {

/// A folder that is thrown away, and the settings in it.
struct ScratchSettings : Folder {
    [[nodiscard]] SettingsPaths paths() const { return {*this / "settings", *this / "lists"}; }
    [[nodiscard]] std::string read(const std::string& name) const {
        return contentOf(*this / name);
    }

    const std::unique_ptr<Settings> settings = std::make_unique<Settings>(paths());
};

/// Waits until the window was laid out and painted with all that changed: this happens with the
/// next beats of its frame clock, not in the loop's own order.
inline void settle(Gtk::Widget& widget) {
    pumpPending();
    int beats = 0;
    const guint id = widget.add_tick_callback([&beats](const Glib::RefPtr<Gdk::FrameClock>&) {
        ++beats;
        return true;
    });
    EXPECT_TRUE(pump([&] { return beats >= 3; }));
    widget.remove_tick_callback(id);
}

/// The window on a light and a dark desktop.
inline void keepBothShots(Gtk::Window& window, const std::string& name) {
    const auto showTheme = [&window](bool dark) {
        g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme",
                     static_cast<gboolean>(dark), nullptr);
        settle(window);
    };
    settle(window);
    keepShot(window, name);
    showTheme(true);
    keepShot(window, name + "-dark");
    showTheme(false);
}

/// The texts that waited for the user, oldest first.
inline std::vector<std::string> takeTexts() {
    return TestStore::messages();
}

/// The widget of this class and accessible name in a window, a visible one if there is; null
/// without.
template <typename W>
W* findNamed(Gtk::Widget& top, const std::string& name, bool onlyVisible = true) {
    if (onlyVisible && !top.get_visible()) return nullptr;
    auto* wanted = dynamic_cast<W*>(&top);
    if (wanted != nullptr && top.get_accessible()->get_name() == name) return wanted;
    if (auto* container = dynamic_cast<Gtk::Container*>(&top))
        for (Gtk::Widget* child : container->get_children())
            if (auto* found = findNamed<W>(*child, name, onlyVisible)) return found;
    return nullptr;
}

/// The same of one that must be there, visible or not.
template <typename W>
W& named(Gtk::Window& window, const std::string& name) {
    Gtk::Widget& top = *window.get_child();
    W* found = findNamed<W>(top, name);
    if (found == nullptr) found = findNamed<W>(top, name, false);
    if (found == nullptr) throw std::out_of_range(name);
    return *found;
}

/// What the windows work on, thrown away behind each test.
class DeskTest : public ::testing::Test {
  protected:
    DeskTest() { takeTexts(); }
    ~DeskTest() override {
        store.shutdown();
        pumpPending();
        takeTexts();
    }

    ScratchSettings scratch;
    Settings& settings = *scratch.settings;
    Store store;
};

/// Answers the first dialog that runs while it lives, once `prepare` says that it may. It fails the
/// test if none does.
class DialogAnswer {
  public:
    explicit DialogAnswer(
        int response, std::function<bool(Gtk::Dialog&)> prepare = [](Gtk::Dialog&) { return true; })
        : response_(response), prepare_(std::move(prepare)) {
        timer_ = Glib::signal_timeout().connect([this] { return look(); }, 20);
    }
    DialogAnswer(const DialogAnswer&) = delete;
    DialogAnswer& operator=(const DialogAnswer&) = delete;
    ~DialogAnswer() {
        timer_.disconnect();
        EXPECT_TRUE(asked_) << "no dialog came up";
    }

  private:
    bool look() {
        for (Gtk::Window* window : Gtk::Window::list_toplevels()) {
            auto* dialog = dynamic_cast<Gtk::Dialog*>(window);
            if (dialog == nullptr || !dialog->get_mapped()) continue;
            constexpr int kMostLooks = 250;
            if (!prepare_(*dialog) && ++looks_ < kMostLooks) continue;
            EXPECT_LT(looks_, kMostLooks) << "the dialog never was as expected";
            asked_ = true;
            dialog->response(response_);
            return false;
        }
        return true;
    }

    int response_;
    std::function<bool(Gtk::Dialog&)> prepare_;
    sigc::connection timer_;
    bool asked_ = false;
    int looks_ = 0;
};

}  // namespace trelis::test
