// What the methods make of their inputs.
#include <gtest/gtest.h>

#include <random>

#include "TestModel.h"

namespace trelis {
namespace {

using test::check;
using test::kStart;
using test::linesOf;
using test::TestModel;

// ---- methods that compute step by step

TEST(MethodsTest, combineInputs) {
    const std::string three = "a 12 -7; b 3 2; c 2 5";
    const std::string pairs = "a 1 1 0 0 1.0000001; b 2 0 2 0 0";
    const std::string equals = "equals a,b value_01=1 value_02=2";
    const std::string multiplex = "multiplex a trigSign_01=Can.In.b trigVal_01=2";
    check({
        {"sum a,b,c", three, "17 0"},
        {"sub a,b,c", three, "7 -14"},
        {"mult a,b,c", three, "72 -70"},
        {"div a,b,c", three, "2 -0.7"},
        {"div a,b", "a 1; b 0", "inf"},
        {"avg a,b", three, "7.5 -2.5"},
        {"max a,b,c", three, "12 5"},
        {"min a,b,c", three, "2 -7"},
        {equals, pairs, "1 1 1 0 0"},
        {equals + " allOf=true", pairs, "1 0 0 0 0"},
        // There is nothing before the first match, and the value goes on without one.
        {multiplex, "a 7 8 8 8; b 1 2 1 1", "0 8 8 8 #2"},
        {multiplex + " trigSign_02=Can.In.c trigVal_02=1", "a 7 8 9 10; b 2 2 2 1; c 0 1 0 1",
         "0 8 8 8"},
        // Steps are at 0, 4000 and so on; a gap of any input beyond 10 s behind the next step is
        // jumped over, though another one has a sample there.
        {"sum a,b step=4000", "a 0:1 14000:2 20000:3; b 0:1 7000:2 14000:3 20000:4",
         "0:2 8000:3 15999:3 16000:5"},
        {"sum a,b step=4000", "a 0:1 14001:2 20001:3; b 0:1 7000:2 14001:3 20001:4",
         "0:2 14000:2 14001:5"},
    });
}

TEST(MethodsTest, computeFunctions) {
    const std::string slope =
        "slope a posSlopeIncr=10 posSlopeDecr=20 negSlopeIncr=30 negSlopeDecr=40";
    check({
        {"inv a", "a 4", "0.25"},
        {"sqr a", "a -3", "9"},
        {"fmod a denom=3", "a 7 -7", "1 -1"},
        {"der a", "a 5 7 7 4", "0 20 0 -30"},
        {"derive a", "a 5 7", "0 20"},
        // Deliberate: these run through single precision, unlike the same functions of an
        // expression.
        {"sin a", "a 90 30", "1 0.5"},
        {"cos a", "a 60", "0.49999997019767761"},
        {"tan a", "a 50", "1.191753625869751"},
        {"asin a", "a 1", "90.000002504478161"},
        {"acos a", "a 0.3", "72.542394155762409"},
        {"atan a", "a 0.3", "16.699245614980065"},
        {"sin a radians=true", "a 0.7", "0.64421766996383667"},
        {"asin a radians=true", "a 0.7", "0.77539747953414917"},
        {"sqrt a", "a 2", "1.4142135381698608"},
        // What is fed back is the value before factor and offset.
        {"IIR a K=2 fact=10 offs=1", "a 4 8 0", "41 61 31"},
        {"IIR a", "a 1000 2000", "1000 1001"},
        // The slope puts nothing out in the first step, where the value is taken over.
        {slope, "a 0 9 9 9", "0 1 2 3"},
        {slope, "a 9 0 0", "0 7 5"},
        {slope, "a 0 -9 -9 9 9 9", "0 -2 -5 -1 3 4"},
        // The side is that of the value before, so a step may go beyond 0 at the limit it leaves.
        {slope, "a 1 -9 -9", "0 -1 -4"},
        {slope, "a 2 2.5", "0 2.5"},
    });
}

TEST(MethodsTest, tellLevelsCountsAndSums) {
    const std::string estimate = "estimate a highLimit=5 lowLimit=1 offValue=-1";
    check({
        {"below a above=5 below=1", "a 0 6 3 0", "1 0 0 1"},
        {"above a above=5 below=1", "a 5 5.5 1 0.9 3", "0 1 1 0 0"},

        {"count a above=5 below=1", "a 6 3 6 1 6 0.5 5 5.5", "1 1 1 1 1 1 1 2"},  // starts low
        {"count a above=5 below=1 fact=10 offs=1", "a 0 6 0 6", "1 11 11 21 =21"},
        // An edge in the step of a reset is lost.
        {"count a above=5 below=1 resetSig=Can.In.b", "a 0 6 0 6 0 6; b 0 0 0 1 0 0",
         "0 1 1 0 0 1"},
        // No number counts as a reset.
        {"count a above=5 below=1 resetSig=Can.In.b", "a 0 6 6; b nan nan nan", "0 0 0"},

        // The step of a change is not counted.
        {"time a above=5 below=1", "a 0 5 5 6 1 1 0", "0 0 0 0 0.1 0.2 0.2"},
        {"time a above=5 below=1 countAbove=false", "a 0 6 6 0 0 0", "0.1 0.1 0.1 0.1 0.2 0.3"},
        {"time a above=5 below=1 resetSig=Can.In.b", "a 6 6 6 6; b 0 0 1 0", "0 0.1 0 0.1"},
        // Deliberate: the summary takes the offset for milliseconds, the samples for seconds.
        {"time a above=5 below=1 fact=2 offs=1", "a 6 6 6 6 6", "1 1.2 1.4 1.6 1.8 =0.801"},

        {"accumulate a", "a 1 1 2 2 5", "1 1 3 3 8 =8"},
        {"accumulate a", "a 0 -1 0 -1", "0 -1 -1 -2"},
        {"accumulate a fact=2 offs=5", "a 1 2", "7 11 =11"},
        // A reset forgets the value to compare with, too.
        {"accumulate a resetSig=Can.In.b", "a 4 4 4 4; b 0 1 0 0", "4 0 4 4"},
        {"accumulate a resetSig=Can.In.b", "a 4 5 5; b nan nan nan", "4 9 9"},

        {"statistics a type=min", "a 3 -1 2", "#0 =-1"},
        {"statistics a type=max", "a 3 -1 2", "#0 =3"},
        // Deliberate: the start is the smallest positive number, which negative values are not.
        {"statistics a type=max", "a -3 -1", "#0 =2.2250738585072014e-308"},
        {"statistics a type=avg fact=2 offs=1", "a 3 1 2", "#0 =5"},
        {"statistics a type=average fact=2 offs=1", "a", "#0 =1"},  // no step at all

        // Excursions are written when they are over.
        {estimate, "a 0 10 3 1 0.5 0", "-1 1.5 1.5 1.5 1.5 -1"},
        {estimate, "a 0 5 10 3 0 0", "-1 -1 1.5 1.5 1.5 -1"},
        {estimate, "a 10 10 10", "#0"},  // still open
    });
}

TEST(MethodsTest, measureFrequencies) {
    // Ten steps of 100 ms a cycle: 1 Hz.
    std::string triangle = "a";
    std::string low = "a";
    for (int cycle = 0; cycle < 8; ++cycle)
        for (const int height : {0, 2, 4, 6, 8, 10, 8, 6, 4, 2}) {
            triangle += " " + std::to_string(height);
            low += " " + std::to_string(height * 0.09);
        }
    check({
        {"frequency a peaks=2", triangle, "7500:0.5"},
        {"frequency a samples=3", triangle, "7500:1"},
        {"frequency a filter=2", triangle, "7500:1"},
        {"frequency a filter=1", triangle, "#0"},
        {"frequency a amplitude=true samples=3", triangle, "7500:10"},
        {"frequency a", "a 0 1 1 0 0", "0 0 0 3.3333333333333335"},
        {"frequency a amplitude=true", "a 0 10 4 10 4 4", "0 0 10 6 6"},
        // Deliberate: amplitudes are whole units, so those below 1 read 0.
        {"frequency a amplitude=true", low, "7500:0"},
        // The mean is a real division: periods of 200 and 1000 ms.
        {"frequency a samples=2", "a 0 1 0 0 0 0 0 0 0 0 0 1 0 0", "1200:1.6666666666666667"},
        // Nothing to average over is not refused, and is survived.
        {"frequency a samples=0", triangle, ""},
        {"frequency a samples=-3", triangle, ""},
    });
}

TEST(MethodsTest, applyOptionsInOrder) {
    check({
        {"sum a fact=2 offs=-1", "a -2 0 3", "-5 -1 5"},
        {"sum a absInput=true offs=-4", "a -2 0 3", "-2 -4 -1"},
        {"sum a,b absInput=true", "a -1 2; b 1 -3", "2 5"},
        {"sum a absOutput=true offs=-4", "a -2 0 3", "6 4 1"},
        // The test for zero comes before factor and offset, so the value -2 goes on.
        {"sum a pauseIfZero=true offs=2", "a -2 0 3", "0 0 5"},
        {"sum a pauseIfZero=true offs=1", "a -2 0 3", "-1 -1 4"},
    });
}

// ---- the two methods that go through every sample

// Where samples lie on the edges of the windows the mean is exact.
TEST(AverageTest, isTheMeanAroundItsTime) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    TestModel model;
    std::vector<double> values;
    while (values.size() < 500)
        values.push_back(random.below(1000));
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
    const auto input = model.input("a");
    for (const std::uint64_t start : {0, 62000})
        for (std::uint64_t time = start; time <= start + 2000; time += 100)
            input->addSample(kStart + time, start != 0 ? 8 : time % 200 == 0 ? 0 : 2);
    input->flushSamples();
    const auto signal = model.compute(linesOf("average a window=400"));
    const auto* behind = signal->samples().begin();
    while (behind->time < kStart + 30000)
        ++behind;
    EXPECT_LE(behind[-1].time, kStart + 2300);
    EXPECT_EQ(*behind, (Sample{kStart + 62000, 8}));
    // At the end of the data windows go on until they have passed the last sample.
    EXPECT_EQ(signal->samples().back().time, kStart + 64000);
}

TEST(IntegrateTest, addsRectangles) {
    const std::string held = "integrate a resetSig=Can.In.r";
    const std::string input = "a 0:5 1000:1 2000:2 3000:3 4000:4; ";
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
        {"integrate a", "a 0:2 1000:4 1000:100 2000:0", "2000:6"},  // of one time the first counts
        // A gap adds nothing and has no output, but storage marks its start; exactly 10 s is none.
        {"integrate a", "a 0:1 10000:2", "10000:10"},
        {"integrate a", "a 0:1 1000:2 11001:3 12001:4", "11001:1 12001:4 #3"},
        // A reset holds the sum at zero. Deliberate: the first sample of the reset signal is where
        // integration starts, value and all.
        {held, input + "r 0:0 4500:0.5", "1000:0 2000:1 3000:3 4000:6"},
        {held, input + "r 0:-7 4500:0", "1000:-7 2000:-6"},
        // High from 1500 to 2500: zero at 2000 and, for the last time, at 3000.
        {held, input + "r 0:0 1500:1 2500:0 4500:1", "1000:0 2000:0 3000:0 4000:3"},
        // Integration waits for the reset signal.
        {held, input + "r 0:0 2000:1", "1000:0 2000:1 3000:1"},
        {held, input + "r", "#0"},
    });
}

