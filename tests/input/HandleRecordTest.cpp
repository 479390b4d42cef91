#include "input/HandleRecord.h"

#include <stdexcept>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "input/Recording.h"
#include "model/builtin/BitRate.h"
#include "model/builtin/BuiltinMessages.h"
#include "support/Model.h"

namespace trelis {
namespace {

using test::frameAt;

class HandleRecordTest : public ::testing::Test {
  protected:
    HandleRecordTest() {
        store.hooks.timeBaseListener = [this](std::uint64_t time, std::uint64_t base) {
            bases.emplace_back(time, base);
        };
        resetTimeAxis(store);
    }

    /// Absolute time of a record with this clock; `anchor` announces a start time before it.
    std::uint64_t timeOf(std::uint32_t clock, std::uint64_t anchor = 0) {
        store.nextFileStart = anchor;
        handleRecord(store, frameAt(clock, 1));
        EXPECT_EQ(store.nextFileStart, 0U);
        return store.lastTime;
    }

    test::BusStore store;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> bases;
};

TEST_F(HandleRecordTest, takesAFallingClockForItsOverflow) {
    timeOf(4'294'967'000, 1'000'000);
    EXPECT_EQ(store.lastTime, 1'000'000U);
    EXPECT_EQ(timeOf(4'294'967'290), 1'000'290U);
    EXPECT_EQ(timeOf(5), 1'000'300U);
    // A little step back counts as one, too.
    EXPECT_EQ(timeOf(4), 1'000'300U + 4'294'967'294ULL);
    EXPECT_EQ(test::TestStore::messages(),
              (test::Messages{"can message timestamp has overflowed (5)",
                              "can message timestamp has overflowed (4)"}));
    ASSERT_EQ(bases.size(), 3U);
    EXPECT_EQ(bases[1], (std::pair<std::uint64_t, std::uint64_t>{1'000'300, 1'000'295}));
}

TEST_F(HandleRecordTest, setsItsBaseByTheAnchor) {
    const struct {
        const char* what;
        std::uint32_t clock;
        std::uint64_t anchor;
        std::uint64_t time;
        std::size_t bases;
    } cases[] = {
        // The first record stood at 1000000 with a clock of 5000; each case comes next.
        {"the clock runs on", 6000, 1'001'000, 1'001'000, 1},
        {"the anchor lies behind the clock", 6000, 1'000'000, 1'001'000, 1},
        {"an anchor 20 s ahead is drift", 6000, 1'021'000, 1'001'000, 1},
        {"more is a pause", 6000, 1'021'001, 1'021'001, 2},
        {"the clock began anew", 0, 1'300'000, 1'300'000, 2},
        {"the clock began anew, the anchor is too early", 0, 999'000, 1'000'000, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        resetTimeAxis(store);
        bases.clear();
        EXPECT_EQ(timeOf(5000, 1'000'000), 1'000'000U);
        EXPECT_EQ(timeOf(c.clock, c.anchor), c.time);
        EXPECT_EQ(bases.size(), c.bases);
        EXPECT_EQ(timeOf(c.clock + 10), c.time + 10);
    }
    EXPECT_TRUE(test::TestStore::messages().empty());
}

// A clock that ran for longer than the time since the epoch has a base below it.
TEST_F(HandleRecordTest, livesWithABaseBeforeTheEpoch) {
    EXPECT_EQ(timeOf(5000, 1000), 1000U);
    EXPECT_EQ(timeOf(5010), 1010U);
    EXPECT_EQ(timeOf(5), 4'294'967'295U - 4000 + 5);
    EXPECT_EQ(test::TestStore::messages().size(), 1U);
    EXPECT_EQ(store.firstTime, 1000U);
}

TEST_F(HandleRecordTest, handsRecordsToWhoWantsThem) {
    const auto message = store.addMessage(1, "M");
    const auto signal = test::byteAt(message, "s", 0);
    message->addSignal("s", signal);
    addBuiltinMessages(store);
    const auto errors = store.getSignal("ST_Can.Error.CountBusOff");
    BitRate* rate = bitRateOf(store, 0);

    /// Who then has data: the signal, the count of errors, the bus load.
    const auto feed = [&] {
        store.buildActiveMaps();
        resetTimeAxis(store);
        signal->clearSamples();
        errors->clearSamples();
        rate->clearSamples();
        handleRecord(store, frameAt(100, 1));
        handleRecord(store, frameAt(300, 1));
        handleRecord(store, frameAt(400, kErrorFrameFlag | 0x40));
        handleRecord(store, frameAt(500, 99));        // no message
        handleRecord(store, frameAt(600, 1, 0, 77));  // no interface
        return std::array{signal->hasData.load(), errors->hasData.load(), rate->hasData.load()};
    };
    EXPECT_EQ(feed(), (std::array{false, false, false}));
    signal->setSelected(true);
    EXPECT_EQ(feed(), (std::array{true, false, false}));
    EXPECT_EQ(signal->lastSeenTime, 300U);
    rate->setSelected(true);
    errors->setSelected(true);
    EXPECT_EQ(feed(), (std::array{true, true, true}));
    EXPECT_EQ(rate->samples().size(), 2U) << "the error frame has no length";
    store.clearSelection();
    store.readAll = true;
    EXPECT_EQ(feed(), (std::array{true, true, true}));
}

// Throws while it decodes.
class BrokenMessage : public RealMessage {
  public:
    using RealMessage::RealMessage;
    void handleFrame(const Frame& frame) override {
        if (frame.timestamp == 2) reportFatal("beyond repair");
        throw std::runtime_error("cannot decode");
    }
};

TEST_F(HandleRecordTest, losesOneRecordToAFailure) {
    store.bus->addMessage(std::make_shared<BrokenMessage>(1, "M", store.bus));
    store.readAll = true;
    store.buildActiveMaps();
    handleRecord(store, frameAt(1, 1));
    EXPECT_EQ(test::TestStore::messages(),
              test::Messages{"Error while parsing CAN frame 1: cannot decode"});
    EXPECT_THROW(handleRecord(store, frameAt(2, 1)), PrintMsgError);
}

TEST_F(HandleRecordTest, finishesTheAxis) {
    store.parseFirstTime = 50;
    store.parseLastTime = 5000;
    timeOf(100);
    timeOf(9000);
    finishTimeAxis(store);
    EXPECT_EQ(store.intervalStart, 50U);
    EXPECT_EQ(store.intervalEnd, 9000U);
    store.setInterval(1, 2);
    timeOf(9999);
    finishTimeAxis(store);
    EXPECT_EQ(store.parseLastTime, 9999U);
    EXPECT_EQ(store.intervalEnd, 2U);
}

}  // namespace
}  // namespace trelis
