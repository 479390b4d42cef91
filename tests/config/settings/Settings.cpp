#include "config/settings/Settings.h"

#include <gtest/gtest.h>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"
#include "support/Files.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::modeOf;

std::string takeMessages() {
    std::string texts;
    while (!MessageLog::instance().isEmpty())
        texts += MessageLog::instance().pop().text + "\n";
    return texts;
}

class SettingsTest : public ::testing::Test {
  protected:
    ~SettingsTest() override { takeMessages(); }

    void writeSettings(std::string_view content) const {
        static_cast<void>(home.write("settings", content));
    }

    test::Folder home;
    SettingsPaths paths{home / "settings", home / "lists"};
};

TEST_F(SettingsTest, aFreshHomeGivesDefaultsAndKeepsOnlyWhatWasSet) {
    Settings settings(paths);
    EXPECT_EQ(settings.getBgColor(), "#efc8efc8efc8");
    EXPECT_EQ(settings.getLogPath(), "/usr/share/sigmira/templates");
    EXPECT_EQ(settings.getVsdFile(), "./dummy");
    settings.setShowDelta(true);
    settings.setRulerTransparancy(0.25);
    EXPECT_TRUE(settings.save());
    EXPECT_EQ(contentOf(paths.settings),
              "[global]\nvsdFile=./dummy\nshow_delta=true\nruler_transparancy=0.25\n");
    EXPECT_EQ(modeOf(paths.settings), 0600U);
    EXPECT_TRUE(fs::exists(paths.signalLists));

    settings.setDbFile("/data/../data/a b;c.dbc");
    settings.setVsdFile("./dummy");
    settings.setListFont("Sans 12");
    settings.setBitrateInterval(250);
    settings.save();
    Settings second(paths);
    EXPECT_TRUE(second.getShowDelta());
    EXPECT_EQ(second.getDbFile(), "/data/a b;c.dbc");
    EXPECT_EQ(second.getVsdFile(), "./dummy");
    EXPECT_EQ(second.getListFont(), "Sans 12");
    EXPECT_EQ(second.getBitrateInterval(), 250);
    second.setDbFile("relative.dbc");
    EXPECT_EQ(second.getDbFile(), (fs::current_path() / "relative.dbc").string());
}

TEST_F(SettingsTest, valuesThatNoWindowCouldUseGiveTheDefault) {
    writeSettings(
        "[global]\nline_width=thick\nruler_transparancy=nan\nfont_size=-3\nsplit_view=7\n"
        "ruler_txt_transparency=50\ngrid_color=#12345\nbg_color=#112233\nlist_font=\xff\n"
        "dbFile=\n");
    Settings settings(paths);
    EXPECT_EQ(settings.getLineWidth(), 2.0);
    settings.setLineWidth(0.0);
    EXPECT_EQ(settings.getLineWidth(), 2.0);
    EXPECT_EQ(settings.getRulerTransparancy(), 0.5);
    EXPECT_EQ(settings.getFontSize(), 10);
    EXPECT_TRUE(settings.getSplitView());
    EXPECT_EQ(settings.getRulerTxtTransparency(), 1.0);
    EXPECT_EQ(settings.getGridColor(), "#d2c5d2c5d2c5");
    EXPECT_EQ(settings.getBgColor(), "#112233");
    EXPECT_EQ(settings.getListFont(), "10.0");
    EXPECT_EQ(settings.getDbFile(), "./dummy");
}

TEST_F(SettingsTest, aBadIntervalIsToldAndReplaced) {
    writeSettings("[global]\nbitrate_interval=0\n");
    Settings settings(paths);
    for (const char* told : {"Invalid bitrate update interval, setting to 100 ms\n", ""}) {
        EXPECT_EQ(settings.getBitrateInterval(), 100);
        EXPECT_EQ(takeMessages(), told);
    }
}

TEST_F(SettingsTest, signalColoursFollowTheDefaultUntilSet) {
    Settings settings(paths);
    settings.setDefSigColor("#111122223333");
    EXPECT_EQ(settings.getSignalColor("Can", "M", "S"), "#111122223333");
    settings.setSignalColor("Can", "M", "S", "#aaaabbbbcccc");
    settings.setSignalColor("Can", "M", "T", "#111122223333");
    settings.setDefSigColor("#444455556666");
    EXPECT_EQ(settings.getSignalColor("Can", "M", "S"), "#aaaabbbbcccc");
    EXPECT_EQ(settings.getSignalColor("Can", "M", "T"), "#444455556666");
    settings.save();
    EXPECT_NE(contentOf(paths.settings).find("Can.M.T=#00007833ffff"), std::string::npos);
}

