#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app/diagnostics/Exceptions.h"
#include "model/RealMessage.h"
#include "model/builtin/BitRate.h"
#include "model/builtin/BuiltinMessages.h"
#include "model/builtin/FrameBits.h"
#include "model/builtin/LoggerMessage.h"
#include "model/builtin/MsgRate.h"
#include "support/TestStore.h"
#include "virtual/VirtualRegistry.h"

namespace trelis {
namespace {

using Samples = std::vector<Sample>;

Samples samplesOf(const Signal& signal) {
    return {signal.samples().begin(), signal.samples().end()};
}

class RatesTest : public ::testing::Test {
  protected:
    std::shared_ptr<RealMessage> addMessage(std::uint32_t id, const std::string& name) {
        auto message = RealMessage::create(id, name, interface);
        interface->addMessage(message);
        return message;
    }
    static void addMultiplexed(const std::shared_ptr<RealMessage>& message, std::int32_t value) {
        const std::string name = "s" + std::to_string(message->signals.size());
        auto signal = RealSignal::create(message, name, 8, 8, 1, '+', "", 1, 0, 0, 0);
        signal->muxValue = value;
        message->addSignal(name, signal);
    }
    static void addMultiplexor(const std::shared_ptr<RealMessage>& message) {
        message->multiplexor = RealSignal::create(message, "mux", 0, 8, 1, '+', "", 1, 0, 0, 0);
        message->multiplexor->muxValue = kMultiplexor;
    }
    std::vector<std::string> namesOf(const std::string& interfaceName,
                                     const std::string& messageName) {
        std::vector<std::string> names;
        for (const auto& [name, signal] :
             store.findInterfaceByName(interfaceName)->findByName(messageName)->signalsByName)
            names.push_back(name);
        return names;
    }
    static void post(RealMessage& message, std::uint64_t time, std::uint8_t mux = 0) {
        Frame frame;
        frame.data[0] = mux;
        message.postFrame(frame, time);
    }
    void finishAll() {
        for (const auto& [number, each] : store.interfaces)
            for (const auto& [id, message] : each->messages)
                message->finish();
    }

