#include "input/VsdFile.h"

#include <sys/stat.h>

#include "app/diagnostics/Exceptions.h"
#include "input/DefinitionRig.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "virtual/VirtualRegistry.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

using namespace std::string_literals;

constexpr const char* kSettings = "[settings]\nifname_0=Bus\ndbcfile_0=a.dbc\n";

class VsdFile : public test::DefinitionTest {
  protected:
    VsdFile() {
        folder.write("a.dbc", "BO_ 100 M: 8 X\n" + test::signalLine("S : 0|16@1+"));
        folder.write("b.dbc", "BO_ 101 N: 8 X\n" + test::signalLine("S : 0|16@1+"));
    }
    void load(const std::string& content) {
        store.clearAll();
        loadVsdFile(store, folder.write("main.vsd", content),
                    [this](const DefinitionFinding& found) { findings.push_back(found); });
    }
    /// The virtual signals in order of creation.
    [[nodiscard]] std::string made() {
        std::string names;
        for (const auto& signal : virtualRegistry(store).allVirtualSignals)
            if (signal->message->parent()->number == kVirtualInterface)
                names += signal->message->name + "." + signal->name + " ";
        return names;
    }
    [[nodiscard]] static std::string group(const std::string& name, const std::string& input) {
        return "[" + name + "]\nmethod=sum\nstep=100\nsignal_01=" + input + "\n";
    }
    [[nodiscard]] std::string path() const { return folder / "main.vsd"; }

    std::vector<DefinitionFinding> findings;
};

TEST_F(VsdFile, aFileThatIsNotThereLoadsNothing) {
    loadVsdFile(store, (folder / "none.vsd"));
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    loadVsdFile(store, (folder / "pipe"));
    EXPECT_EQ(takeMessages(), "");
    EXPECT_TRUE(store.interfaces.empty());
}

TEST_F(VsdFile, interfacesComeFromTheSettings) {
    load("[settings]\nifname_2=\xc3\x84-Bus:_1\ndbcfile_2=a.dbc;" + (folder / "b.dbc") +
         ";\nifname_31=Last\ndbcfile_31=b.dbc\nifname_32=Never\ndbcfile_32=b.dbc\n"
         "legacygps=true\n");
    EXPECT_EQ(takeMessages(), "");
    EXPECT_EQ(store.findInterfaceByNumber(2)->messages.size(), 2U);
    EXPECT_EQ(store.findInterfaceByNumber(2)->name, "\xc3\x84-Bus:_1");
    EXPECT_TRUE(store.findInterfaceByNumber(31));
    EXPECT_FALSE(store.findInterfaceByNumber(32));
    EXPECT_TRUE(store.findInterfaceByNumber(2 + kStatisticsOffset));
    EXPECT_TRUE(store.legacyGps);
    EXPECT_FALSE(store.legacyVsd);
    EXPECT_TRUE(store.vsdLoaded);
}

TEST_F(VsdFile, theOldFormNamesOneFile) {
    folder.write("a.dbc;b.dbc", "BO_ 7 Odd: 8 X\n" + test::signalLine("S : 0|8@1+"));
    load("[settings]\ndbcfile=a.dbc;b.dbc\n" + group("A", "Odd.S") + group("B", "Virtual.A"));
    EXPECT_EQ(takeMessages(), "");
    EXPECT_EQ(store.findInterfaceByNumber(0)->name, "Can");
    EXPECT_TRUE(store.legacyVsd);
    EXPECT_TRUE(store.legacyGps);
    EXPECT_EQ(made(), "Virtual.A Virtual.B ");
    load("[settings]\ndbcfile=a.dbc\nlegacygps=false\nifname_0=X\ndbcfile_0=a.dbc\n");
    EXPECT_FALSE(store.legacyVsd);
    EXPECT_FALSE(store.legacyGps);
}

TEST_F(VsdFile, badSettingsEndTheLoad) {
    const std::string parse = "Failed to parse " + path();
    const auto badName = [](const std::string& name) {
        return "CAN interface name \"" + name +
               "\" uses non supported characters.\nOnly alpha numeric characters and \"_ : -\" are "
               "allowed.\nNo spaces are allowed.\n";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"ifname_0=A B\ndbcfile_0=a.dbc", badName("A B")},
        {"ifname_0=A.B\ndbcfile_0=a.dbc", badName("A.B")},
        {"ifname_3=\ndbcfile_3=a.dbc", parse + ", name for interface 3 can not be empty\n"},
        {"dbcfile_3=a.dbc", parse + ", could not find name for interface 3\n"},
        {"ifname_3=A", parse + ", could not find DBC file for interface 3\n"},
        {"ifname_0=A\ndbcfile_0=a.dbc\nifname_1=A\ndbcfile_1=a.dbc",
         "Interface name 'A' already used. Duplicates not allowed.\n"},
    };
    for (const auto& [settings, text] : cases) {
        EXPECT_THROW(load("[settings]\n"s + settings + "\n"), PrintMsgError) << settings;
        EXPECT_EQ(takeMessages(), text);
    }
}

