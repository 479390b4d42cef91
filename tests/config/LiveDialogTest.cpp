#include <gtkmm/filechooserdialog.h>

#include <optional>

#include "config/ConnectLiveDialog.h"
#include "config/LiveAddress.h"
#include "desk/Desk.h"
#include "input/LiveConnection.h"
#include "input/LiveRig.h"

namespace trelis::test {
namespace {

class LiveDialogTest : public DeskTest {
  protected:
    LiveDialogTest() {
        wireLiveInputs(store);
        store.liveFilePath = scratch / "last";
    }
    ~LiveDialogTest() override { store.shutdown(); }
    void expectShown(const char* shownTitle, const char* shownAddress, const char* shownKey) {
        EXPECT_EQ(title.get_text(), shownTitle);
        EXPECT_EQ(address.get_text(), shownAddress);
        EXPECT_EQ(key.get_text(), shownKey);
    }
    /// Shows the dialog with the address and the key of a logger that serves the small scenario.
    void serve(const std::string& secret) {
        present(dialog);
        sim::ServeOptions options;
        options.speed = 0;
        options.key = secret;
        logger.emplace(options, [this] { return sim::scenarioFeed(scenario); });
        address.set_text("127.0.0.1:" + std::to_string(logger->server().port()));
        key.set_text(secret);
    }
    void reloadModel() {
        ++reloads;
        store.clearAll();
        buildModel(store, scenario);
    }
    bool shows(const std::string& label) {
        return findNamed<Gtk::Label>(*dialog.get_child(), label) != nullptr;
    }
    bool waitForData() {
        return pump([&] { return store.framesRead > 0 && !dialog.isConnecting(); });
    }

