#include <gtkmm/checkbutton.h>
#include <gtkmm/colorbutton.h>
#include <gtkmm/entry.h>

#include "config/SettingsWindow.h"
#include "desk/Desk.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis::test {
namespace {

class PreferencesTest : public DeskTest {
  protected:
    template <typename W = Gtk::Entry>
    W& row(const char* label) {
        return dynamic_cast<W&>(window.findRow(label)->widget());
    }
    std::string shown(const char* label) { return row(label).get_text(); }

    SettingsWindow window{store, settings};
};

TEST_F(PreferencesTest, ShowsStoresAndAppliesEveryKind) {
    store.hooks.colorLookup = [this](const auto&... names) {
        return settings.getSignalColor(names...);
    };
    const auto message = std::make_shared<Message>(1, "Motor", store.addInterface("Bus", 0));
    message->parent()->addMessage(message);
    const auto signal = std::make_shared<Signal>(message, "Speed");
    message->addSignal("Speed", signal);
    present(window);
    EXPECT_EQ(window.get_title(), "Preferences");
    EXPECT_EQ(shown("Line width"), "2.000000");
    EXPECT_EQ(shown("Font size"), "10.0");
    keepBothShots(window, "preferences");

    int told = 0;
    int redrawn = 0;
    store.settingsChanged.connect([&] { ++told; });
    store.dataChanged.connect([&] { ++redrawn; });
    row("Bitrate interval").set_text(" 250 ");
    row("Line width").set_text("3,5");
    row("Font size").set_text("Sans 12");
    row<Gtk::ColorButton>("Grid Color").set_rgba(Gdk::RGBA("#123456789abc"));
    row<Gtk::ColorButton>("Default Signal Color").set_rgba(Gdk::RGBA("#00ff00ff00ff"));
    row<Gtk::CheckButton>("Tolerant definitions").set_active(true);
    window.saveChanges();
    pumpPending();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(redrawn, 1);
    EXPECT_EQ(store.lineWidth, 3.5);
    EXPECT_TRUE(store.tolerantDefinitions);
    EXPECT_EQ(signal->color, "#00ff00ff00ff") << "which has none of its own";

    Settings again(scratch.paths());
    EXPECT_EQ(again.getBitrateInterval(), 250);
    EXPECT_EQ(again.getListFont(), "Sans 12");
    EXPECT_EQ(again.getGridColor(), "#123456789abc");
    EXPECT_TRUE(again.getTolerantDefinitions());
    store.lineWidth = 2.0;
    const SettingsWindow next(store, again);
    EXPECT_EQ(store.lineWidth, 3.5) << "plots have it from the start";
    EXPECT_EQ(scratch.read("settings").find("font_size"), std::string::npos)
        << "what was not changed is not written";
}

TEST_F(PreferencesTest, RefusedTextsGoBackToTheOldValue) {
    settings.setBitrateInterval(70);
    settings.setRulerTransparancy(0.75);
    present(window);
    for (const auto& [label, text] : std::vector<std::pair<const char*, const char*>>{
             {"Bitrate interval", "99999999999"},
             {"Bitrate interval", "12x"},
             {"Bitrate interval", ""},
             {"Bitrate interval", "1.5"},
             {"Bitrate interval", "+-5"},
             {"Bitrate interval", "0"},
             {"Ruler font size", "201"},
             {"Ruler transparency", "half"},
             {"Ruler transparency", "nan"},
             {"Ruler transparency", "75"},
         }) {
        const std::string before = shown(label);
        row(label).set_text(text);
        window.saveChanges();
        EXPECT_EQ(shown(label), before) << label << " " << text;
    }
    EXPECT_EQ(settings.getBitrateInterval(), 70);
    EXPECT_EQ(settings.getRulerTransparancy(), 0.75);
    EXPECT_TRUE(takeTexts().empty()) << "without a word";

    row("Text editor").set_text("/no/such/editor");
    window.saveChanges();
    EXPECT_EQ(takeTexts(), std::vector<std::string>{"/no/such/editor is not an executable"});
    EXPECT_EQ(shown("Text editor"), settings.getDefaultEditor());

    row("Font size").set_text("99");
    window.close();
    ASSERT_TRUE(pump([&] { return !window.get_visible(); }));
    present(window);
    EXPECT_EQ(shown("Font size"), "10.0") << "closing forgets the edits";
}

}  // namespace
}  // namespace trelis::test
