#include <glibmm/regex.h>
#include <sys/stat.h>
#include <unistd.h>

#include "config/SignalUse.h"
#include "config/VirtSignDialog.h"
#include "config/VsdText.h"
#include "desk/Desk.h"
#include "input/VsdFile.h"
#include "model/Signal.h"
#include "model/builtin/LoggerMessage.h"

namespace trelis::test {
namespace {

constexpr const char* kBus =
    "BO_ 100 Engine: 8 X\n"
    " SG_ rpm : 0|16@1+ (1,0) [0|8000] \"rpm\" X\n"
    " SG_ torque : 16|16@1+ (1,0) [0|500] \"Nm\" X\n";
const std::string kHead =
    "# The project of a test\n"
    "[settings]\n"
    "ifname_0=Can\n"
    "dbcfile_0=bus.dbc\n"
    "\n"
    "# Kept as it is\n";
const std::string kFirst =
    "[Power.first]\n"
    "method=expression\n"
    "signal_01=Can.Engine.rpm\n"
    "expr=$01 * 2\n"
    "step=100\n";
const std::string kOthers =
    "\n"
    "# Not a method of the editor\n"
    "[Power.total]\n"
    "method=sum\n"
    "signal_01=Virt.Power.first\n"
    "step=100\n";
const std::string kProject = kHead + kFirst + kOthers;
const std::string kTop =
    "[Power.top]\nmethod=derive\nsignal_01=Virt.Power.total\nstep=10\navgWindow=50\n";

class EditorTest : public DeskTest {
  protected:
    EditorTest() {
        scratch.write("bus.dbc", kBus);
        settings.setVsdFile(path);
        load(kProject);
        takeTexts();
    }
    void load() {
        store.clearAll();
        addLoggerInterface(store);
        loadVsdFile(store, path);
    }
    void load(const std::string& text) {
        scratch.write("project.vsd", text);
        load();
    }
    std::string project() { return scratch.read("project.vsd"); }
    /// The file without the dates of saving and the blank lines at its end.
    std::string undated() {
        const std::string text =
            Glib::Regex::create("Sigmira=\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\n")
                ->replace_literal(Glib::ustring(project()), 0, "", Glib::RegexMatchFlags{});
        return text.substr(0, text.find_last_not_of('\n') + 1);
    }
    Glib::KeyFile keys() {
        Glib::KeyFile file;
        file.load_from_file(path);
        return file;
    }
    void edit(const std::string& signal) {
        dialog.editSignal(store.getSignal(signal));
        pumpPending();
    }
    void fill(const std::string& key, const std::string& text) {
        auto& row = named<Gtk::Widget>(dialog, key);
        if (auto* entry = dynamic_cast<Gtk::Entry*>(&row))
            entry->set_text(text);
        else
            dynamic_cast<Gtk::ComboBoxText&>(row).set_active_text(text);
    }
    std::string shown(const std::string& key) {
        auto& row = named<Gtk::Widget>(dialog, key);
        if (auto* entry = dynamic_cast<Gtk::Entry*>(&row)) return entry->get_text();
        return dynamic_cast<Gtk::ComboBoxText&>(row).get_active_text();
    }
    Gtk::Button& button(const char* label) { return named<Gtk::Button>(dialog, label); }
    Gtk::SpinButton& inputCount() { return named<Gtk::SpinButton>(dialog, "Number of inputs"); }
    /// How many signals the row of the first input offers.
    std::size_t completions() {
        const auto& entry = named<Gtk::Entry>(dialog, "signal_01");
        return entry.get_completion()->get_model()->children().size();
    }
    /// Saves, and expects the refusal with this text and an untouched file.
    void expectRefused(const std::string& text) {
        const std::string before = project();
        takeTexts();
        dialog.saveChanges();
        const auto texts = takeTexts();
        ASSERT_FALSE(texts.empty()) << text;
        EXPECT_NE(texts.back().find(text), std::string::npos) << texts.back();
        EXPECT_TRUE(dialog.get_visible());
        EXPECT_EQ(project(), before);
        EXPECT_TRUE(selected.empty());
    }
    /// Deletes the signal that is edited, with this answer to the question.
    void deleteEdited(int response) {
        const DialogAnswer answer(response, [response](Gtk::Dialog& asked) {
            auto& question = dynamic_cast<Gtk::MessageDialog&>(asked);
            EXPECT_EQ(question.property_text(), "Do you want to delete this signal?");
            EXPECT_EQ(question.property_secondary_text(), "Deleted signals can't be restored.");
            if (response == Gtk::RESPONSE_NO) {
                settle(question);
                keepShot(question, "editor-delete");
            }
            return true;
        });
        dialog.deleteSignal();
    }

