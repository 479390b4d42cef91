// The two methods that go through every sample: the sliding mean and the integral.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "TestModel.h"

namespace trelis {
namespace {

using test::kStart;
using test::stored;
using test::TestModel;
using Samples = std::vector<std::pair<std::uint64_t, double>>;

std::string average(int step, int window, const std::string& options = "") {
    return "method=average\nsignal=Can.In.a\nstep=" + std::to_string(step) +
           "\nwindow=" + std::to_string(window) + "\n" + options;
}

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
    const auto signal = model.compute(average(100, 1000));
    for (std::size_t i = 5; i + 6 < values.size(); ++i) {
        double sum = 0;
        for (std::size_t k = i - 5; k < i + 5; ++k)
            sum += values[k];
        ASSERT_NEAR(signal->valueAt(kStart + i * 100), sum / 10, 1e-9) << i;
    }
}

TEST(AverageTest, countsShortIntervalsOnly) {
    struct Case {
        std::uint64_t gap;
        double mean;  // at the second sample, of a window of 60 s
    };
    // The value 4 holds for the gap, the value 10 for 5 s behind it.
    for (const auto& [gap, mean] :
         {Case{9999, (9999 * 4.0 + 5000 * 10) / 14999}, Case{10000, 10.0}}) {
        TestModel model;
        model.feed("a", {{0, 4}, {gap, 10}, {gap + 5000, 11}});
        const auto signal = model.compute(average(static_cast<int>(gap), 60000));
        EXPECT_DOUBLE_EQ(signal->valueAt(kStart + gap), mean) << gap;
    }
}

TEST(AverageTest, restartsBehindAStop) {
    TestModel model;
    Samples samples;
    for (std::uint64_t t = 0; t <= 2000; t += 100)
        samples.emplace_back(t, t % 200 == 0 ? 0 : 2);
    for (std::uint64_t t = 62000; t <= 64000; t += 100)
        samples.emplace_back(t, 8);
    model.feed("a", samples);
    const auto signal = model.compute(average(100, 400));
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

TEST(AverageTest, clipsItsInput) {
    const std::vector<double> in(20, -3);
    for (const auto& [options, value] : {std::pair<const char*, double>{"", -3},
                                         {"onlyPos=true", 0},
                                         {"onlyNeg=true", -3},
                                         {"absInput=true", 3},
                                         // Deliberate: both together leave nothing.
                                         {"onlyPos=true\nonlyNeg=true", 0}}) {
        TestModel model;
        model.feedSteps("a", in);
        EXPECT_EQ(model.compute(average(100, 400, options))->valueAt(kStart + 1000), value)
            << options;
    }
}

TEST(AverageTest, takesItsUnitFromTheInput) {
    TestModel model;
    model.input("a")->unit = "V";
    EXPECT_EQ(model.make(average(1, 2), "x")->unit, "V");
    EXPECT_EQ(model.make(average(1, 2, "unit=W"), "y")->unit, "W");
}

// A window of hours before a gap: the last sample counts up to the end of the window, and output
// goes on until it stands at that sample.
TEST(AverageTest, goesOnToTheLastSampleBeforeAGap) {
    TestModel model;
    model.feed("a", {{0, 1}, {1000, 5}, {50'000'000, 9}, {50'001'000, 2}});
    const auto signal = model.compute(average(40, 6'000'000));
    const double mean = (1000 * 1.0 + 3'000'000 * 5.0) / 3'001'000;
    EXPECT_EQ(signal->valueAt(kStart + 1000), mean);
    EXPECT_EQ(signal->valueAt(kStart + 49'999'999), mean);
    EXPECT_EQ(signal->valueAt(kStart + 50'000'000), 9);
}

TEST(AverageTest, continuesLive) {
    TestModel logs;
    TestModel live;
    live.liveMode = true;
    live.input("a");
    const auto byAndBy = live.make(average(50, 600));
    for (std::uint64_t t = 0; t < 20000; t += 40) {
        const double value = static_cast<double>(t / 40 % 7);
        logs.input("a")->addSample(kStart + t, value);
        live.input("a")->addSample(kStart + t, value);
        if (t % 120 == 0) calculateAll(live);
    }
    logs.input("a")->flushSamples();
    const auto atOnce = logs.compute(average(50, 600));
    for (std::uint64_t t = 1000; t < 18000; t += 50)
        ASSERT_NEAR(byAndBy->valueAt(kStart + t), atOnce->valueAt(kStart + t), 1e-9) << t;
}

// ---- the integral

struct Case {
    const char* options;
    Samples in;
    Samples reset;
    Samples out;
};

TEST(IntegrateTest, addsRectangles) {
    const std::vector<Case> cases = {
        {"", {{0, 2}, {1000, 4}, {2000, 4.5}}, {}, {{1000, 2}, {2000, 6}}},
        {"fact=10\noffs=1", {{0, 2}, {1000, 4}}, {}, {{1000, 21}}},
        {"onlyPos=true", {{0, 2}, {1000, -4}, {2000, 1}}, {}, {{1000, 2}}},
        {"onlyNeg=true", {{0, 2}, {1000, -4}, {2000, 1}}, {}, {{1000, 0}, {2000, -4}}},
        // Both together: the first one hides the other.
        {"onlyPos=true\nonlyNeg=true", {{0, 2}, {1000, -4}, {2000, 1}}, {}, {{1000, 2}}},
        // The absolute value comes before clipping, and also for the first sample.
        {"absInput=true\nonlyNeg=true", {{0, -2}, {1000, -4}}, {}, {{1000, 0}}},
        {"absInput=true", {{0, -2}, {1000, -4}}, {}, {{1000, 2}}},
        // The absolute value is taken before and after scaling; the sum stays signed.
        {"absOutput=true\noffs=-3", {{0, -2}, {1000, 5}, {2000, 0}}, {}, {{1000, 1}, {2000, 0}}},
        // The sum itself is cut off: from a limit it leaves at once.
        {"maxSum=10",
         {{0, 8}, {1000, 9}, {2000, -4}, {3000, 0}},
         {},
         {{1000, 8}, {2000, 10}, {3000, 6}}},
        {"minSum=-3", {{0, -8}, {1000, 5}, {2000, 0}}, {}, {{1000, -3}, {2000, 2}}},
        // A gap adds nothing and has no output; exactly 10 s is none.
        {"", {{0, 1}, {10000, 2}}, {}, {{10000, 10}}},
    };
    for (const auto& [options, in, reset, out] : cases) {
        TestModel model;
        model.feed("a", in);
        const auto signal =
            model.compute(std::string("method=integrate\nsignal=Can.In.a\n") + options);
        for (const auto& [time, value] : out)
            EXPECT_DOUBLE_EQ(signal->valueAt(kStart + time), value) << options << " at " << time;
        double sum = 0;
        EXPECT_TRUE(signal->summaryValue(sum));
    }
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

TEST(IntegrateTest, skipsTheSecondOfTwoAtOneTime) {
    TestModel model;
    model.feed("a", {{0, 2}, {1000, 4}, {1000, 100}, {2000, 0}});
    EXPECT_EQ(model.compute("method=integrate\nsignal=Can.In.a")->valueAt(kStart + 2000), 6);
}

TEST(IntegrateTest, isHeldAtZeroByAReset) {
    const std::string lines = "method=integrate\nsignal=Can.In.a\nresetSig=Can.In.r";
    // Deliberate: the first sample of the reset signal is where integration starts, value and all.
    const std::vector<Case> cases = {
        {"",
         {{0, 5}, {1000, 1}, {2000, 2}, {3000, 3}, {4000, 4}},
         {{0, 0}, {4500, 0.5}},
         {{1000, 0}, {2000, 1}, {3000, 3}, {4000, 6}}},
        {"",
         {{0, 5}, {1000, 1}, {2000, 2}, {3000, 3}, {4000, 4}},
         {{0, -7}, {4500, 0}},
         {{1000, -7}, {2000, -6}}},
        // High from 1500 to 2500: zero at 2000 and, for the last time, at 3000.
        {"",
         {{0, 5}, {1000, 1}, {2000, 2}, {3000, 3}, {4000, 4}},
         {{0, 0}, {1500, 1}, {2500, 0}, {4500, 1}},
         {{1000, 0}, {2000, 0}, {3000, 0}, {4000, 3}}},
        // Integration waits for the reset signal.
        {"",
         {{0, 5}, {1000, 1}, {2000, 2}, {3000, 3}},
         {{0, 0}, {2000, 1}},
         {{1000, 0}, {2000, 1}, {3000, 1}}},
    };
    for (const auto& [options, in, reset, out] : cases) {
        TestModel model;
        model.feed("a", in);
        model.feed("r", reset);
        const auto signal = model.compute(lines);
        for (const auto& [time, value] : out)
            EXPECT_EQ(signal->valueAt(kStart + time), value) << reset[1].first << " at " << time;
    }
    TestModel model;
    model.feed("a", {{0, 5}, {1000, 1}});
    model.input("r");
    EXPECT_TRUE(model.compute(lines)->samples().empty());
}

TEST(IntegrateTest, continuesLive) {
    TestModel logs;
    TestModel live;
    live.liveMode = true;
    const std::string lines = "method=integrate\nsignal=Can.In.a\nresetSig=Can.In.r";
    for (TestModel* model : {&logs, &live})
        for (const char* name : {"a", "r"})
            model->input(name);
    const auto byAndBy = live.make(lines);
    for (std::uint64_t t = 0; t < 30000; t += 50) {
        for (TestModel* model : {&logs, &live}) {
            model->input("r")->addSample(kStart + t, t / 10000 == 1 ? 1 : 0);
            model->input("a")->addSample(kStart + t, static_cast<double>(t / 50 % 5));
        }
        if (t % 150 == 0) calculateAll(live);
    }
    for (const char* name : {"a", "r"})
        logs.input(name)->flushSamples();
    const auto atOnce = logs.compute(lines);
    for (std::uint64_t t = 1000; t < 29900; t += 50)
        ASSERT_NEAR(byAndBy->valueAt(kStart + t), atOnce->valueAt(kStart + t), 1e-9) << t;
    EXPECT_GT(atOnce->valueAt(kStart + 29000), 15);
}

}  // namespace
}  // namespace trelis