TEST_F(SettingsTest, namesThatAKeyFileCannotHoldDoNotDamageIt) {
    Settings settings(paths);
    for (const char* name : {"a=b", "a[b]", "tail ", "line\nbreak", "tab\t"})
        settings.setSignalColor("Can", "M", name, "#aaaabbbbcccc");
    settings.setShowDelta(true);
    settings.save();
    EXPECT_TRUE(Settings(paths).getShowDelta());
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(SettingsTest, aDamagedFileIsToldAndKeptAside) {
    writeSettings("neither head nor key\n");
    Settings settings(paths);
    EXPECT_NE(takeMessages().find("Couldn't read " + paths.settings), std::string::npos);
    settings.setSplitView(false);
    EXPECT_TRUE(settings.save());
    EXPECT_EQ(contentOf(paths.settings + ".damaged"), "neither head nor key\n");
    EXPECT_EQ(contentOf(paths.settings), "[global]\nsplit_view=false\n");
}

TEST_F(SettingsTest, aFolderInPlaceOfAFileStaysAndIsTold) {
    fs::create_directory(paths.settings);
    Settings settings(paths);
    EXPECT_FALSE(settings.save());
    EXPECT_NE(takeMessages().find("Couldn't save"), std::string::npos);
    EXPECT_TRUE(fs::is_directory(paths.settings));
}

TEST_F(SettingsTest, aFullDiskLeavesTheOldFileAlsoWhenItIsDamaged) {
    for (const std::string old : {"[global]\nsplit_view=false\n", "damaged\n"}) {
        writeSettings(old);
        Settings settings(paths);
        settings.setLogPath(std::string(100000, 'x'));
        {
            const test::FullDisk full(4096);
            EXPECT_FALSE(settings.save());
        }
        EXPECT_EQ(contentOf(paths.settings), old);
    }
}

TEST_F(SettingsTest, withoutAPlaceForItsFilesTheProgramDoesNotStart) {
    const std::string missing = home / "missing/settings";
    EXPECT_THROW(Settings({missing, ""}), PrintMsgError);
    EXPECT_EQ(takeMessages(), "Couldn't create " + missing + "\n");
}

TEST_F(SettingsTest, theEditorMustBeExecutable) {
    Settings settings(paths);
    settings.setDefaultEditor("/bin/sh");
    settings.setDefaultEditor(home.path());
    EXPECT_EQ(settings.getDefaultEditor(), "/bin/sh");
    EXPECT_EQ(takeMessages(), home.path().string() + " is not an executable\n");
}

TEST_F(SettingsTest, signalListsOfProjectsStayApart) {
    Settings settings(paths);
    EXPECT_EQ(settings.signalListGroup(), "");
    settings.setDbFile("/p/a.dbc");
    const std::string first = settings.signalListGroup();
    settings.setVsdFile("/p/b.vsd");
    const std::string second = settings.signalListGroup();
    // Files in the field carry this number.
    EXPECT_EQ(second, "sigList_" + std::to_string(std::_Hash_bytes("/p/b.vsd", 8, 0xC70F6907)));

    EXPECT_TRUE(settings.writeSignalList(paths.signalLists, first, "Can.M.A;"));
    EXPECT_TRUE(settings.writeSignalList(paths.signalLists, second, "Can.M.B;Virt.V.\xc3\xa4;"));
    EXPECT_EQ(Settings::readSignalList(paths.signalLists, first), "Can.M.A;");
    EXPECT_EQ(Settings::readSignalList(paths.signalLists, second), "Can.M.B;Virt.V.\xc3\xa4;");
    EXPECT_EQ(Settings::readSignalList(paths.signalLists, "other"), std::nullopt);
    EXPECT_NE(contentOf(paths.signalLists).find("file=/p/b.vsd\ntime="), std::string::npos);
    EXPECT_EQ(modeOf(paths.signalLists), 0600U);

    EXPECT_FALSE(settings.writeSignalList(home / "none/x", first, ""));
    EXPECT_NE(takeMessages().find("Couldn't create"), std::string::npos);
}

}  // namespace
}  // namespace trelis
