#include <arpa/inet.h>
#include <gtkmm/filechooserdialog.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <span>

#include "config/ConnectLiveDialog.h"
#include "config/LiveAddress.h"
#include "desk/Desk.h"
#include "input/LiveConnection.h"
#include "input/LiveRig.h"

namespace trelis {

class LiveDialogProbe {
  public:
    explicit LiveDialogProbe(ConnectLiveDialog& dialog) : dialog_(dialog) {}
    Gtk::Entry& title() { return dialog_.title_; }
    Gtk::Entry& address() { return dialog_.address_; }
    Gtk::Entry& key() { return dialog_.key_; }
    Gtk::Button& open() { return dialog_.openButton_; }
    Gtk::Button& save() { return dialog_.saveButton_; }
    Gtk::Button& connect() { return dialog_.connectButton_; }
    Gtk::Spinner& spinner() { return dialog_.spinner_; }
    std::string& vsdFile() { return dialog_.vsdFile_; }
    std::string& dbcFile() { return dialog_.dbcFile_; }
    void expectFirstShow() { dialog_.loadLastConnection_ = true; }

  private:
    ConnectLiveDialog& dialog_;
};

namespace test {
namespace {

class LiveDialogTest : public DeskTest {
  protected:
    LiveDialogTest() {
        wireLiveInputs(store);
        store.liveFilePath = scratch.file("last");
    }
    ~LiveDialogTest() override { store.shutdown(); }
    /// Shows the dialog with the address and the key of a logger that serves the small scenario.
    void serve(const std::string& key) {
        present(dialog);
        sim::ServeOptions options;
        options.speed = 0;
        options.key = key;
        logger.emplace(options, [this] { return sim::scenarioFeed(scenario); });
        probe.address().set_text("127.0.0.1:" + std::to_string(logger->server().port()));
        probe.key().set_text(key);
    }
    void reloadModel() {
        ++reloads;
        store.clearAll();
        buildModel(store, scenario);
    }
    bool waitForData() {
        return pump([&] { return store.framesRead > 0 && !dialog.isConnecting(); });
    }

