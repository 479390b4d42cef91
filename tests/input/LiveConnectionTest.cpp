// Live connections to a served logger: what arrives, the time axis, and how a run is stopped.
#include "input/LiveConnection.h"

#include <chrono>
#include <functional>
#include <optional>

#include "LiveRig.h"
#include "input/LiveRun.h"
#include "input/LogFiles.h"
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

class LiveConnectionTest : public LiveTest {
  protected:
    void serve(const sim::ServeOptions& options) {
        logger_.emplace(options, [this] { return sim::scenarioFeed(scenario_); });
        target(logger_->server().port(), options.key);
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
    /// The same, of data that come `speed` times as fast as they were recorded.
    void startEndlessRun(double speed) {
        scenario_.recording.durationMs = 36'000'000;
        sim::ServeOptions options;
        options.speed = speed;
        serve(options);
        startInWindow();
    }
    /// A stop takes less than half a second and is no end of the stream.
    void expectQuickStop() {
        const auto begin = Clock::now();
        store_.stopNetwork();
        EXPECT_LT(Clock::now() - begin, 500ms);
        EXPECT_EQ(takeMessages(), Texts{});
        store_.shutdown();
    }
    /// The same recording from files and from the stream.
    void compare(const sim::ServeOptions& options) {
        const auto summary = sim::writeRecording(scenario_, folder_.path());
        std::vector<std::filesystem::path> files;
        Store fromFiles;
        fromFiles.noGui = true;
        fromFiles.hooks.logFiles = parseLogs;
        for (const std::string& name : summary.files)
            addLogFile(fromFiles, files.emplace_back(folder_ / name));
        buildModel(fromFiles, scenario_);
        ASSERT_TRUE(fromFiles.parseNow());

        logger_.emplace(options, [&] { return sim::recordingFeed(files); });
        target(logger_->server().port(), options.key);
        ASSERT_TRUE(store_.parseNow());
        EXPECT_EQ(store_.framesRead, summary.frames);
        EXPECT_EQ(logger_->server().framesSent(), summary.frames);
        EXPECT_EQ(store_.lastTime - store_.firstTime, fromFiles.lastTime - fromFiles.firstTime);
        const ValueRuns live = valuesOf(store_);
        const ValueRuns logged = valuesOf(fromFiles);
        ASSERT_EQ(live.size(), logged.size());
        std::size_t count = 0;
        for (const auto& [name, values] : logged) {
            EXPECT_TRUE(live.at(name) == values) << name;
            count += values.size();
        }
        EXPECT_GT(count, summary.frames / 2);
        EXPECT_EQ(takeMessages(), Texts{"INF Stream ended"});
    }
    const SampleArray& samplesOf(const std::string& name) {
        return store_.getSignal(name)->samples();
    }

    Folder folder_;
    std::optional<ServedLogger> logger_;
};

struct Link {
    const char* name;
    const char* key;
    std::size_t piece;
};

class LiveData : public LiveConnectionTest, public testing::WithParamInterface<Link> {};

INSTANTIATE_TEST_SUITE_P(Links, LiveData,
                         testing::Values(Link{"Plain", "", 0}, Link{"PlainInPieces", "", 7},
                                         Link{"Encrypted", "geheim", 0},
                                         Link{"EncryptedUnitByUnit", "geheim", 16},
                                         Link{"EncryptedAcrossBlocks", "geheim", 4016}),
                         [](const auto& given) { return std::string(given.param.name); });

TEST_P(LiveData, IsThatOfTheRecordingAcrossItsFiles) {
    scenario_.recording.files = 3;
    scenario_.recording.fileGapMs = 5000;
    sim::ServeOptions options = fast(GetParam().key);
    options.piece = GetParam().piece;
    compare(options);
}

TEST_F(LiveConnectionTest, ManyFramesArriveWithNothingLost) {
    sim::BenchOptions bench;
    bench.files = 1;
    bench.framesPerFile = kManyFrames;
    scenario_ = sim::benchScenario(bench);
    sim::completeScenario(scenario_);
    store_.clearAll();
    buildModel(store_, scenario_);
    compare(fast());
}

TEST_F(LiveConnectionTest, TimesAreThoseOfTheWallClock) {
    serve(fast());
    const std::uint64_t before = wallClockMs();
    ASSERT_TRUE(store_.parseNow());
    EXPECT_GE(store_.firstTime, before);
    EXPECT_LE(store_.firstTime, wallClockMs());
    // The first answer moves the end of the axis on by a quarter of an hour.
    EXPECT_EQ(store_.intervalStart, store_.firstTime);
    EXPECT_EQ(store_.intervalEnd, store_.firstTime + 2 * kLiveWindowMs);
    const auto& samples = samplesOf("Can0.Fast.Counter");
    ASSERT_GT(samples.size(), 1000U);
    for (std::size_t i = 1; i < samples.size(); ++i)
        EXPECT_LE(samples[i - 1].time, samples[i].time);
}

// Without a window only what is in use is decoded, and all of it, wherever it stands in its
// message.
TEST_F(LiveConnectionTest, ReportDecodesWhatItUses) {
    store_.clearSelection();
    store_.liveMode = true;  // as options come before the selection
    for (const auto& [id, message] : store_.findInterfaceByNumber(0)->messages)
        message->signals.back()->setSelected(true);
    serve(fast());
    ASSERT_TRUE(store_.parseNow());
    for (const auto& [id, message] : store_.findInterfaceByNumber(0)->messages)
        for (const auto& signal : message->signals)
            EXPECT_EQ(signal->hasData, signal->selected) << signal->fullName;
}

TEST_F(LiveConnectionTest, WindowDecodesAllAndASecondConnectionAddsToTheFirst) {
    store_.clearSelection();
    serve(fast("k"));
    startInWindow();
    const auto expectEnd = [] {
        until([] { return !MessageLog::instance().isEmpty(); });
        EXPECT_EQ(takeMessages(), Texts{"INF Stream ended"});
    };
    expectEnd();
    until([&] { return store_.liveMutex.try_lock() && (store_.liveMutex.unlock(), true); });
    const std::uint64_t frames = store_.framesRead;
    const std::size_t samples = samplesOf("Can0.Fast.Counter").size();
    EXPECT_GT(samples, 1000U);
    store_.requestParse();
    expectEnd();
    EXPECT_EQ(store_.framesRead, 2 * frames);
    EXPECT_TRUE(store_.connected);
    store_.stopNetwork();
    EXPECT_GT(samplesOf("Can0.Fast.Counter").size(), 2 * samples - 10);
    store_.shutdown();
}

TEST_F(LiveConnectionTest, UsersIntervalStaysWhileDataCome) {
    startEndlessRun(2000);
    until([&] { return store_.framesRead > 1000; });
    const std::uint64_t from = store_.firstTime + 100;
    store_.setInterval(from, from + 2000);
    const std::uint64_t end = store_.parseLastTime;
    until([&] { return store_.parseLastTime > end; });  // the axis grew meanwhile
    EXPECT_EQ(store_.intervalStart, from);
    EXPECT_EQ(store_.intervalEnd, from + 2000);
    store_.stopNetwork();
    EXPECT_FALSE(store_.intervalSet);
    EXPECT_EQ(takeMessages(), Texts{});
    store_.shutdown();
}

class LiveStop : public LiveConnectionTest, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Keys, LiveStop, testing::Values("", "geheim"));

