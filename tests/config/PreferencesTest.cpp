#include <gtkmm/colorbutton.h>
#include <gtkmm/entry.h>
#include <gtkmm/notebook.h>

#include "app/store/Store.h"
#include "config/SettingsWindow.h"
#include "desk/Desk.h"

namespace trelis::test {
namespace {

class PreferencesTest : public ::testing::Test {
  protected:
    ~PreferencesTest() override { takeTexts(); }
    void type(const char* label, const std::string& text) {
        dynamic_cast<Gtk::Entry&>(window.findRow(label)->widget()).set_text(text);
    }
    std::string shown(const char* label) {
        return dynamic_cast<Gtk::Entry&>(window.findRow(label)->widget()).get_text();
    }
    Gtk::ColorButton& colour(const char* label) {
        return dynamic_cast<Gtk::ColorButton&>(window.findRow(label)->widget());
    }

    ScratchSettings scratch;
    Settings& settings = *scratch.settings;
    Store store;
    SettingsWindow window{store, settings};
};

TEST_F(PreferencesTest, ShowsAndStoresEveryKind) {
    present(window);
    EXPECT_EQ(window.get_title(), "Preferences");
    EXPECT_EQ(shown("Bitrate interval"), "100");
    EXPECT_EQ(shown("Line width"), "2.000000");
    EXPECT_EQ(shown("Font size"), "10.0");
    EXPECT_FALSE(window.findRow("Grid Color")->isDirty());

    int told = 0;
    int redrawn = 0;
    store.settingsChanged.connect([&] { ++told; });
    store.dataChanged.connect([&] { ++redrawn; });
    type("Bitrate interval", " 250 ");
    type("Line width", "3,5");
    type("Font size", "Sans 12");
    colour("Grid Color").set_rgba(Gdk::RGBA("#123456789abc"));
    EXPECT_TRUE(window.findRow("Grid Color")->isDirty());
    window.saveChanges();
    pumpPending();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(redrawn, 1);
    EXPECT_EQ(store.lineWidth, 3.5);

    Settings again(SettingsPaths{scratch.file("settings"), scratch.file("lists")});
    EXPECT_EQ(again.getBitrateInterval(), 250);
    EXPECT_EQ(again.getLineWidth(), 3.5);
    EXPECT_EQ(again.getListFont(), "Sans 12");
    EXPECT_EQ(again.getGridColor(), "#123456789abc");
    const std::string file = scratch.read("settings");
    EXPECT_EQ(file.find("font_size"), std::string::npos) << "what was not changed is not written";
}

TEST_F(PreferencesTest, RefusedTextsGoBackToTheOldValue) {
    present(window);
    for (const char* text : {"99999999999", "12x", "", "1.5"}) {
        type("Bitrate interval", text);
        window.saveChanges();
        EXPECT_EQ(settings.getBitrateInterval(), 100) << text;
        EXPECT_EQ(shown("Bitrate interval"), "100") << text;
    }
    type("Ruler transparency", "half");
    window.saveChanges();
    EXPECT_EQ(settings.getRulerTransparancy(), 0.5);
    EXPECT_TRUE(takeTexts().empty()) << "without a word";

    type("Text editor", "/no/such/editor");
    window.saveChanges();
    EXPECT_EQ(takeTexts(), std::vector<std::string>{"/no/such/editor is not an executable"});
    EXPECT_EQ(shown("Text editor"), settings.getDefaultEditor());
}

TEST_F(PreferencesTest, ClosingForgetsTheEdits) {
    present(window);
    type("Font size", "99");
    window.close();
    ASSERT_TRUE(pump([&] { return !window.get_visible(); }));
    present(window);
    EXPECT_EQ(shown("Font size"), "10.0");
    EXPECT_EQ(settings.getListFont(), "10.0");
}

TEST_F(PreferencesTest, Pictures) {
    present(window);
    auto& box = dynamic_cast<Gtk::Box&>(*window.get_child());
    auto& notebook = dynamic_cast<Gtk::Notebook&>(*box.get_children().front());
    for (int page = 0; page < 3; ++page) {
        notebook.set_current_page(page);
        keepBothShots(window, "preferences-" + std::to_string(page));
    }
    EXPECT_EQ(notebook.get_tab_label_text(*notebook.get_nth_page(2)), "Signal list");
}

}  // namespace
}  // namespace trelis::test