    sim::Scenario scenario = smallScenario();
    std::optional<ServedLogger> logger;
    Gtk::Window parent;
    std::string title;
    int reloads = 0;
    ConnectLiveDialog dialog{
        parent,
        store,
        settings,
        {[this] { reloadModel(); }, [this](const auto& text) { title = text; }}};
    LiveDialogProbe probe{dialog};
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
    EXPECT_EQ(probe.title().get_text(), "Live connection");
    keepBothShots(dialog, "live");
    probe.title().set_text("Test bench");
    probe.address().set_text("logger1:");
    probe.key().set_text("secret");
    settings.setVsdFile(scratch.write("project.vsd", ""));
    dialog.saveFile(scratch.file("bench"));
    EXPECT_EQ(scratch.read("bench.tvlive"),
              "TITLE=Test bench\nSERVER=logger1\nPORT=777\nKEY=secret\nVSD=" +
                  scratch.file("project.vsd") + "\n");
    struct stat facts {};
    ASSERT_EQ(stat(scratch.file("bench.tvlive").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777U, 0600U);
    EXPECT_EQ(settings.getLivePath(), scratch.folder);

    scratch.write("other.tvlive", "TITLE=Other\nSERVER=10.0.0.1\nPORT=7770\nDBC=bus.dbc\n");
    dialog.openFile(scratch.file("other.tvlive"));
    EXPECT_EQ(probe.address().get_text(), "10.0.0.1:7770");
    EXPECT_EQ(probe.key().get_text(), "");
    EXPECT_EQ(probe.dbcFile(), scratch.file("bus.dbc"));
    dialog.openFile(scratch.file("bench.tvlive"));
    EXPECT_EQ(probe.title().get_text(), "Test bench");
    EXPECT_EQ(probe.address().get_text(), "logger1");
    EXPECT_EQ(probe.key().get_text(), "secret");
    EXPECT_EQ(probe.vsdFile(), scratch.file("project.vsd"));
    EXPECT_EQ(probe.dbcFile(), "");
    keepBothShots(dialog, "live-filled");

    dialog.openFile(scratch.file("absent.tvlive"));
    dialog.saveFile("/no/such/folder/x.tvlive");
    EXPECT_EQ(takeTexts(),
              (std::vector<std::string>{"Couldn't open " + scratch.file("absent.tvlive"),
                                        "Couldn't create /no/such/folder/x.tvlive"}));
}

TEST_F(LiveDialogTest, ChoosersOpenAndSave) {
    scratch.write("stored.tvlive", "SERVER=stored\n");
    settings.setLivePath(scratch.folder);
    present(dialog);
    const auto choose = [&](const char* name) {
        return [path = scratch.file(name)](Gtk::Dialog& asked) {
            auto& chooser = dynamic_cast<Gtk::FileChooserDialog&>(asked);
            if (chooser.get_filename() == path) return true;
            chooser.set_filename(path);
            return false;
        };
    };
    {
        const DialogAnswer answer(Gtk::RESPONSE_OK, choose("stored.tvlive"));
        probe.open().clicked();
        EXPECT_TRUE(answer.wasAsked());
        EXPECT_EQ(probe.address().get_text(), "stored");
    }
    {
        const DialogAnswer answer(Gtk::RESPONSE_CANCEL);
        probe.save().clicked();
        EXPECT_TRUE(answer.wasAsked());
    }
    EXPECT_FALSE(std::filesystem::exists(scratch.file("connection.tvlive")));

    // The name that gets its extension is asked for, too.
    probe.address().set_text("changed");
    for (const int response : {Gtk::RESPONSE_NO, Gtk::RESPONSE_YES}) {
        const DialogAnswer name(Gtk::RESPONSE_OK, [&](Gtk::Dialog& asked) {
            auto& chooser = dynamic_cast<Gtk::FileChooserDialog&>(asked);
            chooser.set_current_name("stored");
            return chooser.get_filename() == scratch.file("stored");
        });
        const DialogAnswer question(response, [](Gtk::Dialog& asked) {
            return dynamic_cast<Gtk::MessageDialog*>(&asked) != nullptr;
        });
        probe.save().clicked();
        EXPECT_TRUE(question.wasAsked());
        EXPECT_EQ(scratch.read("stored.tvlive").find("changed") != std::string::npos,
                  response == Gtk::RESPONSE_YES);
    }
}

TEST_F(LiveDialogTest, TheFirstShowFillsFromTheLastOrTheRunningConnection) {
    const auto expectShown = [&](const char* name, const char* address, const char* key) {
        present(dialog);
        EXPECT_EQ(probe.title().get_text(), name);
        EXPECT_EQ(probe.address().get_text(), address);
        EXPECT_EQ(probe.key().get_text(), key);
        dialog.hide();
    };
    scratch.write("last", "TITLE=T\nSERVER=host\nPORT=0x10\nKEY=k=v\nDBC==/x.dbc\n");
    expectShown("T", "host:0x10", "k=v");
    EXPECT_EQ(probe.dbcFile(), "=/x.dbc");
    probe.address().set_text("typed");
    expectShown("T", "typed", "k=v");

    store.networkInput = true;
    store.hostName = "running";
    store.port = 778;
    store.decryptionKey = "key";
    probe.expectFirstShow();
    expectShown("Live connection", "running:778", "key");
    EXPECT_EQ(probe.dbcFile(), "");
    store.networkInput = false;
}

TEST_F(LiveDialogTest, ConnectsPlainAndWithAKeyAndAgain) {
    store.startWorker();
    for (const char* key : {"", "a key"}) {
        SCOPED_TRACE(key);
        serve(key);
        probe.title().set_text("Bench");
        probe.connect().clicked();
        EXPECT_TRUE(dialog.isConnecting());
        EXPECT_TRUE(probe.spinner().get_visible());
        EXPECT_FALSE(probe.address().get_sensitive());
        // Frames may be in before the loop hands over the news of the connection.
        ASSERT_TRUE(waitForData());
        EXPECT_FALSE(dialog.get_visible());
        EXPECT_TRUE(probe.address().get_sensitive());
        EXPECT_EQ(title, "Bench");
        EXPECT_EQ(store.title, "Bench");
        EXPECT_TRUE(store.liveMode);
        EXPECT_EQ(store.decryptionKey, key);
        EXPECT_NE(scratch.read("last").find("TITLE=Bench\nSERVER=127.0.0.1\n"), std::string::npos);
        store.framesRead = 0;
    }
    // The logger goes and comes back.
    logger.reset();
    serve("");
    dialog.hide();
    store.framesRead = 0;
    dialog.reconnect();
    EXPECT_TRUE(waitForData());
    EXPECT_EQ(reloads, 3);
}

TEST_F(LiveDialogTest, AWrongKeyIsTold) {
    store.startWorker();
    serve("right");
    probe.key().set_text("wrong");
    probe.connect().clicked();
    std::vector<std::string> texts;
    const auto isTold = [&](const char* text) {
        return pump([&] {
            for (auto& message : takeTexts())
                texts.push_back(std::move(message));
            return std::find(texts.begin(), texts.end(), text) != texts.end();
        });
    };
    EXPECT_TRUE(isTold("Message could not be authenticated, wrong key or data corrupted"));
    EXPECT_TRUE(isTold("Check that logger is set up for encrypted data"));
    EXPECT_EQ(store.framesRead, 0U);
}

/// A port whose queue is full: connecting to it neither succeeds nor fails.
class SilentPort {
  public:
    SilentPort() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* raw = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof address;
        for (int& one : sockets_)
            one = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        EXPECT_EQ(bind(sockets_[0], raw, size), 0);
        EXPECT_EQ(listen(sockets_[0], 0), 0);
        getsockname(sockets_[0], raw, &size);
        for (const int filler : std::span(sockets_).subspan(1))
            static_cast<void>(connect(filler, raw, size));
        port = ntohs(address.sin_port);
    }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;
    ~SilentPort() { std::for_each(sockets_.begin(), sockets_.end(), close); }
    int port = 0;

