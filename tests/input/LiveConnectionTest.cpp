// Live connections to a served logger: what arrives, the time axis, and how a run is stopped.
#include "input/LiveConnection.h"

#include <glibmm/init.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "LiveRig.h"
#include "Recording.h"
#include "input/LiveRun.h"
#include "input/LogFiles.h"
#include "input/stream/BlockMaker.h"
#include "simlogger/Recording.h"

namespace trelis::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint64_t kManyFrames = 300'000;
#else
constexpr std::uint64_t kManyFrames = 3'000'000;
#endif

class LiveConnectionTest : public testing::Test {
  protected:
    LiveConnectionTest() {
        Glib::init();
        store_.noGui = true;
        wireLiveInputs(store_);
        takeMessages();
    }

    void serve(sim::ServeOptions options) {
        options_ = options;
        logger_.emplace(std::move(options), [this] { return sim::scenarioFeed(scenario_); });
        target(logger_->server().port());
    }
    void serveFiles(sim::ServeOptions options, const std::vector<std::filesystem::path>& files) {
        logger_.emplace(std::move(options), [files] { return sim::recordingFeed(files); });
        target(logger_->server().port());
    }
    void target(std::uint16_t port) {
        store_.hostName = "127.0.0.1";
        store_.port = port;
        store_.networkInput = true;
        store_.liveMode = true;
        store_.running = true;
    }
    static sim::ServeOptions fast(const std::string& key = {}) {
        sim::ServeOptions options;
        options.speed = 0;
        options.key = key;
        return options;
    }
    /// Waits for what another thread brings about; a test that waits in vain runs into its limit.
    static void until(const std::function<bool()>& holds) {
        while (!holds())
            std::this_thread::sleep_for(1ms);
    }
    /// Runs the connection as the window does: on the Store's worker.
    void startInWindow() {
        store_.noGui = false;
        store_.startWorker();
        store_.requestParse();
    }
    std::shared_ptr<Signal> signal(const std::string& name) { return store_.getSignal(name); }

    sim::Scenario scenario_ = smallScenario();
    sim::ServeOptions options_;
    ScratchFolder folder_;
    std::optional<ServedLogger> logger_;
    Store store_;
};

struct Link {
    const char* name;
    const char* key;
    std::size_t piece;
};

class LiveData : public LiveConnectionTest, public testing::WithParamInterface<Link> {
  protected:
    /// The same recording from files and from the stream.
    void compare(const sim::Scenario& scenario) {
        const auto summary = sim::writeRecording(scenario, folder_.file("log"));
        std::vector<std::filesystem::path> files;
        Store fromFiles;
        fromFiles.noGui = true;
        fromFiles.hooks.logFiles = parseLogs;
        for (const std::string& name : summary.files) {
            files.emplace_back(folder_.file("log") + "/" + name);
            addLogFile(fromFiles, files.back());
        }
        buildModel(fromFiles, scenario);
        ASSERT_TRUE(fromFiles.parseNow());

        sim::ServeOptions options = fast(GetParam().key);
        options.piece = GetParam().piece;
        serveFiles(options, files);
        buildModel(store_, scenario);
        store_.decryptionKey = GetParam().key;
        ASSERT_TRUE(store_.parseNow());

        EXPECT_EQ(store_.framesRead, summary.frames);
        EXPECT_EQ(logger_->server().framesSent(), summary.frames);
        EXPECT_EQ(store_.lastTime - store_.firstTime, fromFiles.lastTime - fromFiles.firstTime);
        const ValueRuns live = valuesOf(store_);
        const ValueRuns logged = valuesOf(fromFiles);
        ASSERT_EQ(live.size(), logged.size());
        std::size_t count = 0;
        for (const auto& [name, values] : logged) {
            EXPECT_EQ(live.at(name), values) << name;
            count += values.size();
        }
        EXPECT_GT(count, summary.frames / 2);
        EXPECT_EQ(takeMessages(), std::vector<std::string>{"Stream ended"});
    }
};

