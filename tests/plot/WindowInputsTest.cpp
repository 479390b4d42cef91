// What the window shows: recordings, tables, traces, a CAN interface; chosen or dropped.
#include <gdk/gdkkeysyms.h>
#include <gdk/gdkx.h>
#include <gtkmm/clipboard.h>
#include <gtkmm/entry.h>

#include <fstream>
#include <thread>

#include "input/LiveRun.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/WindowRig.h"

namespace trelis {
namespace {

namespace fs = std::filesystem;
using test::DialogAnswers;

// Times from the first sample on, and values.
std::vector<std::pair<std::uint64_t, double>> samplesOf(const Signal& signal) {
    std::vector<std::pair<std::uint64_t, double>> found;
    for (const Sample& sample : signal.samples().view())
        found.emplace_back(sample.time - signal.samples().front().time, sample.value);
    return found;
}

TEST_F(WindowTest, RecordingsAreChosenAsFilesOrDirectories) {
    test::present(*window_);
    fs::create_directories(folder_ / "logs/deep");
    fs::create_directories(folder_ / "empty");
    fs::copy_file(test::sampleFile("drive_0001.bin"), folder_ / "logs/a.lz4");
    fs::copy_file(test::sampleFile("drive_0002.bin"), folder_ / "logs/deep/b.lz4");
    fs::copy_file(test::sampleFile("drive_0002.bin"), folder_ / "logs/deep/c.bin");
    fs::copy_file(test::sampleFile("drive_0002.bin"), folder_ / "logs/deep/d.txt");
    DialogAnswers answers;
    answers.expectFile(folder_ / "logs/a.lz4", -6);
    test::pressKey(*window_, GDK_KEY_o, GDK_CONTROL_MASK);
    EXPECT_FALSE(store_.hasLogFiles());
    answers.expectFile(folder_ / "logs/a.lz4");
    test::pressKey(*window_, GDK_KEY_o, GDK_CONTROL_MASK);
    EXPECT_EQ(store_.logFiles.size(), 1U);
    EXPECT_EQ(settings_.getLogPath(), folder_ / "logs");
    answers.expectFile(folder_ / "logs");
    test::pressKey(*window_, GDK_KEY_d, GDK_CONTROL_MASK);
    EXPECT_EQ(store_.logFiles.size(), 3U);  // of these extensions, at any depth
    static_cast<void>(takeMessages());
    answers.expectFile(folder_ / "empty");
    probe_->choose("File", "Open log directory");
    EXPECT_EQ(takeMessages(), (Texts{"No log files found"}));
    EXPECT_FALSE(store_.hasLogFiles());
    window_->addLogDirectory(folder_ / "missing");
    EXPECT_EQ(takeMessages(), (Texts{"Failed to open log directory: " + (folder_ / "missing")}));
    EXPECT_EQ(answers.takeTexts(), (Texts{"Select log files", "Select log files",
                                          "Select log directories", "Select log directories"}));
}

TEST_F(WindowTest, TablesAreReadWhenTheyAreOpened) {
    test::present(*window_);
    store_.startWorker();
    std::ofstream(folder_ / "bench.csv") << "time;speed (km/h);load\n0;1,5;7\n1;2,5;7\n2;3,5;9\n"
                                            "3;4,5;9\n";
    std::ofstream(folder_ / "notes.csv") << "no table\n";
    DialogAnswers answers;
    answers.expectFile(folder_ / "bench.csv");
    probe_->choose("File", "Open CSV table");
    waitIdle();
    EXPECT_EQ(samplesOf(*signal("CSV.All.speed")),
              (std::vector<std::pair<std::uint64_t, double>>{
                  {0, 1.5}, {1000, 2.5}, {2000, 3.5}, {3000, 4.5}}));
    EXPECT_EQ(signal("CSV.All.speed")->unit, "km/h");
    EXPECT_NO_THROW(signal(kSpeed)) << "the definitions are there, too";
    EXPECT_EQ(store_.intervalEnd - store_.intervalStart, 3000U);
    window_->reload(true);  // the table stays what is shown
    EXPECT_FALSE(signal("CSV.All.speed")->hasData);
    signal("CSV.All.speed")->setSelected(true);
    test::pressKey(*window_, GDK_KEY_F5);
    waitIdle();
    EXPECT_TRUE(signal("CSV.All.speed")->hasData);
    static_cast<void>(takeMessages());

    // What is no table is told, and leaves a window that works.
    answers.expectFile(folder_ / "notes.csv");
    probe_->choose("File", "Open CSV table");
    EXPECT_EQ(takeMessages(),
              (Texts{"Couldn't read first 5 line of file " + (folder_ / "notes.csv")}));
    EXPECT_FALSE(store_.findInterfaceByName("CSV"));
    window_->openPaths({test::sampleFile("drive_0001.bin")});
    signal(kSpeed)->setSelected(true);
    test::pressKey(*window_, GDK_KEY_F5);
    waitIdle();
    EXPECT_TRUE(signal(kSpeed)->hasData);
    EXPECT_EQ(answers.takeTexts(), (Texts{"Select CSV tables", "Select CSV tables"}));
}

TEST_F(WindowTest, ATraceShowsWhatItsRecordingShows) {
    test::present(*window_);
    addSampleLogs();
    const Texts names = {kSpeed, "Body.Steering.SteeringAngle", "Virt.Engine.TorqueCalm",
                         "ST_Powertrain.MsgRate.EngineData"};
    const auto selectAll = [&] {
        for (const std::string& name : names)
            signal(name)->setSelected(true);
    };
    selectAll();
    startWorker();
    std::vector<std::vector<std::pair<std::uint64_t, double>>> recorded;
    for (const std::string& name : names)
        recorded.push_back(samplesOf(*signal(name)));
    store_.dumpLogsToFile(folder_ / "drive.asc", 0, ~0ULL);
    waitIdle();
    store_.clearSelection();

    DialogAnswers answers;
    answers.expectFile(folder_ / "drive.asc");
    probe_->choose("File", "Open ASC trace");
    selectAll();
    test::pressKey(*window_, GDK_KEY_F5);
    waitIdle();
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_GT(recorded[i].size(), 5U) << names[i];
        EXPECT_EQ(samplesOf(*signal(names[i])), recorded[i]) << names[i];
    }
    EXPECT_TRUE(window_->timeBox().isSet());
    static_cast<void>(takeMessages());
    test::pressKey(window_->subPlot(), GDK_KEY_a, GDK_CONTROL_MASK);
    EXPECT_EQ(takeMessages(),
              (Texts{"CAN dump is only possible when viewing data from log files"}));
    EXPECT_EQ(answers.takeTexts(), (Texts{"Select ASC traces"}));
}

TEST_F(WindowTest, ACanInterfaceIsAskedForByName) {
    test::present(*window_);
    DialogAnswers answers;
    const auto open = [&](const char* name, int response) {
        answers.expect(response, [name](Gtk::Dialog& dialog) {
            test::findChild<Gtk::Entry>(dialog)->set_text(name);
            return true;
        });
        probe_->choose("File", "Open CAN interface");
        const auto told = takeMessages();
        return told.empty() ? std::string() : told.front();
    };
    EXPECT_EQ(open("can0", Gtk::RESPONSE_CANCEL), "");
    EXPECT_EQ(open("wlan0", Gtk::RESPONSE_OK), "'wlan0' is no CAN interface, such as can0");
    // Where there are no CAN sockets at all, that is what is told.
    const std::string missing = open("can4711", Gtk::RESPONSE_OK);
    EXPECT_TRUE(missing == "There is no CAN interface can4711" ||
                missing.starts_with("This system has no CAN sockets: "))
        << missing;
    EXPECT_FALSE(store_.liveMode);
    EXPECT_EQ(answers.takeTexts(), Texts(3, "Open CAN interface"));
}

TEST_F(WindowTest, ACanInterfaceRunsUntilAnotherInputTakesItsPlace) {
    std::atomic<int> runs = 0;
    store_.hooks.canSocket = [&runs](Store& store) {
        const std::lock_guard live(store.liveMutex);
        ++runs;
        while (!liveStopAsked(store))
            std::this_thread::yield();
    };
    store_.startWorker();
    window_->startCan(3);
    ASSERT_TRUE(test::pump([&] { return runs == 1; }));
    EXPECT_TRUE(store_.liveMode);
    EXPECT_EQ(store_.dongleChannel, 3);
    EXPECT_NO_THROW(signal(kSpeed));
    probe_->tick();
    ++store_.framesRead;
    probe_->tick();
    EXPECT_TRUE(window_->isSpinning());
    window_->reloadCommand();  // opens it once more
    ASSERT_TRUE(test::pump([&] { return runs == 2; }));
    EXPECT_EQ(store_.dongleChannel, 3);
    window_->openPaths({test::sampleFile("drive_0001.bin")});
    EXPECT_FALSE(store_.liveMode);
    EXPECT_FALSE(store_.dongleMode);
    EXPECT_TRUE(store_.hasLogFiles());

    // So does a connection to a logger, and it forgets tables.
    store_.csvMode = true;
    store_.networkInput = store_.liveMode = true;
    window_->reload(false);
    EXPECT_FALSE(store_.csvMode);
    EXPECT_FALSE(store_.hasLogFiles());
    store_.networkInput = store_.liveMode = false;
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

// As a file manager sends them: the data of a selection, in the toolkit's own signal.
void drop(Gtk::Window& window, const Texts& uris) {
    std::string text;
    for (const std::string& uri : uris)
        text += uri + "\r\n";
    const auto clipboard = Gtk::Clipboard::get(GDK_SELECTION_CLIPBOARD);
    clipboard->set(
        {Gtk::TargetEntry("text/uri-list")},
        [&text](Gtk::SelectionData& data, guint) { data.set("text/uri-list", text); }, [] {});
    const Gtk::SelectionData data = clipboard->wait_for_contents("text/uri-list");
    const auto context =
        Glib::wrap(GDK_DRAG_CONTEXT(g_object_new(GDK_TYPE_X11_DRAG_CONTEXT, nullptr)));
    g_signal_emit_by_name(window.gobj(), "drag-data-received", context->gobj(), 10, 10, data.gobj(),
                          0U, 0U);
    test::pumpPending();
}

TEST_F(WindowTest, DroppedFilesDoWhatTheMenuDoes) {
    test::present(*window_);
    std::string connection;
    WindowCommands commands;
    commands.openStoredConnection = [&](const std::string& path) { connection = path; };
    window_->setCommands(std::move(commands));
    const auto uri = [](const std::string& path) { return "file://" + path; };
    const auto sample = [&](const char* name) { return uri(test::sampleFile(name)); };
    drop(*window_, {sample("drive_powertrain.dbc")});
    EXPECT_NO_THROW(signal("Can.EngineData.EngineSpeed"));
    drop(*window_, {sample("drive_0001.bin"), sample("drive.vsd"), sample("drive_0002.bin")});
    EXPECT_EQ(store_.logFiles.size(), 2U);
    EXPECT_NO_THROW(signal(kSpeed));
    fs::create_directories(folder_ / "my logs");
    fs::copy_file(test::sampleFile("drive_0001.bin"), folder_ / "my logs/a.bin");
    drop(*window_, {uri(folder_ / "my%20logs")});
    EXPECT_EQ(store_.logFiles, (Texts{folder_ / "my logs/a.bin"}));
    drop(*window_, {uri("/somewhere/Bench.TVLIVE")});
    EXPECT_EQ(connection, "/somewhere/Bench.TVLIVE");
    EXPECT_EQ(store_.logFiles.size(), 1U);
    static_cast<void>(takeMessages());

    drop(*window_, {"http://example.com/a.bin"});
    EXPECT_EQ(takeMessages(), (Texts{"Only local files can be opened: http://example.com/a.bin"}));
    drop(*window_, {uri("/nowhere/a.ASC"), sample("drive_0001.bin")});
    EXPECT_TRUE(store_.ascMode);
    EXPECT_EQ(store_.logFiles, (Texts{"/nowhere/a.ASC"}));
    EXPECT_EQ(takeMessages().front(),
              test::sampleFile("drive_0001.bin") + " is of another kind, skipping");
    static_cast<void>(takeMessages());
    store_.parsing = true;
    drop(*window_, {uri(folder_ / "my%20logs")});
    store_.parsing = false;
    EXPECT_EQ(takeMessages(), (Texts{"Wait for parse to complete"}));
    EXPECT_TRUE(store_.ascMode);
}

}  // namespace
}  // namespace trelis