  private:
    std::array<int, 5> sockets_{};
};

TEST_F(LiveDialogTest, AHostThatDoesNotAnswerLeavesTheWindowUsable) {
    const SilentPort silent;
    store.startWorker();
    present(dialog);
    probe.address().set_text("127.0.0.1:" + std::to_string(silent.port));
    probe.connect().clicked();
    settle(dialog);
    EXPECT_TRUE(dialog.isConnecting());
    EXPECT_TRUE(dialog.get_visible());
    keepBothShots(dialog, "live-connecting");
    store.stopNetwork();  // as a reload does
    EXPECT_TRUE(pump([&] { return !dialog.isConnecting(); }));
    EXPECT_TRUE(dialog.get_visible());
}

TEST_F(LiveDialogTest, ARefusalKeepsTheDialogOpen) {
    store.startWorker();
    serve("");
    logger.reset();  // nobody listens there any more
    probe.connect().clicked();
    EXPECT_TRUE(pump([&] { return !dialog.isConnecting(); }));
    EXPECT_TRUE(dialog.get_visible());
    EXPECT_TRUE(probe.connect().get_sensitive());
    EXPECT_FALSE(probe.spinner().get_visible());
    const auto texts = takeTexts();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.front().find("Network connection failed: "), 0U);

    store.stopNetwork();
    store.dumpToFile = true;
    probe.connect().clicked();
    EXPECT_FALSE(dialog.get_visible());
    EXPECT_FALSE(store.networkInput);
    store.dumpToFile = false;
}

TEST_F(LiveDialogTest, DefinitionsOfTheConnectionAreUsedIfTheyExist) {
    settings.setVsdFile(scratch.write("mine.vsd", ""));
    serve("");
    probe.dbcFile() = scratch.file("absent.dbc");
    store.hooks.liveConnection = [](Store&) {};
    store.startWorker();
    dialog.connectToLogger();
    EXPECT_EQ(settings.getVsdFile(), scratch.file("mine.vsd"));
    store.connectionChanged.emit();
    ASSERT_TRUE(pump([&] { return !dialog.isConnecting(); }));
    probe.dbcFile() = scratch.write("bus.dbc", "");
    dialog.connectToLogger();
    EXPECT_EQ(settings.getDbFile(), scratch.file("bus.dbc"));
    EXPECT_EQ(settings.getVsdFile(), kNoFile);
}

}  // namespace
}  // namespace test
}  // namespace trelis