TEST_P(LiveStop, EndsAnIdleWait) {
    sim::ServeOptions options = fast(GetParam());
    options.fault = sim::Fault::kSilence;
    options.faultAfter = 2;
    serve(options);
    store_.hostName = "localhost";
    startInWindow();
    until([&] {
        return store_.framesRead >= logger_->server().framesSent() &&
               logger_->server().answersSent() == 2;
    });
    const auto signal = store_.getSignal("Can0.Fast.Counter");
    until([&] { return signal->hasData.load(); });  // though more was to come
    expectQuickStop();
}

TEST_F(LiveConnectionTest, ShutdownEndsARunningStream) {
    startEndlessRun(50);
    until([&] { return store_.framesRead > 100; });
    store_.shutdown();
    EXPECT_EQ(takeMessages(), Texts{});
}

/// Whether this process has a connect to the port under way, as the kernel sees it.
bool isConnecting(std::uint16_t port) {
    char row[24];
    std::snprintf(row, sizeof row, " 0100007F:%04X 02 ", port);  // the peer, SYN_SENT
    return contentOf("/proc/self/net/tcp").find(row) != std::string::npos;
}

TEST_F(LiveConnectionTest, StopEndsAConnectThatHangs) {
    DeafListener deaf;
    deaf.queued.clear();  // what the queue has taken stays in it
    ASSERT_FALSE(isConnecting(deaf.port));
    target(deaf.port);
    startInWindow();
    until([&] { return isConnecting(deaf.port); });
    EXPECT_FALSE(store_.connected);
    expectQuickStop();
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
