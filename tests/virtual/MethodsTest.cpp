// What the methods that compute step by step make of their inputs.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "TestModel.h"

namespace trelis {
namespace {

using test::check;
using test::kStart;
using test::linesOf;
using test::summaryOf;
using test::TestModel;

TEST(MultiMathTest, combinesInputs) {
    const std::string three = "a 12 -7; b 3 2; c 2 5";
    check({
        {"sum a,b,c", three, "17 0"},
        {"sub a,b,c", three, "7 -14"},
        {"sub a", three, "12 -7"},
        {"mult a,b,c", three, "72 -70"},
        {"div a,b,c", three, "2 -0.7"},
        {"div a,b", "a 1; b 0", "inf"},
        {"avg a,b", three, "7.5 -2.5"},
        {"max a,b,c", three, "12 5"},
        {"min a,b,c", three, "2 -7"},
        {"inv a", "a 4", "0.25"},
        {"sqr a", "a -3", "9"},
        {"fmod a denom=3", "a 7 -7", "1 -1"},
        {"der a", "a 5 7 7 4", "0 20 0 -30"},
        {"derive a", "a 5 7", "0 20"},
    });
}

// Deliberate: these run through single precision, unlike the same functions of an expression.
TEST(MultiMathTest, computesAnglesInSinglePrecision) {
    constexpr double kDegree = 0.017453292519943295;
    constexpr double kPerRadian = 57.29577951308232;
    const auto narrow = [](double x) { return static_cast<float>(x); };
    struct Case {
        const char* group;
        double in;
        double out;
    };
    for (const auto& [group, in, out] : {
             Case{"sin a", 90, 1},
             {"sin a", 30, std::sin(narrow(30 * kDegree))},
             {"cos a", 60, std::cos(narrow(60 * kDegree))},
             {"tan a", 50, std::tan(narrow(50 * kDegree))},
             {"asin a", 1, std::asin(1.0F) * kPerRadian},
             {"acos a", 0.3, std::acos(0.3F) * kPerRadian},
             {"atan a", 0.3, std::atan(0.3F) * kPerRadian},
             {"sin a radians=true", 0.7, std::sin(0.7F)},
             {"asin a radians=true", 0.7, std::asin(0.7F)},
             {"sqrt a", 2, std::sqrt(2.0F)},
         }) {
        TestModel model;
        model.feedSteps("a", {in});
        EXPECT_EQ(model.compute(linesOf(group))->valueAt(kStart), out) << group;
    }
    EXPECT_NE(std::sqrt(2.0F), std::sqrt(2.0));
    EXPECT_NE(std::asin(1.0F) * kPerRadian, 90.0);
}

TEST(CountTest, countsWithHysteresis) {
    check({
        {"count a above=5 below=1", "a 0 6 3 6 0 6", "0 1 1 1 1 2"},
        {"count a above=5 below=1", "a 6 6", "1 1"},  // starts low, so the first value counts
        {"count a above=5 below=1", "a 6 1 6 0.5 5 5.5", "1 1 1 1 1 2"},
        {"count a above=5 below=1 fact=10 offs=1", "a 0 6 0 6", "1 11 11 21 =21"},
        // An edge in the step of a reset is lost.
        {"count a above=5 below=1 resetSig=Can.In.b", "a 0 6 0 6 0 6; b 0 0 0 1 0 0",
         "0 1 1 0 0 1"},
        // No number counts as a reset.
        {"count a above=5 below=1 resetSig=Can.In.b", "a 0 6 6; b nan nan nan", "0 0 0"},
    });
}

TEST(TimekeepingTest, doesNotCountTheStepOfAChange) {
    check({
        {"time a above=5 below=1", "a 6 6 6 6 6 6", "0 0.1 0.2 0.3 0.4 0.5"},
        {"time a above=5 below=1", "a 0 6 6 3 0 0", "0 0 0.1 0.2 0.2 0.2"},
        {"time a above=5 below=1", "a 0 5 5 6 1 1 0", "0 0 0 0 0.1 0.2 0.2"},
        {"time a above=5 below=1 countAbove=false", "a 0 6 6 0 0 0", "0.1 0.1 0.1 0.1 0.2 0.3"},
        {"time a above=5 below=1 resetSig=Can.In.b", "a 6 6 6 6; b 0 0 1 0", "0 0.1 0 0.1"},
        {"time a above=5 below=1 resetSig=Can.In.b", "a 6 6 6; b nan nan nan", "0 0 0"},
        // Deliberate: the summary takes the offset for milliseconds, the samples for seconds.
        {"time a above=5 below=1 fact=2 offs=1", "a 6 6 6 6 6", "1 1.2 1.4 1.6 1.8 =0.801"},
    });
}

TEST(AccumulateTest, addsEveryNewValue) {
    check({
        {"accumulate a", "a 1 1 2 2 5", "1 1 3 3 8 =8"},
        {"accumulate a", "a 0 -1 0 -1", "0 -1 -1 -2"},
        {"accumulate a fact=2 offs=5", "a 1 2", "7 11 =11"},
        // A reset forgets the value to compare with, too.
        {"accumulate a resetSig=Can.In.b", "a 4 4 4 4; b 0 1 0 0", "4 0 4 4"},
        {"accumulate a resetSig=Can.In.b", "a 4 5 5; b nan nan nan", "4 9 9"},
    });
}

TEST(SlopeTest, limitsEachDirectionOnItsSide) {
    const std::string slope =
        "slope a posSlopeIncr=10 posSlopeDecr=20 negSlopeIncr=30 negSlopeDecr=40";
    check({
        // Nothing is output in the first step, where the value is taken over.
        {slope, "a 5 5 5", "0 5 5"},
        {slope, "a 0 9 9 9", "0 1 2 3"},
        {slope, "a 9 0 0", "0 7 5"},
        {slope, "a 0 -9 -9 9 9 9", "0 -2 -5 -1 3 4"},
        // The side is that of the value before, so a step may go beyond 0 at the limit it leaves.
        {slope, "a 1 -9 -9", "0 -1 -4"},
        {slope, "a 2 2.5", "0 2.5"},
    });
}

TEST(EstimateTest, writesExcursionsWhenTheyAreOver) {
    const std::string estimate = "estimate a highLimit=5 lowLimit=1 offValue=-1";
    check({
        {estimate, "a 0 10 12 15 0 0", "-1 9 9 9 9 -1"},
        {estimate, "a 0 10 3 1 0.5 0", "-1 1.5 1.5 1.5 1.5 -1"},
        {estimate, "a 0 5 10 3 0 0", "-1 -1 1.5 1.5 1.5 -1"},
        {estimate, "a 10 10 10", "none"},  // still open
    });
}

TEST(FrequencyTest, measuresCycles) {
    // Ten steps of 100 ms a cycle: 1 Hz.
    std::string triangle = "a";
    std::string low = "a";
    for (int cycle = 0; cycle < 8; ++cycle)
        for (const int height : {0, 2, 4, 6, 8, 10, 8, 6, 4, 2}) {
            triangle += " " + std::to_string(height);
            low += " " + std::to_string(height * 0.09);
        }
    check({
        {"frequency a", triangle, "7500:1"},
        {"frequency a peaks=2", triangle, "7500:0.5"},
        {"frequency a samples=3", triangle, "7500:1"},
        {"frequency a filter=2", triangle, "7500:1"},
        {"frequency a filter=1", triangle, "none"},
        {"frequency a amplitude=true", triangle, "7500:10"},
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

TEST(IirTest, smooths) {
    check({
        {"IIR a K=1", "a 3 5 -2", "3 5 -2"},
        {"IIR a K=2", "a 4 8 0", "4 6 3"},
        // What is fed back is the value before factor and offset.
        {"IIR a K=2 fact=10 offs=1", "a 4 8", "41 61"},
        {"IIR a", "a 1000 2000", "1000 1001"},
    });
}

TEST(StatesTest, compareWithLevelsAndValues) {
    const std::string equals = "equals a,b value_01=1 value_02=2";
    const std::string pairs = "a 1 1 0 0 1.0000001; b 2 0 2 0 0";
    check({
        {"above a above=5 below=1", "a 0 6 3 0", "0 1 1 0"},
        {"below a above=5 below=1", "a 0 6 3 0", "1 0 0 1"},
        {"above a above=5 below=1", "a 5 5.5 1 0.9 3", "0 1 1 0 0"},
        {equals, pairs, "1 1 1 0 0"},
        {equals + " allOf=true", pairs, "1 0 0 0 0"},
    });
}

TEST(MultiplexTest, holdsTheLastMatch) {
    const std::string multiplex = "multiplex a trigSign_01=Can.In.b trigVal_01=2";
    check({
        {multiplex, "a 7 8 9 10; b 1 2 1 2", "0 8 8 10"},
        {multiplex + " trigSign_02=Can.In.c trigVal_02=1", "a 7 8 9 10; b 2 2 2 1; c 0 1 0 1",
         "0 8 8 8"},
    });
    TestModel model;
    model.feedSteps("a", {7, 8, 8, 8});
    model.feedSteps("b", {1, 2, 1, 1});
    const auto signal = model.compute(linesOf(multiplex));
    EXPECT_EQ(signal->samples().front().time, kStart + 100);
    EXPECT_EQ(signal->samples().back().time, kStart + 300);  // goes on without a match
}

TEST(StatisticsTest, givesOneResult) {
    check({
        {"statistics a type=min", "a 3 -1 2", "none =-1"},
        {"statistics a type=max", "a 3 -1 2", "none =3"},
        // Deliberate: the start is the smallest positive number, which negative values are not.
        {"statistics a type=max", "a -3 -1", "none =2.2250738585072014e-308"},
        {"statistics a type=average", "a 3 1 2", "none =2"},
        {"statistics a type=avg fact=2 offs=1", "a 3 1 2", "none =5"},
        {"statistics a type=average fact=2 offs=1", "a", "none =1"},  // no step at all
    });
}

TEST(OptionsTest, applyInOrder) {
    check({
        {"sum a", "a -2 0 3", "-2 0 3"},
        {"sum a fact=2 offs=-1", "a -2 0 3", "-5 -1 5"},
        {"sum a absInput=true", "a -2 0 3", "2 0 3"},
        {"sum a absInput=true offs=-4", "a -2 0 3", "-2 -4 -1"},
        {"sum a,b absInput=true", "a -1 2; b 1 -3", "2 5"},
        {"sum a absOutput=true offs=-4", "a -2 0 3", "6 4 1"},
        // The test for zero comes before factor and offset, so the value -2 goes on.
        {"sum a pauseIfZero=true offs=2", "a -2 0 3", "0 0 5"},
        {"sum a pauseIfZero=true offs=1", "a -2 0 3", "-1 -1 4"},
    });
}

}  // namespace
}  // namespace trelis
