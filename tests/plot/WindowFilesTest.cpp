// Loading from the window: dialogs, dropped files, reloads.
#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>

#include <fstream>
#include <sstream>

#include "model/Message.h"
#include "model/Signal.h"
#include "plot/WindowRig.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
using test::DialogAnswers;

constexpr const char* kSpeed = "Powertrain.EngineData.EngineSpeed";

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST_F(WindowTest, OneDefinitionFileIsLoadedAtATime) {
    test::present(*window_);
    bool reloaded = false;
    auto connection = window_->windowReloaded.connect([&] { reloaded = true; });
    DialogAnswers answers;
    const std::string dbc = test::sampleFile("drive_powertrain.dbc");
    answers.expectFile(dbc, -6);
    probe_->choose("File", "Load DBC file");
    EXPECT_EQ(settings_.getDbFile(), kNoFile);
    answers.expectFile(dbc);
    probe_->choose("File", "Load DBC file");
    EXPECT_EQ(settings_.getDbFile(), dbc);
    EXPECT_EQ(settings_.getVsdFile(), kNoFile);
    EXPECT_NO_THROW(signal("Can.EngineData.EngineSpeed"));
    test::pumpPending();
    EXPECT_TRUE(reloaded);
    connection.disconnect();

    answers.expectFile(test::sampleFile("drive.vsd"));
    test::pressKey(*window_, GDK_KEY_l, GDK_CONTROL_MASK);
    EXPECT_EQ(settings_.getDbFile(), kNoFile);
    EXPECT_NO_THROW(signal(kSpeed));
    EXPECT_EQ(answers.takeTexts(),
              (Texts{"Select DBC file", "Select DBC file", "Select VSD file"}));

    store_.parsing = true;
    probe_->choose("File", "Load DBC file");
    store_.parsing = false;
    EXPECT_EQ(takeMessages(), (Texts{"Wait for parse to complete"}));
    EXPECT_EQ(answers.takeTexts(), Texts{});
}

TEST_F(WindowTest, RecordingsAreChosenAsFilesOrDirectories) {
    test::present(*window_);
    fs::create_directories(folder_ / "logs/deep");
    fs::create_directories(folder_ / "empty");
    fs::copy_file(test::sampleFile("drive_0001.bin"), folder_ / "logs/a.lz4");
    fs::copy_file(test::sampleFile("drive_0002.bin"), folder_ / "logs/deep/b.lz4");
    fs::copy_file(test::sampleFile("drive_0002.bin"), folder_ / "logs/deep/c.bin");
    DialogAnswers answers;
    answers.expectFile(folder_ / "logs/a.lz4");
    test::pressKey(*window_, GDK_KEY_o, GDK_CONTROL_MASK);
    EXPECT_EQ(store_.logFiles.size(), 1U);
    EXPECT_EQ(settings_.getLogPath(), folder_ / "logs");
    answers.expectFile(folder_ / "logs");
    test::pressKey(*window_, GDK_KEY_d, GDK_CONTROL_MASK);
    EXPECT_EQ(store_.logFiles.size(), 2U);  // of that extension, at any depth
    static_cast<void>(takeMessages());
    answers.expectFile(folder_ / "empty");
    probe_->choose("File", "Open log directory");
    EXPECT_EQ(takeMessages(), (Texts{"No log files found"}));
    EXPECT_FALSE(store_.hasLogFiles());
    window_->addLogDirectory(folder_ / "missing");
    EXPECT_EQ(takeMessages(), (Texts{"Failed to open log directory: " + (folder_ / "missing")}));
    EXPECT_EQ(answers.takeTexts(),
              (Texts{"Select log files", "Select log directories", "Select log directories"}));
}

TEST_F(WindowTest, NewDefinitionFilesAskBeforeTheyReplace) {
    test::present(*window_);
    const std::string file = folder_ / "mine.vsd";
    std::ofstream(file) << "precious";
    settings_.setDefaultEditor("/bin/true");
    DialogAnswers answers;
    answers.expectFile(file);
    answers.expect(Gtk::RESPONSE_NO);
    probe_->choose("File", "New VSD file");
    EXPECT_EQ(contentOf(file), "precious");
    EXPECT_EQ(settings_.getVsdFile(), test::sampleFile("drive.vsd"));
    EXPECT_EQ(answers.takeTexts().back(),
              "|\"mine.vsd\" already exists, do you want to overwrite it?|");
    answers.expectFile(file);
    answers.expect(Gtk::RESPONSE_YES);
    probe_->choose("File", "New VSD file");
    EXPECT_EQ(contentOf(file).substr(0, 35), "# Example settings file\n[settings]\n");
    EXPECT_EQ(settings_.getVsdFile(), file);
    static_cast<void>(takeMessages());

    // A name without its extension gets it; what cannot be written is told.
    answers.expectFile("/proc/new");
    probe_->choose("File", "New VSD file");
    EXPECT_EQ(takeMessages(), (Texts{"Couldn't create new VSD file: /proc/new.vsd"}));
    EXPECT_EQ(settings_.getVsdFile(), file);
}

TEST_F(WindowTest, TheEditorGetsTheLoadedFile) {
    const std::string seen = folder_ / "seen";
    const std::string script = folder_ / "edit or";
    std::ofstream(script) << "#!/bin/sh\nprintf %s \"$1\" >'" << seen << "'\n";
    fs::permissions(script, fs::perms::owner_all);
    settings_.setDefaultEditor(script);
    probe_->choose("File", "Edit loaded VSD/DBC");
    EXPECT_TRUE(test::pump([&] { return contentOf(seen) == test::sampleFile("drive.vsd"); }));
    settings_.setVsdFile(kNoFile);
    probe_->choose("File", "Edit loaded VSD/DBC");
    fs::remove(script);
    window_->openInEditor("x");
    const auto texts = takeMessages();
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], "Couldn't open VSD/DBC file for editing. None loaded.");
    EXPECT_EQ(texts[1].substr(0, 17 + script.size()), "Couldn't execute " + script);
}

