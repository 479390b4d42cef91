#include "input/SignalList.h"

#include <filesystem>

#include "config/settings/Settings.h"
#include "input/DbcReader.h"
#include "input/DefinitionRig.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

class SignalListTest : public test::DefinitionTest {
  protected:
    SignalListTest() {
        const std::string dbc = folder.write(
            "a.dbc", "BO_ 1 M: 8 X\n" + test::signalLine("A : 0|8@1+") +
                         test::signalLine("B : 8|8@1+") + test::signalLine("C : 8|8@1+"));
        readDbcFile(store, dbc, 0, "Can");
    }

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

    Settings settings{{(folder / "settings"), (folder / "lists")}};
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
    select("");
    EXPECT_TRUE(loadSignalList(store, settings));
    EXPECT_EQ(selection(), "AC");
}

TEST_F(SignalListTest, withoutAProjectNothingIsKept) {
    select("A");
    saveSignalList(store, settings);
    EXPECT_EQ(std::filesystem::file_size((folder / "lists")), 0U);
    EXPECT_FALSE(loadSignalList(store, settings));
    EXPECT_EQ(selection(), "");
}

TEST_F(SignalListTest, listFilesOfTheUser) {
    const std::string path = (folder / "my.tvlist");
    select("AB");
    EXPECT_TRUE(storeSignalListFile(store, settings, path));
    select("");
    EXPECT_TRUE(restoreSignalListFile(store, path));
    EXPECT_EQ(selection(), "AB");
    folder.write("my.tvlist", "[storetofile]\nsignalList=;Can.M.C;;no reference;Can.M.Gone;X.M.A");
    select("");
    EXPECT_TRUE(restoreSignalListFile(store, path));
    EXPECT_EQ(selection(), "C");
    folder.write("my.tvlist", "damaged");
    EXPECT_FALSE(restoreSignalListFile(store, path));
    EXPECT_EQ(selection(), "");
}

}  // namespace
}  // namespace trelis