INSTANTIATE_TEST_SUITE_P(Links, LiveData,
                         testing::Values(Link{"Plain", "", 0}, Link{"PlainInPieces", "", 7},
                                         Link{"Encrypted", "geheim", 0},
                                         Link{"EncryptedUnitByUnit", "geheim", 16},
                                         Link{"EncryptedAcrossBlocks", "geheim", 4016}),
                         [](const auto& given) { return std::string(given.param.name); });

TEST_P(LiveData, IsThatOfTheRecording) {
    compare(scenario_);
}

TEST_P(LiveData, GoesOnAcrossFilesOfARecording) {
    scenario_.recording.files = 3;
    scenario_.recording.fileGapMs = 5000;
    compare(scenario_);
}

TEST_F(LiveConnectionTest, ManyFramesArriveWithNothingLost) {
    sim::BenchOptions bench;
    bench.files = 1;
    bench.framesPerFile = kManyFrames;
    sim::Scenario scenario = sim::benchScenario(bench);
    sim::completeScenario(scenario);
    const auto summary = sim::writeRecording(scenario, folder_.file("many"));
    const std::string path = folder_.file("many") + "/" + summary.files.at(0);

    Store fromFile;
    fromFile.noGui = true;
    fromFile.hooks.logFiles = parseLogs;
    addLogFile(fromFile, path);
    buildModel(fromFile, scenario);
    ASSERT_TRUE(fromFile.parseNow());

    serveFiles(fast(), {path});
    buildModel(store_, scenario);
    ASSERT_TRUE(store_.parseNow());
    EXPECT_EQ(store_.framesRead, kManyFrames);
    EXPECT_TRUE(valuesOf(store_) == valuesOf(fromFile));
}

TEST_F(LiveConnectionTest, TimesAreThoseOfTheWallClock) {
    buildModel(store_, scenario_);
    serve(fast());
    const std::uint64_t before = wallClockMs();
    ASSERT_TRUE(store_.parseNow());
    EXPECT_GE(store_.firstTime, before);
    EXPECT_LE(store_.firstTime, wallClockMs());
    const std::uint64_t length = store_.lastTime - store_.firstTime;
    EXPECT_GT(length, 59000U);
    EXPECT_LE(length, 60000U);
    // The first answer moves the end of the axis on by a quarter of an hour.
    EXPECT_EQ(store_.parseFirstTime, store_.firstTime);
    EXPECT_EQ(store_.parseLastTime, store_.firstTime + 2 * kLiveWindowMs);
    EXPECT_EQ(store_.intervalEnd, store_.parseLastTime);
    const auto& samples = signal("Can0.Fast.Counter")->samples();
    ASSERT_GT(samples.size(), 1000U);
    for (std::size_t i = 1; i < samples.size(); ++i)
        EXPECT_LE(samples[i - 1].time, samples[i].time);
}

TEST_F(LiveConnectionTest, ClockOverflowGoesOnInTime) {
    scenario_.recording.clock = 4294967295U - 20000U;
    buildModel(store_, scenario_);
    std::vector<std::uint64_t> bases;
    store_.hooks.timeBaseListener = [&](std::uint64_t, std::uint64_t base) {
        bases.push_back(base);
    };
    serve(fast());
    ASSERT_TRUE(store_.parseNow());
    const std::uint64_t length = store_.lastTime - store_.firstTime;
    EXPECT_GT(length, 59000U);
    EXPECT_LE(length, 60000U);
    ASSERT_EQ(bases.size(), 2U);
    EXPECT_EQ(bases[1] - bases[0], 4294967295U);
    const auto messages = takeMessages();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].rfind("can message timestamp has overflowed (", 0), 0U) << messages[0];
}