TEST_F(VsdFile, withoutSettingsOnlyTablesGoOn) {
    load("[A]\nmethod=count\n");
    EXPECT_EQ(takeMessages(), "VSD file '" + path() + "' does not have a settings group\n");
    EXPECT_TRUE(store.interfaces.empty());
    EXPECT_FALSE(store.vsdLoaded);
    store.csvMode = true;
    load("[A]\nmethod=count\n");
    EXPECT_TRUE(store.findInterfaceByNumber(kVirtualInterface));
}

TEST_F(VsdFile, whatCannotBeMadeIsToldOnceAndCostsOnlyItself) {
    load(kSettings + group("A", "Virt.Virtual.B") + group("B", "Virt.Virtual.A") +
         group("Self", "Virt.Virtual.Self") + "[Odd]\nmethod=what\n[None]\nunit=V\n" +
         group("Good", "Bus.M.S"));
    EXPECT_EQ(made(), "Virtual.Good ");
    EXPECT_EQ(takeMessages(),
              "VSD parse error: Can't find signal with name B\n"
              "VSD parse error: Can't find signal with name A\n"
              "VSD parse error: Can't find signal with name Self\n"
              "VSD parse error: Unknown virtual signal method: what\n"
              "VSD parse error: Key file does not have key “method” in group “None”\n");
    ASSERT_EQ(findings.size(), 5U);
    EXPECT_EQ(findings[2].line, 12U);
    EXPECT_TRUE(store.vsdLoaded);
}

TEST_F(VsdFile, aBadNameEndsItsFile) {
    const std::string parse = "Failed to parse VSD file " + path() + ", signal";
    const std::pair<const char*, std::string> cases[] = {
        {"Motor.Speed.Avg", ": Motor.Speed.Avg, is not formatted as <msgName>.<sigName>"},
        {".A", " '.A' must not start with '.'"},
        {"A.", " 'A.' must not end with '.'"},
        {"A B", " 'A B' contains spaces"},
    };
    for (const auto& [name, text] : cases) {
        load(kSettings + group("First", "Bus.M.S") + group(name, "Bus.M.S") +
             group("Behind", "Bus.M.S"));
        EXPECT_EQ(made(), "Virtual.First ");
        EXPECT_EQ(takeMessages(), parse + text + "\n");
    }
}

TEST_F(VsdFile, includedFilesAreReadAroundTheFile) {
    folder.write("before.vsd", "[settings]\ninclude=after.vsd\n" + group("A", "Virt.Virtual.M") +
                                   group("Twice", "Bus.M.S"));
    folder.write("after.vsd", group("Z", "Virt.Virtual.A"));
    load(kSettings + "include=before.vsd;none.vsd\npostinclude=after.vsd\n"s +
         group("M", "Bus.M.S") + group("Twice", "Bus.M.S"));
    EXPECT_EQ(takeMessages(), "");
    EXPECT_EQ(made(), "Virtual.Twice Virtual.M Virtual.A Virtual.Z ");
    folder.write("before.vsd", "damaged");
    EXPECT_THROW(load(kSettings + "include=before.vsd\n"s), Glib::KeyFileError);
}

// The order of creation is that of the plain rule: try all groups in order, again and again.
TEST_F(VsdFile, sparingTriesDoesNotChangeTheOrder) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int round = 0; round < 20; ++round) {
        constexpr int kGroups = 40;
        std::vector<int> input(kGroups);
        for (int& i : input)
            i = static_cast<int>(random.below(kGroups + 8)) - 8;
        std::string content = kSettings;
        for (int i = 0; i < kGroups; ++i)
            content +=
                group("G" + std::to_string(i),
                      input[i] < 0 ? "Bus.M.S" : "Virt.Virtual.G" + std::to_string(input[i]));
        std::vector<bool> exists(kGroups);
        std::string expected;
        for (bool created = true; created;) {
            created = false;
            for (int i = 0; i < kGroups; ++i) {
                if (exists[i] || (input[i] >= 0 && !exists[input[i]])) continue;
                exists[i] = created = true;
                expected += "Virtual.G" + std::to_string(i) + " ";
            }
        }
        load(content);
        ASSERT_EQ(made(), expected);
        takeMessages();
    }
}

TEST_F(VsdFile, theExampleIsAKeyFile) {
    EXPECT_TRUE(writeExampleVsd(path()));
    Glib::KeyFile keys;
    keys.load_from_file(path());
    EXPECT_EQ(keys.get_string_list("settings", "dbcfile_0").size(), 2U);
    EXPECT_EQ(keys.get_string("settings", "include"), "path_to_other.vsd");
}

}  // namespace
}  // namespace trelis