// A live run computes bit by bit, from arrays that move, with an end marker that moves too, and
// comes to the same values.
TEST(MethodsTest, continueLive) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (const char* group : {"average a step=50 window=600", "integrate a resetSig=Can.In.r",
                              "integrate a", "sub a,r step=70"}) {
        TestModel logs;
        TestModel live;
        live.liveMode = true;
        for (const char* name : {"a", "r"})
            live.input(name);
        const auto byAndBy = live.make(linesOf(group));
        for (std::uint64_t t = 0; t < 30000; t += 40)
            for (const char* name : {"a", "r"}) {
                const double value = *name == 'a' ? double(t / 40 % 7) : t / 10000 == 1 ? 1 : 0;
                for (TestModel* model : {&logs, &live})
                    model->input(name)->addSample(kStart + t, value);
                if (random.below(5) == 0) calculateAll(live);
            }
        calculateAll(live);
        for (const char* name : {"a", "r"})
            logs.input(name)->flushSamples();
        const auto atOnce = logs.compute(linesOf(group));
        for (std::uint64_t t = 1000; t < 29000; t += 10)
            ASSERT_NEAR(byAndBy->valueAt(kStart + t), atOnce->valueAt(kStart + t), 1e-9)
                << group << " at " << t;
        EXPECT_GT(atOnce->valueAt(kStart + 27950), 1);
    }
}

}  // namespace
}  // namespace trelis
