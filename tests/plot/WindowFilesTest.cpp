// Definitions, reloads and signal lists, from the window.
#include <gdk/gdkkeysyms.h>

#include "plot/WindowRig.h"

namespace trelis {
namespace {

using test::contentOf;
using test::DialogAnswers;

TEST_F(WindowTest, OneDefinitionFileIsLoadedAtATime) {
    int reloaded = 0;
    auto connection = window_->windowReloaded.connect([&] { ++reloaded; });
    DialogAnswers answers;
    const std::string dbc = test::sampleFile("drive_powertrain.dbc");
    for (const int response : {-6, -5}) {
        EXPECT_EQ(settings_.getDbFile(), kNoFile);
        answers.expectFile(dbc, response);
        probe_->choose("File", "Load DBC file");
    }
    EXPECT_EQ(settings_.getDbFile(), dbc);
    EXPECT_EQ(settings_.getVsdFile(), kNoFile);
    EXPECT_NO_THROW(signal("Can.EngineData.EngineSpeed"));
    test::pumpPending();
    EXPECT_EQ(reloaded, 1);
    connection.disconnect();

    answers.expectFile(test::sampleFile("drive.vsd"));
    test::pressKey(*window_, GDK_KEY_l, GDK_CONTROL_MASK);
    EXPECT_EQ(settings_.getDbFile(), kNoFile);
    EXPECT_NO_THROW(signal(kSpeed));
    store_.parsing = true;
    probe_->choose("File", "Load DBC file");
    store_.parsing = false;
    EXPECT_EQ(takeMessages(), Texts{"Wait for parse to complete"});
    EXPECT_EQ(answers.takeTexts(),
              (Texts{"Select DBC file", "Select DBC file", "Select VSD file"}));
}

TEST_F(WindowTest, NewDefinitionFilesAskBeforeTheyReplace) {
    const std::string file = folder_.write("mine.vsd", "precious");
    settings_.setDefaultEditor("/bin/true");
    DialogAnswers answers;
    for (const int response : {int{Gtk::RESPONSE_NO}, int{Gtk::RESPONSE_YES}}) {
        EXPECT_EQ(contentOf(file), "precious");
        EXPECT_EQ(settings_.getVsdFile(), test::sampleFile("drive.vsd"));
        answers.expectFile(file);
        answers.expect(response);
        probe_->choose("File", "New VSD file");
    }
    EXPECT_EQ(answers.takeTexts().back(),
              "|\"mine.vsd\" already exists, do you want to overwrite it?|");
    EXPECT_TRUE(contentOf(file).starts_with("# Example settings file\n[settings]\n"));
    EXPECT_EQ(settings_.getVsdFile(), file);
    takeMessages();

    // A name without its extension gets it; what cannot be written is told.
    answers.expectFile("/proc/new");
    probe_->choose("File", "New VSD file");
    EXPECT_EQ(takeMessages(), Texts{"Couldn't create new VSD file: /proc/new.vsd"});
    EXPECT_EQ(settings_.getVsdFile(), file);
}

TEST_F(WindowTest, TheEditorGetsTheLoadedFile) {
    const std::string seen = folder_ / "seen";
    const std::string script =
        folder_.write("edit or", "#!/bin/sh\nprintf %s \"$1\" >'" + seen + "'\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    settings_.setDefaultEditor(script);
    probe_->choose("File", "Edit loaded VSD/DBC");
    EXPECT_TRUE(test::pump([&] { return contentOf(seen) == test::sampleFile("drive.vsd"); }));
    settings_.setVsdFile(kNoFile);
    probe_->choose("File", "Edit loaded VSD/DBC");
    EXPECT_EQ(takeMessages(), Texts{"Couldn't open VSD/DBC file for editing. None loaded."});
    std::filesystem::remove(script);
    window_->openInEditor("x");
    EXPECT_TRUE(takeMessages().at(0).starts_with("Couldn't execute " + script));
}

TEST_F(WindowTest, SelectionsGoToFilesAndBack) {
    signal(kSpeed)->setSelected(true);
    DialogAnswers answers;
    answers.expectFile(folder_ / "engine");
    probe_->choose("Signal list", "Store signals to file");
    const std::string stored = contentOf(folder_ / "engine.tvlist");
    EXPECT_NE(stored.find(kSpeed), std::string::npos);
    store_.clearSelection();
    answers.expectFile(folder_ / "engine.tvlist");
    answers.expect(Gtk::RESPONSE_NO);
    probe_->choose("Signal list", "Store signals to file");
    EXPECT_EQ(contentOf(folder_ / "engine.tvlist"), stored);
    answers.expectFile(folder_ / "engine.tvlist");
    probe_->choose("Signal list", "Restore signals from file");
    EXPECT_TRUE(signal(kSpeed)->selected);
    EXPECT_EQ(answers.takeTexts(),
              (Texts{"Store signal list to file", "Store signal list to file",
                     "|\"engine.tvlist\" already exists, do you want to overwrite it?|",
                     "Select signal list file"}));
}

TEST_F(WindowTest, ReloadDropsTheModelAndBringsTheSelectionBack) {
    addSampleLogs();
    signal(kSpeed)->setSelected(true);
    startWorker();
    const auto old = signal(kSpeed);
    EXPECT_TRUE(old->hasData);
    EXPECT_TRUE(window_->timeBox().isSet());
    probe_->choose("Signal list", "Store selected signals");
    store_.clearSelection();
    probe_->choose("File", "Reload VSD/DBC file");
    EXPECT_NE(signal(kSpeed), old);
    EXPECT_TRUE(signal(kSpeed)->selected);
    EXPECT_FALSE(signal(kSpeed)->hasData);
    EXPECT_FALSE(window_->timeBox().isSet());
    EXPECT_TRUE(store_.hasLogFiles());

    // A file that cannot be read in the middle of it leaves a usable window.
    settings_.setVsdFile(folder_.write("broken.vsd", "[settings\nno key file"));
    takeMessages();
    window_->reload(true);
    EXPECT_FALSE(takeMessages().empty());
    EXPECT_LE(probe_->dataList().get_model()->children().size(), 1U);
}

}  // namespace
}  // namespace trelis