    test::TestStore store;
    std::shared_ptr<CanIface> interface = store.addInterface("Can0", 0);
};

TEST_F(RatesTest, averagesTheBusLoadOverPeriods) {
    store.hooks.bitRateInterval = [] { return 50; };
    BitRate rate(store, addMessage(1, "M"));
    const Frame frame;
    const std::uint32_t bits = frameBits(frame);
    rate.addFrame(1000, frame);
    rate.addFrame(1049, frame);
    EXPECT_TRUE(rate.samples().empty());
    rate.addFrame(1060, frame);
    rate.addFrame(1100, frame);
    rate.addFrame(1111, frame);
    EXPECT_EQ(samplesOf(rate), (Samples{{1030, static_cast<double>(bits * 3000 / 60)},
                                        {1085, static_cast<double>(bits * 2000 / 51)}}));
    EXPECT_EQ(rate.unit, "bits/s");
    rate.clearSamples();
    rate.addFrame(5000, frame);
    rate.addFrame(5050, frame);
    EXPECT_EQ(rate.samples()[0], (Sample{5025, static_cast<double>(bits * 2000 / 50)}))
        << "a period that was cut off does not run on";
}

TEST_F(RatesTest, dividesByNoPeriodOfNoLength) {
    for (const int interval : {0, -5}) {
        store.hooks.bitRateInterval = [&] { return interval; };
        BitRate rate(store, addMessage(interval == 0 ? 1 : 2, "M"));
        const Frame frame;
        for (const std::uint64_t time : {7, 7, 7, 8})
            rate.addFrame(time, frame);
        EXPECT_EQ(samplesOf(rate), (Samples{{7, frameBits(frame) * 4000.0}}));
    }
}

TEST_F(RatesTest, givesEveryInterfaceItsStatistics) {
    addLoggerInterface(store);
    const auto virt = store.addInterface("Virt", kVirtualInterface);
    addMessage(1, "Plain");
    const auto twin = addMessage(2, "Plain");
    const auto multiplexed = addMessage(3, "Mux");
    addMultiplexor(multiplexed);
    for (const std::int32_t value : {7, 2, 7})
        addMultiplexed(multiplexed, value);
    addMultiplexor(addMessage(4, "Lone"));  // a multiplexor, but nothing under it
    const auto prepared = addMessage(5, "Prepared");
    const auto source = prepared->addRateSignal(kPlainSignal);
    store.addInterface("Far", 254);

    addBuiltinMessages(store);
    EXPECT_EQ(store.highestInterface, kStatisticsOffset + kLoggerInterface);
    EXPECT_EQ(store.findInterfaceByName("ST_Can0")->number, kStatisticsOffset);
    EXPECT_EQ(store.findInterfaceByName("ST_Virt"), nullptr);
    using Names = std::vector<std::string>;
    EXPECT_EQ(namesOf("ST_Can0", "MsgRate"),
              (Names{"Lone", "Mux (m2)", "Mux (m7)", "Plain", "Prepared"}));
    EXPECT_EQ(namesOf("ST_Can0", "BusLoad"), Names{"Bitrate"});
    EXPECT_EQ(namesOf("ST_Logger", "MsgRate"), (Names{"GPS_MOT", "GPS_POS", "GPS_STAT"}));
    EXPECT_EQ(namesOf("ST_Logger", "Error"), Names{"CountMsgDrop"});
    EXPECT_THROW(static_cast<void>(store.findInterfaceByName("ST_Logger")->findByName("BusLoad")),
                 SignalNotFoundException);
    EXPECT_EQ(store.getSignal("ST_Far.BusLoad.Bitrate").get(), bitRateOf(store, 254));
    EXPECT_EQ(bitRateOf(store, 1), nullptr);
    EXPECT_EQ(bitRateOf(store, 255), nullptr);
    for (const auto& [id, name] : {std::pair{1U, "Error"}, {2U, "BusLoad"}, {3U, "MsgRate"}})
        EXPECT_EQ(store.getMessage(kStatisticsOffset, id)->name, name);

    EXPECT_EQ(prepared->signals.size(), 1U) << "a rate signal that is there is used";
    store.getSignal("ST_Can0.MsgRate.Prepared")->setSelected(true);
    EXPECT_EQ(source->useCount, 1U);
    EXPECT_EQ(prepared->pendingCount, 1U);
    store.getSignal("ST_Can0.MsgRate.Prepared")->setSelected(false);
    EXPECT_EQ(source->useCount, 0U);
}

TEST_F(RatesTest, tellsTheRateOfAMessage) {
    const auto message = addMessage(1, "M");
    addBuiltinMessages(store);
    const auto rate = store.getSignal("ST_Can0.MsgRate.M");
    rate->setSelected(true);
    for (std::uint64_t time = 1000; time <= 1100; time += 10)
        post(*message, time);
    for (int i = 0; i < 5; ++i)
        post(*message, 1200);  // five in one millisecond
    post(*message, 1210);
    post(*message, 11210);  // 10 s are no gap, but storage repeats a sample
    post(*message, 31210);  // this one is a gap
    post(*message, 31215);
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
    const auto message = addMessage(1, "M");
    addMultiplexor(message);
    addMultiplexed(message, 4);
    addMultiplexed(message, 9);
    addBuiltinMessages(store);
    const auto four = store.getSignal("ST_Can0.MsgRate.M (m4)");
    four->setSelected(true);
    for (std::uint64_t time = 0; time < 100; time += 10)
        post(*message, time, time % 20 == 0 ? 4 : 9);
    finishAll();
    EXPECT_EQ(samplesOf(*four), (Samples{{0, 50.0}}));
}

TEST_F(RatesTest, missesNoFrameOfARunningStream) {
    const auto message = addMessage(1, "M");
    addBuiltinMessages(store);
    store.liveMode = true;
    const auto rate = store.getSignal("ST_Can0.MsgRate.M");
    rate->setSelected(true);
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    std::uint64_t time = 1000;
    std::uint64_t frames = 0;
    double counted = 0;
    for (int answer = 0; answer < 50; ++answer) {
        const std::uint32_t count = random.below(6);
        for (std::uint32_t i = 0; i < count; ++i, ++frames)
            post(*message, time += 10);
        calculateAll(store);
    }
    ASSERT_GT(frames, 3U);
    for (const Sample& sample : rate->samples())
        counted = std::max(counted, sample.value);
    EXPECT_EQ(counted, 100.0);
    EXPECT_EQ(rate->min, 100.0) << "neither lost nor counted twice";
    EXPECT_GE(rate->lastSeenTime + 20, time);
}

}  // namespace
}  // namespace trelis
