// What the window shows: recordings, tables, traces, a CAN interface; chosen or dropped.
#include <gdk/gdkkeysyms.h>
#include <gdk/gdkx.h>
#include <gtkmm/clipboard.h>
#include <gtkmm/entry.h>

#include <thread>

#include "input/LiveRun.h"
#include "plot/WindowRig.h"

namespace trelis {
namespace {

using test::DialogAnswers;

// Times from the first sample on, and values.
std::vector<std::pair<std::uint64_t, double>> samplesOf(const Signal& signal) {
    std::vector<std::pair<std::uint64_t, double>> found;
    for (const Sample& sample : signal.samples().view())
        found.emplace_back(sample.time - signal.samples().front().time, sample.value);
    return found;
}

TEST_F(WindowTest, RecordingsAreChosenAsFilesOrDirectories) {
    const std::string recording = test::contentOf(test::sampleFile("drive_0001.bin"));
    for (const char* name : {"logs/a.lz4", "logs/deep/b.lz4", "logs/deep/c.bin", "logs/deep/d.txt"})
        folder_.write(name, recording);
    folder_.write("empty/notes.txt", "");
    DialogAnswers answers;
    const auto open = [&](unsigned key, const char* name, int response = -5) {
        answers.expectFile(folder_ / name, response);
        test::pressKey(*window_, key, GDK_CONTROL_MASK);
        return store_.logFiles.size();
    };
    EXPECT_EQ(open(GDK_KEY_o, "logs/a.lz4", -6), 0U);
    EXPECT_EQ(open(GDK_KEY_o, "logs/a.lz4"), 1U);
    EXPECT_EQ(settings_.getLogPath(), folder_ / "logs");
    EXPECT_EQ(open(GDK_KEY_d, "logs"), 3U) << "of these extensions, at any depth";
    takeMessages();
    EXPECT_EQ(open(GDK_KEY_d, "empty"), 0U);
    window_->addLogDirectory(folder_ / "missing");
    EXPECT_EQ(takeMessages(), (Texts{"No log files found",
                                     "Failed to open log directory: " + (folder_ / "missing")}));
    EXPECT_EQ(answers.takeTexts(), (Texts{"Select log files", "Select log files",
                                          "Select log directories", "Select log directories"}));
}

TEST_F(WindowTest, TablesAreReadWhenTheyAreOpened) {
    store_.startWorker();
    DialogAnswers answers;
    answers.expectFile(
        folder_.write("bench.csv", "time;speed (km/h);load\n0;1,5;7\n1;2,5;7\n2;3,5;9\n3;4,5;9\n"));
    probe_->choose("File", "Open CSV table");
    waitIdle();
    EXPECT_EQ(samplesOf(*signal("CSV.All.speed")).size(), 4U);
    EXPECT_NO_THROW(signal(kSpeed)) << "the definitions are there, too";
    EXPECT_TRUE(window_->timeBox().isSet());
    const auto isShown = [&](const char* name) {
        signal(name)->setSelected(true);
        test::pressKey(*window_, GDK_KEY_F5);
        waitIdle();
        return signal(name)->hasData.load();
    };
    window_->reload(true);
    EXPECT_FALSE(signal("CSV.All.speed")->hasData);
    EXPECT_TRUE(isShown("CSV.All.speed")) << "the table stays what is shown";
    takeMessages();

    // What is no table is told, and leaves a window that works.
    answers.expectFile(folder_.write("notes.csv", "no table\n"));
    probe_->choose("File", "Open CSV table");
    EXPECT_EQ(takeMessages(),
              Texts{"Couldn't read first 5 line of file " + (folder_ / "notes.csv")});
    EXPECT_FALSE(store_.findInterfaceByName("CSV"));
    window_->openPaths({test::sampleFile("drive_0001.bin")});
    EXPECT_TRUE(isShown(kSpeed));
    EXPECT_EQ(answers.takeTexts(), Texts(2, "Select CSV tables"));
}

TEST_F(WindowTest, ATraceShowsWhatItsRecordingShows) {
    addSampleLogs();
    const auto show = [this] {
        std::vector<std::vector<std::pair<std::uint64_t, double>>> shown;
        const Texts names = {kSpeed, "Body.Steering.SteeringAngle", "Virt.Engine.TorqueCalm",
                             "ST_Powertrain.MsgRate.EngineData"};
        for (const std::string& name : names)
            signal(name)->setSelected(true);
        test::pressKey(*window_, GDK_KEY_F5);
        waitIdle();
        for (const std::string& name : names)
            shown.push_back(samplesOf(*signal(name)));
        return shown;
    };
    store_.startWorker();
    const auto recorded = show();
    for (const auto& samples : recorded)
        EXPECT_GT(samples.size(), 5U);
    store_.dumpLogsToFile(folder_ / "drive.asc", 0, ~0ULL);
    waitIdle();
    store_.clearSelection();

    DialogAnswers answers;
    answers.expectFile(folder_ / "drive.asc");
    probe_->choose("File", "Open ASC trace");
    EXPECT_EQ(show(), recorded);
    takeMessages();
    probe_->choose("Tools", "Export as ASC");
    EXPECT_EQ(takeMessages(), Texts{"CAN dump is only possible when viewing data from log files"});
    EXPECT_EQ(answers.takeTexts(), Texts{"Select ASC traces"});
}

TEST_F(WindowTest, ACanInterfaceIsAskedForByName) {
    DialogAnswers answers;
    const auto open = [&](const char* name, int response) {
        answers.expect(response, [name](Gtk::Dialog& dialog) {
            test::findChild<Gtk::Entry>(dialog)->set_text(name);
            return true;
        });
        probe_->choose("File", "Open CAN interface");
        return takeMessages();
    };
    EXPECT_EQ(open("can0", Gtk::RESPONSE_CANCEL), Texts{});
    EXPECT_EQ(open("wlan0", Gtk::RESPONSE_OK), Texts{"'wlan0' is no CAN interface, such as can0"});
    // Where there are no CAN sockets at all, that is what is told.
    const std::string missing = open("can4711", Gtk::RESPONSE_OK).at(0);
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
    EXPECT_NO_THROW(signal(kSpeed));
    probe_->tick();
    ++store_.framesRead;
    probe_->tick();
    EXPECT_TRUE(window_->isSpinning());
    window_->reloadCommand();  // opens it once more
    ASSERT_TRUE(test::pump([&] { return runs == 2; }));
    EXPECT_EQ(store_.dongleChannel, 3);
    window_->openPaths({test::sampleFile("drive_0001.bin")});
    EXPECT_FALSE(store_.liveMode || store_.dongleMode);
    EXPECT_TRUE(store_.hasLogFiles());

    // So does a connection to a logger, and it forgets tables.
    store_.csvMode = true;
    store_.networkInput = store_.liveMode = true;
    window_->reload(false);
    EXPECT_FALSE(store_.csvMode || store_.hasLogFiles());
    store_.networkInput = store_.liveMode = false;
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
    std::string connection;
    WindowCommands commands;
    commands.openStoredConnection = [&](const std::string& path) { connection = path; };
    window_->setCommands(std::move(commands));
    const auto sample = [](const char* name) { return "file://" + test::sampleFile(name); };
    const std::string log =
        folder_.write("my logs/a.bin", test::contentOf(test::sampleFile("drive_0001.bin")));
    const std::string folder = "file://" + (folder_ / "my%20logs");
    drop(*window_, {sample("drive_powertrain.dbc")});
    EXPECT_NO_THROW(signal("Can.EngineData.EngineSpeed"));
    drop(*window_, {sample("drive_0001.bin"), sample("drive.vsd"), sample("drive_0002.bin")});
    EXPECT_EQ(store_.logFiles.size(), 2U);
    EXPECT_NO_THROW(signal(kSpeed));
    drop(*window_, {folder});
    EXPECT_EQ(store_.logFiles, Texts{log});
    drop(*window_, {"file:///somewhere/Bench.TVLIVE"});
    EXPECT_EQ(connection, "/somewhere/Bench.TVLIVE");
    EXPECT_EQ(store_.logFiles, Texts{log});
    takeMessages();

    drop(*window_, {"http://example.com/a.bin"});
    EXPECT_EQ(takeMessages(), Texts{"Only local files can be opened: http://example.com/a.bin"});
    drop(*window_, {"file:///nowhere/a.ASC", sample("drive_0001.bin")});
    EXPECT_TRUE(store_.ascMode);
    EXPECT_EQ(store_.logFiles, Texts{"/nowhere/a.ASC"});
    EXPECT_EQ(takeMessages().front(),
              test::sampleFile("drive_0001.bin") + " is of another kind, skipping");
    store_.parsing = true;
    drop(*window_, {folder});
    store_.parsing = false;
    EXPECT_EQ(takeMessages(), Texts{"Wait for parse to complete"});
    EXPECT_TRUE(store_.ascMode);
}

}  // namespace
}  // namespace trelis