    sim::Scenario scenario = smallScenario();
    std::optional<ServedLogger> logger;
    Gtk::Window parent;
    std::string windowTitle;
    int reloads = 0;
    ConnectLiveDialog dialog{
        parent,
        store,
        settings,
        {[this] { reloadModel(); }, [this](const auto& text) { windowTitle = text; }}};
    Gtk::Entry& title = named<Gtk::Entry>(dialog, "Connection name: ");
    Gtk::Entry& address = named<Gtk::Entry>(dialog, "Logger address: ");
    Gtk::Entry& key = named<Gtk::Entry>(dialog, "Encryption key: ");
    Gtk::Spinner& spinner = named<Gtk::Spinner>(dialog, "Connecting");
    Gtk::Button& connect = named<Gtk::Button>(dialog, "Connect");
};

TEST(ReadPortTest, TakesEveryNotation) {
    for (const auto& [text, port] : std::vector<std::pair<std::string, int>>{
             {"", 777}, {"777", 777}, {"0x309", 777}, {"010", 8}, {"70000", 70000}})
        EXPECT_EQ(readPort(text), port) << text;
    EXPECT_TRUE(takeTexts().empty());
    for (const char* text : {"abc", "0", "-5", "99999999999999999999"}) {
        EXPECT_EQ(readPort(text), 777);
        EXPECT_EQ(takeTexts(), std::vector<std::string>{std::string("Invalid port '") + text +
                                                        "', using 777 (default)"});
    }
}

TEST_F(LiveDialogTest, SavedAndOpenedAgain) {
    present(dialog);
    EXPECT_EQ(dialog.get_title(), "Connect live to logger");
    expectShown("Live connection", "", "");
    title.set_text("Test bench");
    address.set_text("logger1:");
    key.set_text("secret");
    settings.setVsdFile(scratch.write("project.vsd", ""));
    dialog.saveFile(scratch / "bench");
    EXPECT_EQ(scratch.read("bench.tvlive"),
              "TITLE=Test bench\nSERVER=logger1\nPORT=777\nKEY=secret\nVSD=" +
                  scratch / "project.vsd" + "\n");
    EXPECT_EQ(modeOf(scratch / "bench.tvlive"), 0600U);
    EXPECT_EQ(settings.getLivePath(), scratch.path().string());

    dialog.openFile(
        scratch.write("other.tvlive", "TITLE=Other\nSERVER=10.0.0.1\nPORT=7770\nDBC=bus.dbc\n"));
    expectShown("Other", "10.0.0.1:7770", "");
    EXPECT_TRUE(shows("DBC file: " + scratch / "bus.dbc"));
    dialog.openFile(scratch / "bench.tvlive");
    expectShown("Test bench", "logger1", "secret");
    EXPECT_TRUE(shows("VSD file: " + scratch / "project.vsd"));
    EXPECT_FALSE(shows("DBC file: "));
    keepBothShots(dialog, "live");

    dialog.openFile(scratch / "absent.tvlive");
    dialog.saveFile("/no/such/folder/x.tvlive");
    EXPECT_EQ(takeTexts(), (Texts{"Couldn't open " + scratch / "absent.tvlive",
                                  "Couldn't create /no/such/folder/x.tvlive"}));
}

TEST_F(LiveDialogTest, ChoosersOpenAndSave) {
    scratch.write("stored.tvlive", "SERVER=stored\n");
    settings.setLivePath(scratch.path().string());
    present(dialog);
    {
        const DialogAnswer answer(Gtk::RESPONSE_OK, [&](Gtk::Dialog& asked) {
            auto& chooser = dynamic_cast<Gtk::FileChooserDialog&>(asked);
            if (chooser.get_filename() == scratch / "stored.tvlive") return true;
            chooser.set_filename(scratch / "stored.tvlive");
            return false;
        });
        named<Gtk::Button>(dialog, "Open").clicked();
    }
    EXPECT_EQ(address.get_text(), "stored");
    {
        const DialogAnswer answer(Gtk::RESPONSE_CANCEL);
        named<Gtk::Button>(dialog, "Save").clicked();
    }
    EXPECT_FALSE(std::filesystem::exists(scratch / "connection.tvlive"));

    // The name that gets its extension is asked for, too.
    address.set_text("changed");
    for (const int response : {Gtk::RESPONSE_NO, Gtk::RESPONSE_YES}) {
        const DialogAnswer name(Gtk::RESPONSE_OK, [&](Gtk::Dialog& asked) {
            auto& chooser = dynamic_cast<Gtk::FileChooserDialog&>(asked);
            chooser.set_current_name("stored");
            return chooser.get_filename() == scratch / "stored";
        });
        const DialogAnswer question(response, [](Gtk::Dialog& asked) {
            return dynamic_cast<Gtk::MessageDialog*>(&asked) != nullptr;
        });
        named<Gtk::Button>(dialog, "Save").clicked();
        EXPECT_EQ(scratch.read("stored.tvlive").find("changed") != std::string::npos,
                  response == Gtk::RESPONSE_YES);
    }
}

TEST_F(LiveDialogTest, TheFirstShowFillsFromTheLastConnection) {
    scratch.write("last", "TITLE=T\nSERVER=host\nPORT=0x10\nKEY=k=v\nDBC==/x.dbc\n");
    present(dialog);
    expectShown("T", "host:0x10", "k=v");
    EXPECT_TRUE(shows("DBC file: =/x.dbc"));
    dialog.hide();
    address.set_text("typed");
    present(dialog);
    EXPECT_EQ(address.get_text(), "typed") << "only the first time";
}

TEST_F(LiveDialogTest, ARunningConnectionIsShown) {
    store.networkInput = true;
    store.hostName = "running";
    store.port = 778;
    store.decryptionKey = "key";
    present(dialog);
    expectShown("Live connection", "running:778", "key");
    store.networkInput = false;
}

TEST_F(LiveDialogTest, ConnectsWithAKeyAndAgain) {
    store.startWorker();
    serve("a key");
    title.set_text("Bench");
    connect.clicked();
    EXPECT_TRUE(spinner.get_visible());
    EXPECT_FALSE(address.get_sensitive());
    // Frames may be in before the loop hands over the news of the connection.
    ASSERT_TRUE(waitForData());
    EXPECT_FALSE(dialog.get_visible());
    EXPECT_TRUE(address.get_sensitive());
    EXPECT_EQ(windowTitle, "Bench");
    EXPECT_EQ(store.title, "Bench");
    EXPECT_TRUE(store.liveMode);
    EXPECT_NE(scratch.read("last").find("TITLE=Bench\nSERVER=127.0.0.1\n"), std::string::npos);

    // The logger goes and comes back.
    logger.reset();
    serve("");
    dialog.hide();
    store.framesRead = 0;
    dialog.reconnect();
    EXPECT_TRUE(waitForData());
    EXPECT_EQ(reloads, 2);
}

TEST_F(LiveDialogTest, ARefusalKeepsTheDialogOpen) {
    store.startWorker();
    serve("");
    logger.reset();  // nobody listens there any more
    connect.clicked();
    EXPECT_TRUE(pump([&] { return !dialog.isConnecting(); }));
    EXPECT_TRUE(dialog.get_visible());
    EXPECT_TRUE(connect.get_sensitive());
    EXPECT_FALSE(spinner.get_visible());
    EXPECT_TRUE(address.has_focus());
    const auto texts = takeTexts();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.front().find("Network connection failed: "), 0U);

    store.stopNetwork();
    store.dumpToFile = true;
    connect.clicked();
    EXPECT_FALSE(dialog.get_visible());
    EXPECT_FALSE(store.networkInput);
    store.dumpToFile = false;
}

TEST_F(LiveDialogTest, DefinitionsOfTheConnectionAreUsedIfTheyExist) {
    const std::string mine = scratch.write("mine.vsd", "");
    settings.setVsdFile(mine);
    const std::string stored = scratch.write("stored.tvlive", "SERVER=host\nDBC=bus.dbc\n");
    store.hooks.liveConnection = [](Store& owner) { owner.connectionChanged.emit(); };
    store.startWorker();
    const auto connectStored = [&] {
        dialog.openFile(stored);
        dialog.connectToLogger();
        EXPECT_TRUE(pump([&] { return !dialog.isConnecting(); }));
    };
    connectStored();
    EXPECT_EQ(settings.getVsdFile(), mine) << "the stored one is not there";
    scratch.write("bus.dbc", "");
    connectStored();
    EXPECT_EQ(settings.getDbFile(), scratch / "bus.dbc");
    EXPECT_EQ(settings.getVsdFile(), kNoFile);
}

}  // namespace
}  // namespace trelis::test