TEST_F(WindowTest, SelectionsGoToFilesAndBack) {
    test::present(*window_);
    signal(kSpeed)->setSelected(true);
    DialogAnswers answers;
    answers.expectFile(folder_ / "engine");
    probe_->choose("Signal list", "Store signals to file");
    EXPECT_TRUE(fs::exists(folder_ / "engine.tvlist"));
    store_.clearSelection();
    answers.expectFile(folder_ / "engine.tvlist");
    probe_->choose("Signal list", "Restore signals from file");
    EXPECT_TRUE(signal(kSpeed)->selected);
    EXPECT_EQ(answers.takeTexts(), (Texts{"Store signal list to file", "Select signal list file"}));
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
    EXPECT_EQ(probe_->dropdownSignal(), nullptr);

    // A file that cannot be read in the middle of it leaves a usable window.
    std::ofstream(folder_ / "broken.vsd") << "[settings\nno key file";
    settings_.setVsdFile(folder_ / "broken.vsd");
    static_cast<void>(takeMessages());
    window_->reload(true);
    EXPECT_FALSE(takeMessages().empty());
    EXPECT_TRUE(probe_->dataList().get_model()->children().size() <= 1);
}

TEST_F(WindowTest, LiveReloadsReconnect) {
    int reconnected = 0;
    WindowCommands commands;
    commands.reconnectLive = [&] { ++reconnected; };
    window_->setCommands(std::move(commands));
    store_.liveMode = true;
    store_.framesRead = 1;
    probe_->tick();
    store_.framesRead = 2;
    probe_->tick();
    window_->reloadCommand();
    EXPECT_EQ(reconnected, 1);
    EXPECT_TRUE(store_.liveMode);
    for (int i = 0; i < 3; ++i)
        probe_->tick();
    window_->reloadCommand();  // nothing comes any more: the connection is given up
    EXPECT_EQ(reconnected, 1);
    EXPECT_FALSE(store_.liveMode);
}

TEST_F(WindowTest, DroppedFilesDoWhatTheMenuDoes) {
    std::string connection;
    WindowCommands commands;
    commands.openStoredConnection = [&](const std::string& path) { connection = path; };
    window_->setCommands(std::move(commands));
    window_->openPaths({test::sampleFile("drive_powertrain.dbc")});
    EXPECT_NO_THROW(signal("Can.EngineData.EngineSpeed"));
    window_->openPaths({test::sampleFile("drive_0001.bin"), test::sampleFile("drive.vsd"),
                        test::sampleFile("drive_0002.bin")});
    EXPECT_EQ(store_.logFiles.size(), 2U);
    EXPECT_NO_THROW(signal(kSpeed));
    fs::create_directories(folder_ / "logs");
    fs::copy_file(test::sampleFile("drive_0001.bin"), folder_ / "logs/a.lz4");
    window_->openPaths({folder_ / "logs"});
    EXPECT_EQ(store_.logFiles, (Texts{folder_ / "logs/a.lz4"}));
    window_->openPaths({"/somewhere/Bench.TVLIVE"});
    EXPECT_EQ(connection, "/somewhere/Bench.TVLIVE");
    EXPECT_EQ(store_.logFiles.size(), 1U);
    static_cast<void>(takeMessages());
    store_.parsing = true;
    window_->openPaths({folder_ / "logs"});
    store_.parsing = false;
    EXPECT_EQ(takeMessages(), (Texts{"Wait for parse to complete"}));
}

TEST_F(WindowTest, ADumpGoesToTheChosenFile) {
    addSampleLogs();
    signal(kSpeed)->setSelected(true);
    startWorker();
    test::present(*window_);
    DialogAnswers answers;
    answers.expectFile(folder_ / "trace.asc");
    store_.leftRuler = static_cast<std::int64_t>(store_.lastTime) - 1000;
    store_.rightRuler = static_cast<std::int64_t>(store_.lastTime) - 2000;
    probe_->choose("Tools", "Export as ASC");
    waitIdle();
    const std::string text = contentOf(folder_ / "trace.asc");
    EXPECT_EQ(text.substr(0, 5), "date ");
    EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 50);
    EXPECT_EQ(takeMessages(), (Texts{"Data written to " + (folder_ / "trace.asc")}));
}

// Views, parses and reloads meet in any order; the sanitizers look for torn data.
TEST_F(WindowTest, ReloadsAndSelectionsWorkAtAnyMoment) {
    constexpr int kRounds = 100;
    test::present(*window_);
    addSampleLogs();
    startWorker();
    const auto bounds = [this] {
        return std::pair(store_.intervalStart.load(), store_.intervalEnd.load());
    };
    for (int round = 0; round < kRounds; ++round) {
        for (const char* name : {kSpeed, "Powertrain.EngineData.EngineTorque"})
            signal(name)->setSelected(true);
        store_.requestParse();
        for (int turn = 0; turn < round % 7; ++turn)
            Glib::MainContext::get_default()->iteration(false);
        waitIdle();
        const auto [start, end] = bounds();
        window_->timeBox().setInterval(start + static_cast<std::uint64_t>(round), end, true);
        for (int turn = 0; turn < round % 5; ++turn)
            Glib::MainContext::get_default()->iteration(false);
        if (round % 3 == 0) {
            signal(kSpeed)->setSelected(false);
            store_.requestRedraw();
        } else {
            window_->reload(true);
        }
    }
    waitIdle();
    static_cast<void>(takeMessages());
}

}  // namespace
}  // namespace trelis
