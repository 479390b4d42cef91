#include <gtest/gtest.h>

#include <cmath>

#include "model/builtin/BitRate.h"
#include "model/builtin/BuiltinMessages.h"
#include "model/builtin/FrameBits.h"
#include "model/builtin/LoggerMessage.h"
#include "model/builtin/MsgRate.h"
#include "support/Model.h"
#include "virtual/VirtualRegistry.h"

namespace trelis {
namespace {

using test::byteAt;
using test::Samples;
using test::samplesOf;

class RatesTest : public ::testing::Test {
  protected:
    /// A message with a multiplexor and a signal for each of these values.
    std::shared_ptr<RealMessage> addMultiplexed(std::uint32_t id, const std::string& name,
                                                const std::vector<std::int32_t>& values) {
        auto message = store.addMessage(id, name);
        message->multiplexor = byteAt(message, "mux", 0, kMultiplexor);
        for (const std::int32_t value : values) {
            const std::string signal = "s" + std::to_string(message->signals.size());
            message->addSignal(signal, byteAt(message, signal, 8, value));
        }
        return message;
    }
    std::shared_ptr<Signal> select(const std::string& reference) {
        auto signal = store.getSignal(reference);
        signal->setSelected(true);
        return signal;
    }
    void finishAll() {
        for (const auto& [number, each] : store.interfaces)
            for (const auto& [id, message] : each->messages)
                message->finish();
    }

    test::BusStore store;
};

TEST_F(RatesTest, averagesTheBusLoadOverPeriods) {
    const Frame frame;
    const double bits = frameBits(frame);
    struct Case {
        int interval;
        std::vector<std::uint64_t> times;
        Samples rates;
    };
    const Case cases[] = {
        {50,
         {1000, 1049, 1060, 1100, 1111},
         {{1030, std::floor(bits * 3000 / 60)}, {1085, std::floor(bits * 2000 / 51)}}},
        {0, {7, 7, 7, 8}, {{7, bits * 4000}}},  // a period of no length has no rate
        {-5, {7, 7, 7, 8}, {{7, bits * 4000}}},
    };
    int interval = 0;
    store.hooks.bitRateInterval = [&] { return interval; };
    BitRate rate(store, store.addMessage(1, "M"));
    for (const Case& c : cases) {
        interval = c.interval;
        rate.clearSamples();  // a period that was cut off does not run on
        for (const std::uint64_t time : c.times)
            rate.addFrame(time, frame);
        EXPECT_EQ(samplesOf(rate), c.rates) << c.interval;
    }
}

TEST_F(RatesTest, givesEveryInterfaceItsStatistics) {
    addLoggerInterface(store);
    store.addInterface("Virt", kVirtualInterface);
    store.addInterface("Far", 254);
    store.addMessage(1, "Plain");
    store.addMessage(2, "Plain");
    addMultiplexed(3, "Mux", {7, 2, 7});
    addMultiplexed(4, "Lone", {});  // a multiplexor, but nothing under it
    const auto prepared = store.addMessage(5, "Prepared");
    const auto source = prepared->addRateSignal(kPlainSignal);

    addBuiltinMessages(store);
    // All names of the sample's statistics stand in tests/program/golden/list_sample.txt.
    EXPECT_EQ(store.highestInterface, kStatisticsOffset + kLoggerInterface);
    EXPECT_EQ(store.findInterfaceByName("ST_Virt"), nullptr);
    std::string names;
    for (const auto& [name, rate] : store.getMessage(kStatisticsOffset, 3)->signalsByName)
        names += name + ", ";
    EXPECT_EQ(names, "Lone, Mux (m2), Mux (m7), Plain, Prepared, ");
    EXPECT_EQ(store.getSignal("ST_Far.BusLoad.Bitrate").get(), bitRateOf(store, 254));
    EXPECT_EQ(bitRateOf(store, 255), nullptr);
    EXPECT_EQ(prepared->signals.size(), 1U) << "a rate signal that is there is used";
    const auto rate = select("ST_Can.MsgRate.Prepared");
    EXPECT_EQ(source->useCount, 1U);
    EXPECT_EQ(prepared->pendingCount, 1U);
    rate->setSelected(false);
    EXPECT_EQ(source->useCount, 0U);
}

TEST_F(RatesTest, tellsTheRateOfAMessage) {
    const auto message = store.addMessage(1, "M");
    addBuiltinMessages(store);
    const auto rate = select("ST_Can.MsgRate.M");
    for (std::uint64_t time = 1000; time <= 1100; time += 10)
        message->postFrame({}, time);
    // Five in one millisecond; then 10 s, which are no gap, but storage repeats a sample; a gap.
    for (const std::uint64_t time : {1200, 1200, 1200, 1200, 1200, 1210, 11210, 31210, 31215})
        message->postFrame({}, time);
    finishAll();
    EXPECT_EQ(samplesOf(*rate), (Samples{{1000, 100.0},
                                         {1100, 10.0},
                                         {1200, 500.0},
                                         {1210, 0.1},
                                         {1210, 0.1},
                                         {11210, 0.05},
                                         {11210, 0.05},
                                         {31210, 200.0}}));
    EXPECT_EQ(rate->unit, "msg/s");
    EXPECT_TRUE(message->rateSignal->samples().empty()) << "its memory is free again";
    EXPECT_TRUE(rate->parsed);
}

TEST_F(RatesTest, tellsTheRateOfEachMultiplexValue) {
    const auto message = addMultiplexed(1, "M", {4, 9});
    addBuiltinMessages(store);
    const auto four = select("ST_Can.MsgRate.M (m4)");
    for (std::uint64_t time = 0; time < 100; time += 10)
        message->postFrame(test::frameOf(time % 20 == 0 ? 4 : 9), time);
    finishAll();
    EXPECT_EQ(samplesOf(*four), (Samples{{0, 50.0}}));
}

TEST_F(RatesTest, missesNoFrameOfARunningStream) {
    const auto message = store.addMessage(1, "M");
    addBuiltinMessages(store);
    store.liveMode = true;
    const auto rate = select("ST_Can.MsgRate.M");
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    std::uint64_t time = 1000;
    for (int answer = 0; answer < 50; ++answer) {
        for (std::uint32_t count = answer == 0 ? 4 : random.below(6); count > 0; --count)
            message->postFrame({}, time += 10);
        calculateAll(store);
    }
    EXPECT_EQ(rate->min, 100.0) << "neither lost nor counted twice";
    EXPECT_EQ(rate->max, 100.0);
    EXPECT_GE(rate->lastSeenTime + 20, time);
}

}  // namespace
}  // namespace trelis