    const std::string path = scratch / "project.vsd";
    Gtk::Window parent;
    std::string selected;  ///< by the last save
    VirtSignDialog dialog{parent, store, settings, {[this](const std::string& signal) {
                              selected = signal;
                              load();
                          }}};
};

// ---- every method there and back

TEST_F(EditorTest, EveryMethodIsSavedLoadedShownAndDeleted) {
    const std::string reset = " resetSig=Can.Engine.torque";
    const std::string levels = "step=100 above=15 below=5";
    const std::string twoInputs = " signal_01=Can.Engine.rpm signal_02=Can.Engine.torque";
    struct RoundTrip {
        const char* method;
        int inputs;
        std::string rows;  ///< key=text, with blanks between
    };
    const std::string untouched = undated();
    scratch.write("table.txt", "0 0\n20 100\n");
    present(dialog);
    for (const auto& [method, inputs, rowText] : std::vector<RoundTrip>{
             {"expression", 2, "step=100 radians=Yes expr=max($01,$02)" + twoInputs},
             {"average", 1, "step=100 window=500 onlyPos=Yes onlyNeg=No"},
             {"integrate", 1, "onlyPos=Yes minSum=-5.5 maxSum=1000000" + reset},
             {"derive", 1, "step=100"},
             {"slope", 1,
              "step=100 posSlopeIncr=1.5 posSlopeDecr=2.5 negSlopeIncr=3 negSlopeDecr=4"},
             {"count", 1, levels + reset},
             {"time", 1, levels + " countAbove=No" + reset},
             {"accumulate", 1, "step=100" + reset},
             {"frequency", 1, "step=50 samples=2 filter=15 peaks=1 amplitude=Yes"},
             {"estimate", 1, "step=100 highLimit=15 lowLimit=5 offValue=1"},
             {"IIR", 1, "step=100 K=10.25"},
             {"statistics", 1, "step=100 type=min"},
             {"lookuptable", 1, "step=100 file=table.txt"},
             {"above", 1, levels},
             {"below", 1, levels},
             {"geofence", 0, "step=1000 type=circle center=57.5;-12.25 radius=150"},
             {"geofence", 0, "step=1000 type=square topleft=2;1 bottomright=1;2"},
         }) {
        SCOPED_TRACE(std::string(method) + " " + rowText);
        std::map<std::string, std::string> rows = {{"unit", "km/h"}, {"fact", "2"}};
        if (inputs > 0) rows["signal_01"] = "Can.Engine.rpm";
        std::istringstream words(rowText);
        for (std::string word; words >> word;)
            rows[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);

        dialog.newSignal("Test");
        fill("method", method);
        EXPECT_EQ(inputCount().get_mapped(), inputs > 0);
        inputCount().set_value(inputs);
        for (const auto& [key, text] : rows)
            fill(key, text);
        settle(dialog);
        keepShot(dialog, std::string("editor-") + method);
        dialog.saveChanges();
        EXPECT_EQ(takeTexts(), std::vector<std::string>());
        EXPECT_FALSE(dialog.get_visible());
        EXPECT_FALSE(keys().has_key("Test.new_signal", "hidden"));
        ASSERT_EQ(selected, "Virt.Test.new_signal");

        edit(selected);
        EXPECT_EQ(shown("method"), method);
        EXPECT_EQ(shown("name"), "Test.new_signal");
        EXPECT_EQ(inputCount().get_value(), inputs);
        for (const auto& [key, text] : rows)
            EXPECT_TRUE(shown(key) == text || shown(key) == std::to_string(std::stod(text))) << key;
        const std::string saved = undated();
        dialog.saveChanges();
        EXPECT_EQ(undated(), saved) << "saving what was loaded changes nothing";
        edit(selected);
        deleteEdited(Gtk::RESPONSE_YES);
        EXPECT_EQ(undated(), untouched);
        load();
    }
    EXPECT_EQ(takeTexts(), std::vector<std::string>());
}

// ---- the form

TEST_F(EditorTest, TheFormFollowsSignalAndMethod) {
    dialog.newSignal("");
    present(dialog);
    EXPECT_EQ(dialog.get_title(), "New virtual signal");
    EXPECT_EQ(shown("name"), "");
    EXPECT_FALSE(button("Delete signal").get_sensitive());
    const std::size_t all = completions();
    EXPECT_GT(all, 3U);
    fill("method", "expression");
    inputCount().set_value(3);
    for (const auto& [method, inputs] : std::vector<std::pair<const char*, int>>{
             {"expression", 3}, {"average", 1}, {"geofence", 0}, {"lookuptable", 1}}) {
        fill("method", method);
        EXPECT_EQ(inputCount().get_value(), inputs) << method;
    }

    edit("Virt.Power.first");
    EXPECT_EQ(dialog.get_title(), "Edit virtual signal");
    EXPECT_EQ(completions(), all - 1) << "all but the edited one";
    button("Show common options").clicked();
    EXPECT_TRUE(named<Gtk::Entry>(dialog, "fact").get_mapped());
    EXPECT_TRUE(button("Hide common options").get_visible());
    keepBothShots(dialog, "editor-edit-common");

    dialog.duplicate();
    EXPECT_EQ(dialog.get_title(), "New virtual signal");
    EXPECT_EQ(completions(), all) << "the copy may use the original";
    EXPECT_FALSE(button("Delete signal").get_sensitive());
    pressKey(dialog, GDK_KEY_s, GDK_CONTROL_MASK);
    EXPECT_EQ(selected, "Virt.Power.first_copy");
    EXPECT_EQ(project().find(kProject), 0U);
}

// ---- what stands in the way

TEST_F(EditorTest, ABadDefinitionIsNeverWritten) {
    dialog.newSignal("Power");
    present(dialog);
    fill("method", "expression");
    fill("step", "20");
    fill("signal_01", "Can.Engine.rpm");
    struct Mistake {
        const char* key;
        const char* bad;
        const char* good;
        const char* told;
    };
    for (const auto& [key, bad, good, told] : std::vector<Mistake>{
             {"expr", "max(", "$01", "Can't create signal:\n\n\""},
             {"step", "soon", "20", "The value of 'step' is not a number: soon"},
             {"fact", "0", "", "Factor can not be zero"},
             {"signal_01", "Can.Engine.absent", "Can.Engine.rpm", "Can't create signal"},
         }) {
        fill(key, bad);
        expectRefused(told);
        fill(key, good);
    }
    for (const char* name : {"", ".a", "a.", "a.b.c", "a b", "settings", "a[b"}) {
        fill("name", name);
        expectRefused("Signal name must have form <msgName>.<signalName>");
    }
    fill("name", "Power.total");
    expectRefused("VSD file " + path + " already has signal with that name (Power.total)");
    store.parsing = true;
    expectRefused("Wait for parse to complete");
    store.parsing = false;

    edit("Virt.Power.first");
    for (const char* input : {"Virt.Power.first", "Virt.Power.total"}) {
        fill("signal_01", input);
        expectRefused("Signal is referring to it self.");
    }
}

TEST_F(EditorTest, WhatItCannotOpenIsTold) {
    const auto expectTold = [&](const std::shared_ptr<Signal>& signal, const std::string& text) {
        dialog.editSignal(signal);
        const auto texts = takeTexts();
        ASSERT_FALSE(texts.empty()) << text;
        EXPECT_EQ(texts.back().find(text), 0U) << texts.back();
    };
    expectTold(store.getSignal("Can.Engine.rpm"), "trying to edit non-virtual signal");
    const auto first = store.getSignal("Virt.Power.first");
    for (const auto& [text, told] : std::vector<std::pair<const char*, std::string>>{
             {"[Power.first]\nmethod=expression\nstep=later\n",
              "Unexpected error when opening signal"},
             {"[Power.first]\nstep=1\n", "Can't find method in VSD file"},
             {"Power", "Could not read VSD file: " + path}}) {
        scratch.write("project.vsd", text);
        expectTold(first, told);
    }
    EXPECT_FALSE(dialog.get_visible());

    // A refusal leaves an open form with the signal that it was about.
    load(kProject);
    edit("Virt.Power.first");
    expectTold(store.getSignal("Virt.Power.total"), "Can't handle method: sum");
    dialog.saveChanges();
    EXPECT_EQ(selected, "Virt.Power.first");
    EXPECT_TRUE(keys().has_group("Power.total"));
}

TEST_F(EditorTest, AProtectedFileLosesNothing) {
    load(kProject + kTop);
    edit("Virt.Power.top");
    present(dialog);
    chmod(path.c_str(), 0444);
    chmod(scratch.path().c_str(), 0755);
    const bool superuser = geteuid() == 0;
    constexpr uid_t kNobody = 65534;
    if (superuser) {
        ASSERT_EQ(seteuid(kNobody), 0);
    }
    expectRefused("Could not store changes to VSD file " + path + ":\n");
    deleteEdited(Gtk::RESPONSE_YES);
    if (superuser) {
        ASSERT_EQ(seteuid(0), 0);
    }
    EXPECT_EQ(project(), kProject + kTop);
    const std::string text = "Could not delete signal from VSD file " + path + ": ";
    EXPECT_EQ(takeTexts().back().find(text), 0U);
    scratch.write("project.vsd", kProject);
    deleteEdited(Gtk::RESPONSE_YES);
    EXPECT_EQ(takeTexts().back(), text + "There is no group Power.top");
    EXPECT_TRUE(dialog.get_visible());
}

// ---- changing and deleting

TEST(VsdTextTest, RemovesOneGroupAndNothingElse) {
    for (const auto& [text, expected] : std::vector<std::pair<const char*, const char*>>{
             {"", ""},
             {"[a]\nx=1", ""},
             {"[ab]\nx=1\n[b]\ny=2\n", "[ab]\nx=1\n[b]\ny=2\n"},
             {"# top\n[a]\nx=1\n# in a\ny=2\n\n# of b\n[b]\nz=3\n", "# top\n\n# of b\n[b]\nz=3\n"},
             {" [a] \r\nx=[b]\r\n[b]\r\nz=3\r\n", "[b]\r\nz=3\r\n"},
             {"[a]\nx=1\n[b]\n[a]\ny=2\n# end\n", "[b]\n"}})
        EXPECT_EQ(removeGroup(text, "a"), expected) << text;
    EXPECT_EQ(appendGroup("[a]\nx=1\n\n\n", "[b]"), "[a]\nx=1\n\n[b]\n");
    EXPECT_EQ(appendGroup("", "[b]\n"), "[b]\n");
}

TEST_F(EditorTest, OthersAndCommentsSurviveARename) {
    edit("Virt.Power.first");
    fill("name", "Power.renamed");
    chmod(path.c_str(), 0640);
    dialog.saveChanges();
    EXPECT_EQ(selected, "Virt.Power.renamed");
    EXPECT_EQ(undated(), kHead + kOthers +
                             "\n[Power.renamed]\nmethod=expression\nstep=100\nexpr=$01 * 2\n"
                             "signal_01=Can.Engine.rpm");
    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(EditorTest, OldSpellingsAndDigitsAreKept) {
    load(kProject +
         "[Old]\nmethod=average\nsignal=Can.Engine.rpm\nstep=10\n"
         "window=20\nfactor=0.00000012345\nminLimit=1\navg=40\n");
    edit("Virt.Virtual.Old");
    EXPECT_EQ(shown("signal_01"), "Can.Engine.rpm");
    EXPECT_EQ(shown("avgWindow"), "40");
    dialog.saveChanges();
    EXPECT_EQ(selected, "Virt.Virtual.Old");
    const auto file = keys();
    EXPECT_EQ(file.get_double("Old", "fact"), 0.00000012345);
    EXPECT_EQ(file.get_double("Old", "minLim"), 1.0);
    EXPECT_EQ(file.get_integer("Old", "avgWindow"), 40);
    EXPECT_FALSE(file.has_key("Old", "signal"));
}

TEST_F(EditorTest, DeletingAsksAndSparesWhatIsUsed) {
    int reloadRequests = 0;
    store.reloadRequested.connect([&] { ++reloadRequests; });
    load(kProject + kTop);
    EXPECT_EQ(usersOf(store, "Virt.Power.total"), std::vector<std::string>{"Virt.Power.top"})
        << "also behind a smoothing window";
    edit("Virt.Power.first");
    dialog.deleteSignal();
    EXPECT_EQ(takeTexts(),
              std::vector<std::string>{"Can't delete signal,  other virtual signals still use it "
                                       "as input:\n\t- Virt.Power.total"});
    edit("Virt.Power.top");
    deleteEdited(Gtk::RESPONSE_NO);
    EXPECT_EQ(project(), kProject + kTop);
    deleteEdited(Gtk::RESPONSE_YES);
    EXPECT_FALSE(keys().has_group("Power.top"));
    EXPECT_TRUE(keys().has_group("Power.total"));
    EXPECT_TRUE(pump([&] { return reloadRequests == 1; }));
}

}  // namespace
}  // namespace trelis::test
