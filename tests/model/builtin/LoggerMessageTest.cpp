#include "model/builtin/LoggerMessage.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "support/TestStore.h"

namespace trelis {
namespace {

class LoggerMessageTest : public ::testing::Test {
  protected:
    LoggerMessageTest() { addLoggerInterface(store); }

    std::shared_ptr<Signal> signal(const std::string& name) {
        return store.getSignal("Logger." + name);
    }
    double lastOf(const std::string& name) {
        return signal(name)->samples().empty() ? -1.0 : signal(name)->samples().back().value;
    }
    void post(std::uint32_t id, std::uint64_t time, std::uint64_t data) {
        Frame frame;
        frame.id = id;
        frame.interface = 255;
        for (auto& byte : frame.data) {
            byte = static_cast<std::uint8_t>(data);
            data >>= 8;
        }
        store.getMessage(kLoggerInterface, id)->postFrame(frame, time);
    }

    test::TestStore store;
};

TEST_F(LoggerMessageTest, unpacksPositions) {
    struct Case {
        std::uint32_t packed;
        double degrees;
    };
    const Case cases[] = {
        {591234567, 59 + 1234567 / 6000000.0},
        {0, 0},
        {9999999, 9999999 / 6000000.0},
        {0x7FFFFFFF, -1 / 6000000.0},       // bit 30 is the sign
        {0x7FFFFFFF - 10'000'000 + 1, -1},  // -10000000
        {1'800'000'000 & 0x3FFFFFFF, 72 + 6258176 / 6000000.0},
    };
    std::uint64_t time = 0;
    for (const Case& c : cases) {
        const std::uint32_t south = time % 2 == 0 ? 0x80000000U : 0;
        post(10, ++time, std::uint64_t{c.packed} << 32 | (c.packed | south));
        EXPECT_DOUBLE_EQ(lastOf("GPS_POS.lat"), c.degrees) << c.packed;
        EXPECT_DOUBLE_EQ(lastOf("GPS_POS.long"), c.degrees) << c.packed;
        EXPECT_EQ(lastOf("GPS_POS.N_S"), south == 0 ? 0.0 : 1.0);
        EXPECT_EQ(lastOf("GPS_POS.E_W"), 0.0);
        EXPECT_EQ(signal("GPS_POS.lat")->samples().back().time, time);
    }
    EXPECT_EQ(signal("GPS_POS.lat")->decimals, 7);
    EXPECT_EQ(signal("GPS_POS.long")->unit, "°");
}

TEST_F(LoggerMessageTest, decodesMotionAndReception) {
    post(11, 5, 0x0E10'FFFF'0000'3039);
    EXPECT_DOUBLE_EQ(lastOf("GPS_MOT.alt"), 1234.5);
    EXPECT_DOUBLE_EQ(lastOf("GPS_MOT.speed"), 655.35);
    EXPECT_DOUBLE_EQ(lastOf("GPS_MOT.bearing"), 360.0);
    post(12, 6, 0xFFFF'FE0B'0102'0304);
    EXPECT_EQ(lastOf("GPS_STAT.hacc"), 0x0304);
    EXPECT_EQ(lastOf("GPS_STAT.vacc"), 0x0102);
    EXPECT_EQ(lastOf("GPS_STAT.sats"), 11.0);
    EXPECT_EQ(lastOf("GPS_STAT.fix"), 0.0) << "only the lowest bit of its byte";
    EXPECT_EQ(store.findInterfaceByNumber(255)->findById(13), nullptr);
}

TEST_F(LoggerMessageTest, decodesRunsAsItDecodesFrames) {
    test::TestStore other;
    addLoggerInterface(other);
    const auto twin = std::static_pointer_cast<LoggerMessage>(other.getMessage(255, 10));
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    std::vector<StoredFrame> run;
    std::uint64_t time = 0;
    std::uint64_t data = 0;
    signal("GPS_POS.lat")->setSelected(true);
    other.getSignal("Logger.GPS_POS.lat")->setSelected(true);
    for (const auto& message : {store.getMessage(255, 10), other.getMessage(255, 10)})
        message->rateSignal->addUser(nullptr);
    for (int i = 0; i < 1300; ++i) {
        constexpr std::array<std::uint32_t, 4> kSteps = {0, 1000, 9000, 10001};
        time += kSteps[random.below(4)];
        if (random.below(3) == 0) data = random.bits();
        run.emplace_back(time, 8, data);
        post(10, 777 + time, data);
    }
    twin->handleRun(run, 777);
    const auto message = store.getMessage(255, 10);
    ASSERT_EQ(message->signals.size(), 5U);
    for (std::size_t i = 0; i < message->signals.size(); ++i) {
        const SampleArray& one = message->signals[i]->samples();
        const SampleArray& two = twin->signals[i]->samples();
        ASSERT_FALSE(one.empty());
        EXPECT_TRUE(std::equal(one.begin(), one.end(), two.begin(), two.end())) << i;
    }
}

// All signals are filled with the first wanted one; a later pass for the rate leaves them alone.
TEST_F(LoggerMessageTest, doesNotRunTimeBackInALaterParse) {
    const auto message = store.getMessage(255, 12);
    signal("GPS_STAT.sats")->setSelected(true);
    post(12, 100'000, 0);
    post(12, 200'000, 1);
    message->finish();
    const std::size_t stored = signal("GPS_STAT.hacc")->samples().size();
    EXPECT_EQ(stored, 3U);
    EXPECT_TRUE(signal("GPS_STAT.hacc")->parsed);
    message->rateSignal->addUser(nullptr);
    EXPECT_TRUE(message->rateSignal->needsParse);
    post(12, 100'000, 0);
    post(12, 200'000, 1);
    EXPECT_EQ(signal("GPS_STAT.hacc")->samples().size(), stored);
    EXPECT_FALSE(message->rateSignal->samples().empty());
}

}  // namespace
}  // namespace trelis
