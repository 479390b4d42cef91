// A small data set for the analysis windows.
#pragma once

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "analysis/AnalysisContext.h"
#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/GuiTest.h"
#include "plot/paint/TimeBox.h"

namespace trelis::test {

/// Times count from here, in ms since the epoch.
inline constexpr std::uint64_t kBegin = 1'600'000'000'000;
inline constexpr std::uint64_t kMinutes = 2;

struct ScratchSettings {
    ScratchSettings() {
        char name[] = "/tmp/sigmira_gui_XXXXXX";
        folder = mkdtemp(name);
        settings =
            std::make_unique<Settings>(SettingsPaths{folder + "/settings", folder + "/lists"});
    }
    ScratchSettings(const ScratchSettings&) = delete;
    ScratchSettings& operator=(const ScratchSettings&) = delete;
    ~ScratchSettings() { std::filesystem::remove_all(folder); }

    std::string folder;
    std::unique_ptr<Settings> settings;
};

/// Waits until the window was laid out and painted with all that changed: this happens with the next
/// beats of its frame clock, not in the loop's own order.
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

class AnalysisTest : public ::testing::Test {
  protected:
    AnalysisTest() {
        const auto bus = store.addInterface("Bus", 0);
        message = std::make_shared<Message>(1, "Motor", bus);
        bus->addMessage(message);
        speed = addSignal("Speed", "km/h");
        for (std::uint64_t ms = 0; ms <= kMinutes * 60000; ms += 100)
            speed->addSample(kBegin + ms, 60 + 40 * std::sin(static_cast<double>(ms) / 7000));
        store.firstTime = store.parseFirstTime = store.intervalStart = kBegin;
        store.lastTime = store.parseLastTime = store.intervalEnd = kBegin + kMinutes * 60000;
    }
    ~AnalysisTest() override {
        pumpPending();
        setDark(false);
        while (!MessageLog::instance().isEmpty())
            MessageLog::instance().pop();
    }

    std::shared_ptr<Signal> addSignal(const std::string& name, const std::string& unit) {
        auto signal = std::make_shared<Signal>(message, name);
        signal->unit = unit;
        message->addSignal(name, signal);
        return signal;
    }
    void setView(std::uint64_t from, std::uint64_t to) {
        timeBox.setInterval(kBegin + from, kBegin + to, true);
        pumpPending();
    }
    void setRulers(std::int64_t left, std::int64_t right) {
        store.leftRuler = left < 0 ? -1 : static_cast<std::int64_t>(kBegin) + left;
        store.rightRuler = right < 0 ? -1 : static_cast<std::int64_t>(kBegin) + right;
        store.rulersChanged.emit();
        pumpPending();
    }
    static void setDark(bool dark) {
        g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme",
                     static_cast<gboolean>(dark), nullptr);
        pumpPending();
    }
    /// The window on a light and a dark desktop.
    static void keepBothShots(Gtk::Window& window, const std::string& name) {
        settle(window);
        keepShot(window, name);
        setDark(true);
        settle(window);
        keepShot(window, name + "-dark");
        setDark(false);
        settle(window);
    }
    static std::string clipboardText() { return Gtk::Clipboard::get()->wait_for_text(); }

    ScratchSettings scratch;
    Settings& settings = *scratch.settings;
    Store store;
    TimeBox timeBox{store};
    AnalysisContext context{store, timeBox, settings};
    std::shared_ptr<Message> message;
    std::shared_ptr<Signal> speed;
};

}  // namespace trelis::test
