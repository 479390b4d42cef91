#include "model/Signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <system_error>

#include "app/diagnostics/Exceptions.h"
#include "support/Model.h"

namespace trelis {
namespace {

using test::printed;
using test::Samples;
using test::samplesOf;

class SignalTest : public ::testing::Test {
  protected:
    std::shared_ptr<Signal> makeSignal(const std::string& name) {
        auto made = std::make_shared<Signal>(message, name);
        message->addSignal(name, made);
        return made;
    }
    void addAll(const Samples& samples) {
        for (const Sample& sample : samples)
            signal->addSample(sample.time, sample.value);
    }

    test::BusStore store;
    std::shared_ptr<Message> message = store.addMessage(1, "Msg");
    std::shared_ptr<Signal> signal = makeSignal("s");
};

TEST_F(SignalTest, storesChangesEndsOfGapsAndAMarkEveryTenSeconds) {
    struct Case {
        Samples added;
        Samples stored;
    };
    const Case cases[] = {
        {{{0, 5}, {100, 5}, {200, 5}, {300, 6}}, {{0, 5}, {300, 6}}},
        {{{0, 5}, {100, std::nan("")}, {200, 5}}, {{0, 5}}},  // a NaN differs from nothing
        {{{0, 1}, {9999, 1}}, {{0, 1}}},
        // A stretch of 10 s: the last time seen is noted, here the first sample's own.
        {{{0, 1}, {10000, 1}}, {{0, 1}, {0, 1}}},
        {{{0, 1}, {10000, 2}}, {{0, 1}, {0, 1}, {10000, 2}}},
        {{{0, 1}, {10001, 1}}, {{0, 1}, {0, 1}, {10001, 1}}},
        {{{0, 1}, {500, 1}, {10501, 2}}, {{0, 1}, {500, 1}, {10501, 2}}},
        {{{0, 1}, {5000, 1}, {10000, 1}, {15000, 1}}, {{0, 1}, {5000, 1}, {10000, 1}}},
    };
    for (const Case& c : cases) {
        signal->clearSamples();
        addAll(c.added);
        EXPECT_EQ(samplesOf(*signal), c.stored) << "up to " << c.added.back().time;
    }
    signal->clearSamples();
    for (std::uint64_t time = 0; time <= 25000; time += 100)
        signal->addSample(time, 1.0);
    for (int i = 0; i < 2; ++i) {
        signal->flushSamples();
        EXPECT_EQ(samplesOf(*signal), (Samples{{0, 1}, {9900, 1}, {19800, 1}, {25000, 1}}));
    }
    signal->mutex.reset();
    EXPECT_THROW(signal->addSample(0, 1), std::system_error);
    signal->mutex = std::make_shared<std::mutex>();
}

TEST_F(SignalTest, movesAnEndMarkerInLiveMode) {
    store.liveMode = true;
    const std::pair<Sample, Samples> steps[] = {
        {{0, 1}, {{0, 1}, {0, 1}}},
        {{100, 1}, {{0, 1}, {100, 1}}},
        {{200, 2}, {{0, 1}, {200, 2}, {200, 2}}},
        {{9000, 2}, {{0, 1}, {200, 2}, {9000, 2}}},
        {{10200, 2}, {{0, 1}, {200, 2}, {9000, 2}, {10200, 2}}},  // 10 s after the change
        {{20300, 3}, {{0, 1}, {200, 2}, {9000, 2}, {10200, 2}, {20300, 3}, {20300, 3}}},  // a gap
    };
    for (const auto& [added, stored] : steps) {
        signal->addSample(added.time, added.value);
        EXPECT_EQ(samplesOf(*signal), stored) << added.time;
    }
}

TEST_F(SignalTest, knowsItsRanges) {
    addAll({{1000, 7}, {2000, 3}, {3000, 5}, {4000, 9}, {5000, -4}});
    store.setInterval(4100, 2500);     // either way round
    EXPECT_EQ(signal->visibleMin, 3);  // the sample before runs into the interval
    EXPECT_EQ(signal->visibleMax, 9);
    addAll({{6000, 100}});  // outside
    EXPECT_EQ(signal->visibleMax, 9);
    store.clearInterval();
    EXPECT_EQ(signal->visibleMin, -4);
    EXPECT_EQ(signal->visibleMax, 100);
    EXPECT_FALSE(signal->intervalActive);

    const auto limited = std::make_shared<Signal>(message, "limited", -10.0, 100.0);
    for (const double value : {0.0, 500.0, 50.0, -11.0, 100.0, -10.0})
        limited->addSample(limited->lastSeenTime + 1, value);
    EXPECT_EQ(limited->min, -10.0);
    EXPECT_EQ(limited->visibleMax, 100.0);
    EXPECT_EQ(limited->samples().size(), 6U) << "limits are for the plot";
    EXPECT_FALSE(std::make_shared<Signal>(message, "free", 0.0, 0.0)->hasLimits);
}

TEST_F(SignalTest, findsValuesByTime) {
    EXPECT_EQ(signal->valueAt(5), 0.0);
    constexpr std::uint64_t kCount = 5000;  // a sample every 10 ms, from 10 on
    for (std::uint64_t i = 1; i <= kCount; ++i)
        signal->addSample(i * 10, static_cast<double>(i));
    for (const std::uint64_t time : {9, 10, 19, 20, 1005, 25'000, 49'999, 50'000, 99'999}) {
        EXPECT_EQ(signal->valueAt(time), static_cast<double>(std::min(time / 10, kCount))) << time;
        const Sample* near = signal->findNear(time);
        EXPECT_TRUE(near == signal->samples().begin() || near->time < time) << time;
        const std::uint64_t firstNotBefore = std::min((time + 9) / 10 - 1, kCount);
        const auto found = static_cast<std::uint64_t>(near - signal->samples().begin());
        EXPECT_LE(firstNotBefore, found + 210) << time;
    }
}

TEST_F(SignalTest, placesValuesInAPlot) {
    signal->addSample(0, 0);
    EXPECT_EQ(signal->yPosition(0, 102), 1);  // no range: both ends alike
    signal->addSample(1, 10);
    EXPECT_EQ(signal->yPosition(10, 102), 1);
    EXPECT_EQ(signal->yPosition(5, 102), 51);
    store.lineWidth = 3.7;  // a margin of 4
    EXPECT_EQ(signal->yPosition(10, 104), 2);
    EXPECT_EQ(signal->yPosition(0, 104), 102);
    EXPECT_LT(signal->yPosition(std::numeric_limits<double>::infinity(), 104), -1000);
    EXPECT_EQ(signal->yPosition(std::nan(""), 104), 0);
}

TEST_F(SignalTest, printsValues) {
    EXPECT_EQ(printed(*signal, 1.005), "1.00");
    signal->decimals = 4;
    EXPECT_EQ(printed(*signal, -1.5), "-1.5000");
    EXPECT_EQ(printed(*signal, 123456.0, 4), "123");
    signal->unit = "hex";
    EXPECT_EQ(printed(*signal, 255.0), "0xFF");
    EXPECT_EQ(printed(*signal, 1e300), "0x0");
    signal->valueLabels = {{1, "on"}, {-1, "fault"}};
    EXPECT_EQ(printed(*signal, 1.7), "on (1)");
    EXPECT_EQ(printed(*signal, -1.2), "fault (-1)");
    EXPECT_EQ(printed(*signal, 2.0), "0x2");
    signal->unit = "";
    EXPECT_EQ(printed(*signal, std::nan("")).substr(0, 3), "nan");
}

TEST_F(SignalTest, countsItsUsers) {
    const auto user = makeSignal("user");
    signal->addUser(user);
    signal->setSelected(true);
    signal->setSelected(true);
    EXPECT_EQ(signal->useCount, 2U);
    EXPECT_TRUE(signal->needsParse);
    EXPECT_EQ(store.selectedSignals.size(), 1U);
    signal->removeUser(user);
    signal->setSelected(false);
    EXPECT_EQ(signal->useCount, 0U);
    EXPECT_FALSE(signal->needsParse);
    EXPECT_TRUE(signal->users.empty());
    EXPECT_THROW(signal->removeUser(nullptr), PrintMsgError);
    EXPECT_EQ(test::TestStore::messages().back(), "Refcounting error");
    signal->hidden = true;
    signal->setSelected(true);
    EXPECT_FALSE(signal->selected);
    signal->hidden = false;
    signal->parsed = true;
    signal->setSelected(true);
    EXPECT_FALSE(signal->needsParse) << "what was parsed is not decoded again";
    signal->addSample(10, 3);
    signal->clearSamples();
    EXPECT_TRUE(signal->needsParse) << "what it held is gone, and it is wanted";
    EXPECT_FALSE(signal->hasData);
    EXPECT_GT(signal->min, signal->max);
}

TEST_F(SignalTest, isNamedByItsPlace) {
    EXPECT_EQ(signal->fullName, "Can.Msg.s");
    EXPECT_EQ(signal->color, "#00007833ffff");
    store.hooks.colorLookup = [](const auto& i, const auto& m, const auto& s) {
        return i + "/" + m + "/" + s;
    };
    const Signal scratch(std::make_shared<Message>(store, 9, "Scratch"), "s");
    EXPECT_EQ(scratch.fullName + " " + scratch.color, "Scratch.s Can/Scratch/s");
}

}  // namespace
}  // namespace trelis
