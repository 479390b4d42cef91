#include "model/builtin/ErrorMessage.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/TestStore.h"

namespace trelis {
namespace {

using Samples = std::vector<Sample>;

class ErrorMessageTest : public ::testing::Test {
  protected:
    ErrorMessageTest() { interface->addMessage(message); }

    static Frame errorFrame(std::uint32_t flags, std::uint8_t dlc = 8,
                            std::array<std::uint8_t, 8> data = {10, 11, 12, 13, 14, 15, 16, 17}) {
        Frame frame;
        frame.id = kErrorFrameFlag | flags;
        frame.dlc = dlc;
        frame.data = data;
        return frame;
    }
    /// The newest values of the signals that got any.
    std::map<std::string, double> values() {
        std::map<std::string, double> found;
        for (const auto& signal : message->signals)
            if (!signal->samples().empty()) found[signal->name] = signal->samples().back().value;
        return found;
    }
    static Samples samplesOf(const Signal& signal) {
        return {signal.samples().begin(), signal.samples().end()};
    }
    std::string printed(const std::string& name, double value) {
        std::array<char, 128> buffer{};
        message->getSignal(name)->printValue(buffer.data(), buffer.size(), value);
        return buffer.data();
    }

    test::TestStore store;
    std::shared_ptr<CanIface> interface = store.addInterface("ST_Can0", kStatisticsOffset);
    std::shared_ptr<ErrorMessage> message = ErrorMessage::create("Error", interface, false);
};

TEST_F(ErrorMessageTest, countsAndDescribesEveryFlag) {
    using Values = std::map<std::string, double>;
    struct Case {
        std::uint32_t flags;
        std::uint8_t dlc;
        Values values;
    };
    const Case cases[] = {
        {0x002, 8, {{"CountLostArb", 1}, {"LostArbPos", 10}}},
        {0x002, 0, {{"CountLostArb", 1}, {"LostArbPos", 0}}},
        {0x004, 2, {{"CountCtrlErr", 1}, {"DescriptionCtrlErr", 11}}},
        {0x004, 1, {{"CountCtrlErr", 1}, {"DescriptionCtrlErr", 0}}},
        {0x008, 3, {{"CountProtErr", 1}, {"DescriptionProtErr", 12}}},
        {0x008, 2, {{"CountProtErr", 1}, {"DescriptionProtErr", 0}}},
        {0x010, 5, {{"CountTrxErr", 1}, {"DescriptionTrxErr", 14}}},
        {0x010, 4, {{"CountTrxErr", 1}, {"DescriptionTrxErr", 0}}},
        {0x020, 8, {{"CountAckErr", 1}}},
        {0x040, 8, {{"CountBusOff", 1}}},
        {0x080, 8, {{"CountBusErr", 1}}},
        {0x100, 8, {{"CountCtrlRestart", 1}}},
        {0x006,
         8,
         {{"CountLostArb", 1},
          {"LostArbPos", 10},
          {"CountCtrlErr", 1},
          {"DescriptionCtrlErr", 11}}},
        {0x041, 8, {}},  // a transmission time-out says nothing
        {0x200, 8, {}},
    };
    store.readAll = true;
    for (const Case& c : cases) {
        for (const auto& signal : message->signals)
            signal->clearSamples();
        message->postFrame(errorFrame(c.flags, c.dlc), 1000);
        EXPECT_EQ(values(), c.values) << "flags " << c.flags << " dlc " << int{c.dlc};
    }
}

TEST_F(ErrorMessageTest, decodesWhatAParseNeeds) {
    EXPECT_FALSE(message->isWanted());
    message->postFrame(errorFrame(0x002), 5);
    EXPECT_TRUE(values().empty());
    // The description alone is enough to follow the events.
    message->getSignal("LostArbPos")->setSelected(true);
    EXPECT_TRUE(message->startWorker());
    EXPECT_TRUE(store.wantErrors);
    message->postFrame(errorFrame(0x006), 5);
    EXPECT_EQ(values().size(), 2U);
    EXPECT_EQ(values()["LostArbPos"], 10.0);
    message->finish();
    EXPECT_FALSE(message->isWanted());
}

TEST_F(ErrorMessageTest, staysFlatUpToALateEvent) {
    const auto count = message->getSignal("CountCtrlErr");
    const auto what = message->getSignal("DescriptionCtrlErr");
    count->setSelected(true);
    message->startWorker();
    message->postFrame(errorFrame(0x004, 8, {0, 1}), 20'000);
    message->postFrame(errorFrame(0x004, 8, {0, 4}), 30'000);  // no more than 10 s
    message->postFrame(errorFrame(0x004, 8, {0, 8}), 40'001);
    EXPECT_EQ(samplesOf(*count),
              (Samples{{20'000, 1}, {20'000, 1}, {30'000, 2}, {35'000, 2}, {40'001, 3}}));
    EXPECT_EQ(samplesOf(*what),
              (Samples{{20'000, 1}, {20'000, 1}, {30'000, 4}, {35'000, 4}, {40'001, 8}}));
    // A later parse for another signal counts from 0 and leaves these alone.
    message->finish();
    message->getSignal("CountBusOff")->setSelected(true);
    message->startWorker();
    message->postFrame(errorFrame(0x044), 20'000);
    EXPECT_EQ(count->samples().size(), 5U);
    EXPECT_EQ(values()["CountBusOff"], 1.0);
}

TEST_F(ErrorMessageTest, takesTheLoggersCountAsItIs) {
    const auto logger = store.addInterface("ST_Logger", kStatisticsOffset + kLoggerInterface);
    const auto dropped = ErrorMessage::create("Error", logger, true);
    logger->addMessage(dropped);
    const auto count = dropped->getSignal("CountMsgDrop");
    store.readAll = true;
    Frame frame = errorFrame(0x100, 8, {0, 0, 0, 0, 0x78, 0x56, 0x34, 0xF2});
    frame.interface = kLoggerInterface;
    for (const std::uint32_t id : {0x200000FFU, 0x20000103U, 0x100U}) {
        frame.id = id;
        dropped->postFrame(frame, 1);
    }
    frame.id = 0x20000102;
    frame.dlc = 7;
    dropped->postFrame(frame, 2);
    EXPECT_TRUE(count->samples().empty());
    frame.dlc = 8;
    dropped->postFrame(frame, 3);
    EXPECT_EQ(samplesOf(*count), (Samples{{3, 4063516280.0}}));
    EXPECT_EQ(dropped->comment, "Errors reported by the logger");
}

TEST_F(ErrorMessageTest, printsFlags) {
    EXPECT_EQ(printed("DescriptionProtErr", 5), "BitErr, BitStuffErr (5)");
    EXPECT_EQ(printed("DescriptionProtErr", 0), "Unspec (0)");
    EXPECT_EQ(printed("DescriptionProtErr", 255),
              "BitErr, FrameFormat, BitStuffErr, BitDomErr, BitRecErr, Overload, ActiveErr, TXErr "
              "(255)");
    EXPECT_EQ(printed("DescriptionTrxErr", 5), "No CANH wire (5)");
    EXPECT_EQ(printed("LostArbPos", 5), " (5)");
    EXPECT_EQ(printed("CountBusOff", 5), "5.00");
    EXPECT_EQ(printed("DescriptionProtErr", 1e300), "Unspec (0)");
    message->getSignal("CountBusOff")->unit = "hex";
    EXPECT_EQ(printed("CountBusOff", 255), "0xFF");
}

TEST_F(ErrorMessageTest, letsGoOfItsSignals) {
    const std::weak_ptr<Signal> description = message->getSignal("LostArbPos");
    interface->clear();
    EXPECT_TRUE(description.expired());
    message->postFrame(errorFrame(0x002), 1);
}

}  // namespace
}  // namespace trelis
