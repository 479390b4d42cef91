// The two methods that go through every sample: the sliding mean and the integral.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "TestModel.h"

namespace trelis {
namespace {

using test::check;
using test::kStart;
using test::linesOf;
using test::stored;
using test::TestModel;
using Samples = std::vector<std::pair<std::uint64_t, double>>;

// Where samples lie on the edges of the windows the mean is exact, so that an integral over the
// held values can tell it.
TEST(AverageTest, isTheMeanAroundItsTime) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    TestModel model;
    std::vector<double> values;
    for (int i = 0; i < 500; ++i)
        values.push_back(static_cast<double>(generator() % 1000));
    model.feedSteps("a", values);
    const auto signal = model.compute(linesOf("average a window=1000"));
    for (std::size_t i = 5; i + 6 < values.size(); ++i) {
        double sum = 0;
        for (std::size_t k = i - 5; k < i + 5; ++k)
            sum += values[k];
        ASSERT_NEAR(signal->valueAt(kStart + i * 100), sum / 10, 1e-9) << i;
    }
}

TEST(AverageTest, weighsAndClips) {
    const std::string constant = "a -3 -3 -3 -3 -3 -3 -3 -3 -3 -3 -3 -3 -3 -3 -3 -3";
    check({
        // The value 4 holds for the interval, the value 10 for 5 s behind it; 10 s are too long.
        {"average a step=9999 window=60000", "a 0:4 9999:10 14999:11", "9999:6.0001333422228145"},
        {"average a step=10000 window=60000", "a 0:4 10000:10 15000:11", "10000:10"},
        // An interval of just 10 s is no gap: the window slides on over it.
        {"average a window=400", "a 0:4 100:6 10100:8 10300:9 10500:9", "10100:7"},
        {"average a window=400", constant, "1000:-3"},
        {"average a window=400 onlyPos=true", constant, "1000:0"},
        {"average a window=400 onlyNeg=true", constant, "1000:-3"},
        {"average a window=400 absInput=true", constant, "1000:3"},
        // Deliberate: both together leave nothing.
        {"average a window=400 onlyPos=true onlyNeg=true", constant, "1000:0"},
        // A window of hours before a gap: the last sample counts up to the end of the window, and
        // output goes on until it stands at that sample.
        {"average a step=40 window=6000000", "a 0:1 1000:5 50000000:9 50001000:2",
         "1000:4.998667110963012 49999999:4.998667110963012 50000000:9"},
    });
}

TEST(AverageTest, restartsBehindAStop) {
    TestModel model;
    Samples samples;
    for (std::uint64_t t = 0; t <= 2000; t += 100)
        samples.emplace_back(t, t % 200 == 0 ? 0 : 2);
    for (std::uint64_t t = 62000; t <= 64000; t += 100)
        samples.emplace_back(t, 8);
    model.feed("a", samples);
    const auto signal = model.compute(linesOf("average a window=400"));
    std::uint64_t lastBefore = 0;
    std::uint64_t firstBehind = 0;
    for (const auto& [time, value] : stored(*signal)) {
        if (time < 30000) lastBefore = time;
        if (time > 30000 && firstBehind == 0) firstBehind = time;
    }
    EXPECT_LE(lastBefore, 2300U);
    EXPECT_EQ(firstBehind, 62000U);
    EXPECT_EQ(signal->valueAt(kStart + 62000), 8);
    // At the end of the data windows go on until they have passed the last sample.
    EXPECT_EQ(signal->samples().back().time, kStart + 64000);
}

TEST(AverageTest, takesItsUnitFromTheInput) {
    TestModel model;
    model.input("a")->unit = "V";
    EXPECT_EQ(model.make(linesOf("average a window=200"), "x")->unit, "V");
    EXPECT_EQ(model.make(linesOf("average a window=200 unit=W"), "y")->unit, "W");
}

// ---- the integral

TEST(IntegrateTest, addsRectangles) {
    check({
        {"integrate a", "a 0:2 1000:4 2000:4.5", "1000:2 2000:6 =6"},
        {"integrate a fact=10 offs=1", "a 0:2 1000:4", "1000:21 =21"},
        {"integrate a onlyPos=true", "a 0:2 1000:-4 2000:1", "1000:2 2000:2"},
        {"integrate a onlyNeg=true", "a 0:2 1000:-4 2000:1", "1000:0 2000:-4"},
        // Both together: the first one hides the other.
        {"integrate a onlyPos=true onlyNeg=true", "a 0:2 1000:-4 2000:1", "1000:2 2000:2"},
        // The absolute value comes before clipping, and also for the first sample.
        {"integrate a absInput=true onlyNeg=true", "a 0:-2 1000:-4", "1000:0"},
        {"integrate a absInput=true", "a 0:-2 1000:-4", "1000:2"},
        // The absolute value is taken before and after scaling; the sum stays signed.
        {"integrate a absOutput=true offs=-3", "a 0:-2 1000:5 2000:0", "1000:1 2000:0 =0"},
        // The sum itself is cut off: from a limit it leaves at once.
        {"integrate a maxSum=10", "a 0:8 1000:9 2000:-4 3000:0", "1000:8 2000:10 3000:6"},
        {"integrate a minSum=-3", "a 0:-8 1000:5 2000:0", "1000:-3 2000:2"},
        // A gap adds nothing and has no output; exactly 10 s is none.
        {"integrate a", "a 0:1 10000:2", "10000:10"},
        {"integrate a", "a 0:2 1000:4 1000:100 2000:0", "2000:6"},  // of one time the first counts
    });
}

TEST(IntegrateTest, leavesGapsOut) {
    TestModel model;
    const auto input = model.input("a");
    // Samples as they stand, without the marks that storage sets at a gap.
    for (const auto& [time, value] : Samples{{0, 1}, {1000, 2}, {11001, 3}, {12001, 4}})
        input->addSample(kStart + time, value);
    const auto signal = model.compute("method=integrate\nsignal=Can.In.a");
    EXPECT_EQ(signal->valueAt(kStart + 11001), 1);
    EXPECT_EQ(signal->valueAt(kStart + 12001), 4);
    for (const auto& [time, value] : stored(*signal))
        EXPECT_NE(time, 11001U);
}

TEST(IntegrateTest, isHeldAtZeroByAReset) {
    const std::string held = "integrate a resetSig=Can.In.r";
    const std::string input = "a 0:5 1000:1 2000:2 3000:3 4000:4; ";
    check({
        // Deliberate: the first sample of the reset signal is where integration starts, value and
        // all.
        {held, input + "r 0:0 4500:0.5", "1000:0 2000:1 3000:3 4000:6"},
        {held, input + "r 0:-7 4500:0", "1000:-7 2000:-6"},
        // High from 1500 to 2500: zero at 2000 and, for the last time, at 3000.
        {held, input + "r 0:0 1500:1 2500:0 4500:1", "1000:0 2000:0 3000:0 4000:3"},
        // Integration waits for the reset signal.
        {held, input + "r 0:0 2000:1", "1000:0 2000:1 3000:1"},
        {held, input + "r", "none"},
    });
}

// A live run computes bit by bit and comes to the same values.
TEST(SampleMethodsTest, continueLive) {
    for (const char* group :
         {"average a step=50 window=600", "integrate a resetSig=Can.In.r", "integrate a"}) {
        TestModel logs;
        TestModel live;
        live.liveMode = true;
        for (const char* name : {"a", "r"})
            live.input(name);
        const auto byAndBy = live.make(linesOf(group));
        for (std::uint64_t t = 0; t < 30000; t += 40) {
            for (TestModel* model : {&logs, &live}) {
                model->input("r")->addSample(kStart + t, t / 10000 == 1 ? 1 : 0);
                model->input("a")->addSample(kStart + t, static_cast<double>(t / 40 % 7));
            }
            if (t % 120 == 0) calculateAll(live);
        }
        for (const char* name : {"a", "r"})
            logs.input(name)->flushSamples();
        const auto atOnce = logs.compute(linesOf(group));
        for (std::uint64_t t = 1000; t < 29000; t += 50)
            ASSERT_NEAR(byAndBy->valueAt(kStart + t), atOnce->valueAt(kStart + t), 1e-9)
                << group << " at " << t;
        EXPECT_GT(atOnce->valueAt(kStart + 28000), 1);
    }
}

}  // namespace
}  // namespace trelis
