#include "model/builtin/LoggerMessage.h"

#include <gtest/gtest.h>

#include "support/Model.h"

namespace trelis {
namespace {

using test::samplesOf;

struct LoggerStore : test::TestStore {
    LoggerStore() { addLoggerInterface(*this); }

    std::shared_ptr<Signal> signal(const std::string& name) { return getSignal("Logger." + name); }
    void post(std::uint32_t id, std::uint64_t time, std::uint64_t data) {
        getMessage(kLoggerInterface, id)->postFrame(test::frameOf(data, 0, id), time);
    }
};

TEST(LoggerMessageTest, decodesItsFixedLayouts) {
    // Bit 31 is the hemisphere, bit 30 the sign: -1 and -10000000 stand in the third one.
    constexpr std::uint64_t kSouth = 591234567ULL << 32 | 0x80000000U | 591234567U;
    constexpr std::uint64_t kWest = 0x80000000ULL << 32 | 9999999;
    constexpr std::uint64_t kNegative = 0xFFFFFFFFULL << 32 | (0x7FFFFFFF - 10'000'000 + 1);
    constexpr std::uint64_t kMotion = 0x0E10'FFFF'0000'3039;
    constexpr std::uint64_t kReception = 0xFFFF'FE0B'0102'0304;
    struct Case {
        std::uint32_t id;
        std::uint64_t data;
        const char* name;
        double value;
    };
    LoggerStore store;
    std::uint64_t time = 0;
    for (const auto& [id, data, name, value] : {
             Case{10, kSouth, "GPS_POS.lat", 59 + 1234567 / 6000000.0},
             {10, kSouth, "GPS_POS.N_S", 1},
             {10, kSouth, "GPS_POS.long", 59 + 1234567 / 6000000.0},
             {10, kSouth, "GPS_POS.E_W", 0},
             {10, kWest, "GPS_POS.lat", 9999999 / 6000000.0},
             {10, kWest, "GPS_POS.N_S", 0},
             {10, kWest, "GPS_POS.long", 0},
             {10, kWest, "GPS_POS.E_W", 1},
             {10, kNegative, "GPS_POS.lat", -1},
             {10, kNegative, "GPS_POS.long", -1 / 6000000.0},
             {11, kMotion, "GPS_MOT.alt", 1234.5},
             {11, kMotion, "GPS_MOT.speed", 655.35},
             {11, kMotion, "GPS_MOT.bearing", 360},
             {12, kReception, "GPS_STAT.hacc", 0x0304},
             {12, kReception, "GPS_STAT.vacc", 0x0102},
             {12, kReception, "GPS_STAT.sats", 11},
             {12, kReception, "GPS_STAT.fix", 0},  // only the lowest bit counts
         }) {
        store.post(id, ++time, data);
        const Sample last = samplesOf(*store.signal(name)).back();
        EXPECT_DOUBLE_EQ(last.value, value) << name << " of " << data;
    }
    EXPECT_EQ(store.signal("GPS_POS.lat")->samples().back().time, 9U);
    EXPECT_EQ(store.signal("GPS_POS.lat")->decimals, 7);
    EXPECT_EQ(store.signal("GPS_POS.long")->unit, "°");
}

TEST(LoggerMessageTest, decodesRunsAsItDecodesFrames) {
    LoggerStore store;
    LoggerStore other;
    for (LoggerStore* each : {&store, &other}) {
        each->signal("GPS_POS.lat")->setSelected(true);
        each->getMessage(kLoggerInterface, 10)->rateSignal->addUser(nullptr);
    }
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    const std::vector<StoredFrame> run = test::randomRun(random, 1300);
    for (const StoredFrame& frame : run)
        store.post(10, 777 + frame.time(), frame.data());
    const auto twin =
        std::static_pointer_cast<LoggerMessage>(other.getMessage(kLoggerInterface, 10));
    twin->handleRun(run, 777);
    const auto& signals = store.getMessage(kLoggerInterface, 10)->signals;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        ASSERT_FALSE(signals[i]->samples().empty());
        EXPECT_TRUE(samplesOf(*signals[i]) == samplesOf(*twin->signals[i])) << signals[i]->name;
    }
}

// All signals are filled with the first wanted one; a later pass for the rate leaves them alone.
TEST(LoggerMessageTest, doesNotRunTimeBackInALaterParse) {
    LoggerStore store;
    const auto message = store.getMessage(kLoggerInterface, 12);
    const auto accuracy = store.signal("GPS_STAT.hacc");
    store.signal("GPS_STAT.sats")->setSelected(true);
    const auto parse = [&] {
        store.post(12, 100'000, 0);
        store.post(12, 200'000, 1);
    };
    parse();
    message->finish();
    const auto stored = samplesOf(*accuracy);
    EXPECT_EQ(stored.size(), 3U);
    EXPECT_TRUE(accuracy->parsed);
    message->rateSignal->addUser(nullptr);
    EXPECT_TRUE(message->rateSignal->needsParse);
    parse();
    EXPECT_EQ(samplesOf(*accuracy), stored);
    EXPECT_FALSE(message->rateSignal->samples().empty());
}

}  // namespace
}  // namespace trelis
