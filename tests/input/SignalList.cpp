#include "input/SignalList.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/DbcReader.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;

std::string makeFolder() {
    std::string name = (fs::temp_directory_path() / "listXXXXXX").string();
    return ::mkdtemp(name.data());
}

class SignalListTest : public ::testing::Test {
  protected:
    SignalListTest()
        : directory(makeFolder()), settings({directory / "settings", directory / "lists"}) {
        std::ofstream(directory / "a.dbc")
            << "BO_ 1 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n"
               " SG_ B : 8|8@1+ (1,0) [0|0] \"\" X\n SG_ C : 8|8@1+ (1,0) [0|0] \"\" X\n";
        store.noGui = true;
        readDbcFile(store, directory / "a.dbc", 0, "Can");
    }
    ~SignalListTest() override { fs::remove_all(directory); }

    void select(const std::string& names) {
        store.clearSelection();
        for (const char name : names)
            store.getSignal(std::string("Can.M.") + name)->setSelected(true);
    }
    [[nodiscard]] std::string selection() const {
        std::string names;
        for (const auto& signal : store.selectedSignals)
            names += signal->name;
        return names;
    }

    fs::path directory;
    Store store;
    Settings settings;
};

TEST_F(SignalListTest, eachProjectHasItsSelection) {
    settings.setDbFile("/one.dbc");
    select("AC");
    saveSignalList(store, settings);
    settings.setDbFile("/two.dbc");
    EXPECT_FALSE(loadSignalList(store, settings));
    EXPECT_EQ(selection(), "");
    select("B");
    saveSignalList(store, settings);
    settings.setDbFile("/one.dbc");
    store.clearSelection();
    EXPECT_TRUE(loadSignalList(store, settings));
    EXPECT_EQ(selection(), "AC");
}

TEST_F(SignalListTest, withoutAProjectNothingIsKept) {
    select("A");
    saveSignalList(store, settings);
    EXPECT_EQ(fs::file_size(directory / "lists"), 0U);
    EXPECT_FALSE(loadSignalList(store, settings));
    EXPECT_EQ(selection(), "");
}

TEST_F(SignalListTest, listFilesOfTheUser) {
    const std::string path = directory / "my.tvlist";
    select("AB");
    EXPECT_TRUE(storeSignalListFile(store, settings, path));
    select("");
    EXPECT_TRUE(restoreSignalListFile(store, path));
    EXPECT_EQ(selection(), "AB");
    std::ofstream(path) << "[storetofile]\nsignalList=;Can.M.C;;no reference;Can.M.Gone;X.M.A";
    select("");
    EXPECT_TRUE(restoreSignalListFile(store, path));
    EXPECT_EQ(selection(), "C");
    std::ofstream(path) << "damaged";
    EXPECT_FALSE(restoreSignalListFile(store, path));
    EXPECT_EQ(selection(), "");
}

}  // namespace
}  // namespace trelis
