#include "model/builtin/ErrorMessage.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/Model.h"

namespace trelis {
namespace {

using test::Samples;
using test::samplesOf;

constexpr std::uint64_t kData = 0x1716'1514'1312'1110;

Frame errorFrame(std::uint32_t flags, std::uint8_t dlc = 8, std::uint64_t data = kData) {
    return test::frameOf(data, 0, kErrorFrameFlag | flags, dlc);
}

class ErrorMessageTest : public ::testing::Test {
  protected:
    ErrorMessageTest() { interface->addMessage(message); }

    std::shared_ptr<Signal> signal(const std::string& name) { return message->getSignal(name); }
    /// The newest values of the signals that got any, "name=value" each.
    std::string values() {
        std::ostringstream text;
        for (const auto& each : message->signals)
            if (!each->samples().empty())
                text << each->name << "=" << each->samples().back().value << " ";
        return text.str();
    }

    test::TestStore store;
    std::shared_ptr<CanIface> interface = store.addInterface("ST_Can0", kStatisticsOffset);
    std::shared_ptr<ErrorMessage> message = ErrorMessage::create("Error", interface, false);
};

TEST_F(ErrorMessageTest, countsAndDescribesEveryFlag) {
    struct Case {
        std::uint32_t flags;
        std::uint8_t dlc;
        const char* values;
    };
    constexpr Case kCases[] = {
        {0x002, 1, "CountLostArb=1 LostArbPos=16 "},
        {0x002, 0, "CountLostArb=1 LostArbPos=0 "},
        {0x004, 2, "CountCtrlErr=1 DescriptionCtrlErr=17 "},
        {0x004, 1, "CountCtrlErr=1 DescriptionCtrlErr=0 "},
        {0x008, 3, "CountProtErr=1 DescriptionProtErr=18 "},
        {0x008, 2, "CountProtErr=1 DescriptionProtErr=0 "},
        {0x010, 5, "CountTrxErr=1 DescriptionTrxErr=20 "},
        {0x010, 4, "CountTrxErr=1 DescriptionTrxErr=0 "},
        {0x006, 8, "CountLostArb=1 LostArbPos=16 CountCtrlErr=1 DescriptionCtrlErr=17 "},
        {0x020, 8, "CountAckErr=1 "},
        {0x040, 8, "CountBusOff=1 "},
        {0x080, 8, "CountBusErr=1 "},
        {0x100, 8, "CountCtrlRestart=1 "},
        {0x041, 8, ""},  // a transmission time-out says nothing
        {0x200, 8, ""},
    };
    store.readAll = true;
    for (const Case& c : kCases) {
        for (const auto& each : message->signals)
            each->clearSamples();
        message->postFrame(errorFrame(c.flags, c.dlc), 1000);
        EXPECT_EQ(values(), c.values) << "flags " << c.flags << " dlc " << int{c.dlc};
    }
}

TEST_F(ErrorMessageTest, decodesWhatAParseNeeds) {
    EXPECT_FALSE(message->isWanted());
    message->postFrame(errorFrame(0x002), 5);
    EXPECT_EQ(values(), "");
    // The description alone is enough to follow the events.
    signal("LostArbPos")->setSelected(true);
    EXPECT_TRUE(message->startWorker());
    EXPECT_TRUE(store.wantErrors);
    message->postFrame(errorFrame(0x006), 5);
    EXPECT_EQ(values(), "CountLostArb=1 LostArbPos=16 ");
    message->finish();
    EXPECT_FALSE(message->isWanted());
}

TEST_F(ErrorMessageTest, staysFlatUpToALateEvent) {
    const auto count = signal("CountCtrlErr");
    count->setSelected(true);
    message->startWorker();
    message->postFrame(errorFrame(0x004, 8, 0x100), 20'000);
    message->postFrame(errorFrame(0x004, 8, 0x400), 30'000);  // no more than 10 s
    message->postFrame(errorFrame(0x004, 8, 0x800), 40'001);
    EXPECT_EQ(samplesOf(*count),
              (Samples{{20'000, 1}, {20'000, 1}, {30'000, 2}, {35'000, 2}, {40'001, 3}}));
    EXPECT_EQ(samplesOf(*signal("DescriptionCtrlErr")),
              (Samples{{20'000, 1}, {20'000, 1}, {30'000, 4}, {35'000, 4}, {40'001, 8}}));
    // A later parse for another signal counts from 0 and leaves these alone.
    message->finish();
    signal("CountBusOff")->setSelected(true);
    message->startWorker();
    message->postFrame(errorFrame(0x044), 20'000);
    EXPECT_EQ(count->samples().size(), 5U);
    EXPECT_EQ(signal("CountBusOff")->max, 1.0);
}

TEST_F(ErrorMessageTest, takesTheLoggersCountAsItIs) {
    const auto logger = store.addInterface("ST_Logger", kStatisticsOffset + kLoggerInterface);
    const auto dropped = ErrorMessage::create("Error", logger, true);
    logger->addMessage(dropped);
    store.readAll = true;
    std::uint64_t time = 0;
    const auto post = [&](std::uint32_t id, std::uint8_t dlc) {
        Frame frame = test::frameOf(0xF234'5678'0000'0000, 0, id, dlc);
        frame.interface = kLoggerInterface;
        dropped->postFrame(frame, ++time);
    };
    for (const std::uint32_t id : {0x200000FFU, 0x20000103U, 0x100U})
        post(id, 8);
    post(0x20000102, 7);
    post(0x20000102, 8);
    EXPECT_EQ(samplesOf(*dropped->getSignal("CountMsgDrop")), (Samples{{5, 4063516280.0}}));
}

TEST_F(ErrorMessageTest, printsFlags) {
    struct Case {
        const char* name;
        double value;
        const char* text;
    };
    for (const auto& [name, value, text] :
         {Case{"DescriptionProtErr", 5, "BitErr, BitStuffErr (5)"},
          {"DescriptionProtErr", 1e300, "Unspec (0)"},
          {"DescriptionProtErr", 255,
           "BitErr, FrameFormat, BitStuffErr, BitDomErr, BitRecErr, Overload, ActiveErr, TXErr "
           "(255)"},
          {"DescriptionCtrlErr", 127,
           "RXOvf, TXOvf, RXWarn, TXWarn, RXPassive, TXPassive, ErrActive (127)"},
          {"DescriptionTrxErr", 5, "No CANH wire (5)"},  // a label of a flag only
          {"LostArbPos", 5, " (5)"},
          {"CountBusOff", 5, "5.00"}})
        EXPECT_EQ(test::printed(*signal(name), value), text);
    signal("CountBusOff")->unit = "hex";
    EXPECT_EQ(test::printed(*signal("CountBusOff"), 255), "0xFF");
}

TEST_F(ErrorMessageTest, letsGoOfItsSignals) {
    const std::weak_ptr<Signal> description = signal("LostArbPos");
    interface->clear();
    EXPECT_TRUE(description.expired());
    message->postFrame(errorFrame(0x002), 1);
}

}  // namespace
}  // namespace trelis