TEST_F(LiveConnectionTest, SecondConnectionAddsToTheFirst) {
    buildModel(store_, scenario_);
    serve(fast("k"));
    store_.decryptionKey = "k";
    ASSERT_TRUE(store_.parseNow());
    const std::uint64_t frames = store_.framesRead;
    const std::size_t samples = signal("Can0.Fast.Counter")->samples().size();
    store_.running = true;
    ASSERT_TRUE(store_.parseNow());
    EXPECT_EQ(store_.framesRead, 2 * frames);
    EXPECT_GT(signal("Can0.Fast.Counter")->samples().size(), 2 * samples - 10);
    EXPECT_TRUE(store_.connected);
}

TEST_F(LiveConnectionTest, UsersIntervalStaysWhileDataCome) {
    scenario_.recording.durationMs = 3'600'000;
    buildModel(store_, scenario_);
    sim::ServeOptions options;
    options.speed = 200;
    serve(options);
    startInWindow();
    until([&] { return store_.framesRead > 1000; });
    const std::uint64_t from = store_.firstTime + 100;
    store_.setInterval(from, from + 2000);
    const std::uint64_t end = store_.parseLastTime;
    until([&] { return store_.parseLastTime > end; });  // the axis grew meanwhile
    EXPECT_EQ(store_.intervalStart, from);
    EXPECT_EQ(store_.intervalEnd, from + 2000);
    store_.stopNetwork();
    EXPECT_FALSE(store_.intervalSet);
    EXPECT_TRUE(takeMessages().empty());  // a stop is no end of the stream
    store_.shutdown();
}

TEST_F(LiveConnectionTest, StopEndsAnIdleWaitSoonAndSilently) {
    for (const char* key : {"", "geheim"}) {
        Store store;
        wireLiveInputs(store);
        sim::ServeOptions options = fast(key);
        options.fault = sim::Fault::kSilence;
        options.faultAfter = 2;
        serve(options);
        store.hostName = "localhost";
        store.port = store_.port;
        store.decryptionKey = key;
        store.networkInput = true;
        store.liveMode = true;
        store.startWorker();
        store.requestParse();
        until([&] {
            return store.framesRead >= logger_->server().framesSent() &&
                   logger_->server().answersSent() == 2;
        });
        const auto begin = Clock::now();
        store.stopNetwork();
        EXPECT_LT(Clock::now() - begin, 500ms);
        EXPECT_TRUE(takeMessages().empty());
        store.shutdown();
    }
}

TEST_F(LiveConnectionTest, ShutdownEndsARunningStream) {
    scenario_.recording.durationMs = 3'600'000;
    buildModel(store_, scenario_);
    sim::ServeOptions options;
    options.speed = 50;
    serve(options);
    startInWindow();
    until([&] { return store_.framesRead > 100; });
    store_.shutdown();
    EXPECT_TRUE(takeMessages().empty());
}

TEST_F(LiveConnectionTest, StopEndsAConnectThatHangs) {
    // A listener that accepts nothing: its queue is filled, further connects get no answer.
    const Descriptor listener(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(listener.get(), generic, size), 0);
    ASSERT_EQ(listen(listener.get(), 0), 0);
    getsockname(listener.get(), generic, &size);
    std::vector<Descriptor> queued;
    for (int i = 0; i < 4; ++i) {
        queued.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        connect(queued.back().get(), generic, size);
    }
    target(ntohs(address.sin_port));
    startInWindow();
    std::this_thread::sleep_for(300ms);
    EXPECT_FALSE(store_.connected);
    const auto begin = Clock::now();
    store_.stopNetwork();
    EXPECT_LT(Clock::now() - begin, 500ms);
    EXPECT_TRUE(takeMessages().empty());
    store_.shutdown();
}

TEST_F(LiveConnectionTest, KeyIsGoneWithTheStore) {
    store_.decryptionKey = std::string(100, 'k');
    store_.shutdown();
    EXPECT_TRUE(store_.decryptionKey.empty());
    // What the text was written to is still its own.
    EXPECT_EQ(std::count(store_.decryptionKey.data(), store_.decryptionKey.data() + 100, 'k'), 0);
}

}  // namespace
}  // namespace trelis::test
