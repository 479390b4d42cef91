#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "TestModel.h"

namespace trelis {
namespace {

using test::kStart;
using test::TestModel;
using test::valuesAtSteps;
using Values = std::vector<double>;

struct Case {
    std::string lines;
    std::vector<Values> inputs;  // a, b, c: a value a step of 100 ms
    Values out;
};

void check(const std::vector<Case>& cases) {
    for (const auto& [lines, inputs, out] : cases) {
        TestModel model;
        for (std::size_t i = 0; i < inputs.size(); ++i)
            model.feedSteps(std::string(1, static_cast<char>('a' + i)), inputs[i]);
        const auto signal = model.compute("step=100\n" + lines);
        EXPECT_EQ(valuesAtSteps(*signal, out.size()), out) << lines;
    }
}

double summary(const VirtualSignal& signal) {
    double value = std::nan("");
    EXPECT_TRUE(signal.summaryValue(value));
    return value;
}

const std::string kA = "signal_01=Can.In.a\n";
const std::string kAB = "signal_01=Can.In.a\nsignal_02=Can.In.b\n";
const std::string kABC = kAB + "signal_03=Can.In.c\n";

TEST(MultiMathTest, combinesInputs) {
    const std::vector<Values> three = {{12, -7}, {3, 2}, {2, 5}};
    check({
        {"method=sum\n" + kABC, three, {17, 0}},
        {"method=sub\n" + kABC, three, {7, -14}},
        {"method=sub\n" + kA, three, {12, -7}},
        {"method=mult\n" + kABC, three, {72, -70}},
        {"method=div\n" + kABC, three, {2, -0.7}},
        {"method=div\n" + kAB, {{1}, {0}}, {std::numeric_limits<double>::infinity()}},
        {"method=avg\n" + kAB, three, {7.5, -2.5}},
        {"method=max\n" + kABC, three, {12, 5}},
        {"method=min\n" + kABC, three, {2, -7}},
        {"method=inv\n" + kA, {{4}}, {0.25}},
        {"method=sqr\n" + kA, {{-3}}, {9}},
        {"method=fmod\ndenom=3\n" + kA, {{7, -7}}, {1, -1}},
        {"method=der\n" + kA, {{5, 7, 7, 4}}, {0, 20, 0, -30}},
        {"method=derive\n" + kA, {{5, 7}}, {0, 20}},
    });
}

// Deliberate: these run through single precision, unlike the same functions of an expression.
TEST(MultiMathTest, computesAnglesInSinglePrecision) {
    const auto narrow = [](double x) { return static_cast<float>(x); };
    const double degree = 0.017453292519943295;
    const double perRadian = 57.29577951308232;
    check({
        {"method=sin\n" + kA, {{90, 30}}, {1, std::sin(narrow(30 * degree))}},
        {"method=cos\n" + kA, {{60}}, {std::cos(narrow(60 * degree))}},
        {"method=tan\n" + kA, {{50}}, {std::tan(narrow(50 * degree))}},
        {"method=asin\n" + kA, {{1}}, {std::asin(1.0F) * perRadian}},
        {"method=acos\n" + kA, {{0.3}}, {std::acos(0.3F) * perRadian}},
        {"method=atan\n" + kA, {{0.3}}, {std::atan(0.3F) * perRadian}},
        {"method=sin\nradians=true\n" + kA, {{0.7}}, {std::sin(0.7F)}},
        {"method=asin\nradians=true\n" + kA, {{0.7}}, {std::asin(0.7F)}},
        {"method=sqrt\n" + kA, {{2}}, {std::sqrt(2.0F)}},
    });
    EXPECT_NE(std::sqrt(2.0F), std::sqrt(2.0));
    EXPECT_NE(std::asin(1.0F) * perRadian, 90.0);
}

TEST(CountTest, countsWithHysteresis) {
    const std::string count = "method=count\nabove=5\nbelow=1\n" + kA;
    check({
        {count, {{0, 6, 3, 6, 0, 6}}, {0, 1, 1, 1, 1, 2}},
        {count, {{6, 6}}, {1, 1}},  // starts low, so the first value counts
        {count, {{6, 5, 1, 0.5, 5, 5.5}}, {1, 1, 1, 1, 1, 2}},
        // An edge in the step of a reset is lost.
        {count + "resetSig=Can.In.b\n",
         {{0, 6, 0, 6, 0, 6}, {0, 0, 0, 1, 0, 0}},
         {0, 1, 1, 0, 0, 1}},
    });
    TestModel model;
    model.feedSteps("a", {0, 6, 0, 6});
    EXPECT_EQ(summary(*model.compute("step=100\nfact=10\noffs=1\n" + count)), 21);
}

TEST(TimekeepingTest, doesNotCountTheStepOfAChange) {
    const std::string time = "method=time\nabove=5\nbelow=1\n" + kA;
    const auto seconds = [](Values ms) {
        for (double& value : ms)
            value *= 0.001;
        return ms;
    };
    check({
        {time, {Values(6, 6)}, seconds({0, 100, 200, 300, 400, 500})},
        {time, {{0, 6, 6, 3, 0, 0}}, seconds({0, 0, 100, 200, 200, 200})},
        {time + "countAbove=false\n",
         {{0, 6, 6, 0, 0, 0}},
         seconds({100, 100, 100, 100, 200, 300})},
        {time + "resetSig=Can.In.b\n", {{6, 6, 6, 6}, {0, 0, 1, 0}}, {0, 0.1, 0, 0.1}},
    });
    // Deliberate: the summary takes the offset for milliseconds, the samples take it for seconds.
    TestModel model;
    model.feedSteps("a", Values(10, 6));
    const auto signal = model.compute("step=100\nfact=2\noffs=1\n" + time);
    EXPECT_DOUBLE_EQ(signal->valueAt(kStart + 900), 2.8);
    EXPECT_DOUBLE_EQ(summary(*signal), 1.801);
}

TEST(AccumulateTest, addsEveryNewValue) {
    const std::string accumulate = "method=accumulate\n" + kA;
    check({
        {accumulate, {{1, 1, 2, 2, 5}}, {1, 1, 3, 3, 8}},
        {accumulate, {{0, -1, 0, -1}}, {0, -1, -1, -2}},
        // A reset forgets the value to compare with, too.
        {accumulate + "resetSig=Can.In.b\n", {{4, 4, 4, 4}, {0, 1, 0, 0}}, {4, 0, 4, 4}},
    });
    TestModel model;
    model.feedSteps("a", {1, 2});
    EXPECT_EQ(summary(*model.compute("step=100\nfact=2\noffs=5\n" + accumulate)), 11);
}

TEST(SlopeTest, limitsEachDirectionOnItsSide) {
    const std::string slope =
        "method=slope\nposSlopeIncr=10\nposSlopeDecr=20\nnegSlopeIncr=30\nnegSlopeDecr=40\n" + kA;
    check({
        // Nothing is output in the first step, where the value is taken over.
        {slope, {{0, 9, 9, 9}}, {0, 1, 2, 3}},
        {slope, {{9, 0, 0}}, {0, 7, 5}},
        {slope, {{0, -9, -9, 9, 9, 9}}, {0, -2, -5, -1, 3, 4}},
        // The side is that of the value before, so a step may go beyond 0 at the limit it leaves.
        {slope, {{1, -9, -9}}, {0, -1, -4}},
        {slope, {{2, 2.5}}, {0, 2.5}},
    });
    TestModel model;
    model.feedSteps("a", {5, 5, 5});
    EXPECT_EQ(model.compute("step=100\n" + slope)->samples().front().time, kStart + 100);
}

TEST(EstimateTest, writesExcursionsWhenTheyAreOver) {
    const std::string estimate = "method=estimate\nhighLimit=5\nlowLimit=1\noffValue=-1\n" + kA;
    const double mean = (12.0 + 14.0 + 0.0) / 3;
    check({
        {estimate, {{0, 10, 12, 14, 0, 0}}, {-1, mean, mean, mean, mean, -1}},
        {estimate, {{0, 10, 3, 1, 0.5, 0}}, {-1, 1.5, 1.5, 1.5, 1.5, -1}},
        {estimate, {{10, 10, 10}}, {0, 0, 0}},  // still open: no output
    });
}

// An excursion across a gap is written out step by step; the storage keeps what it would keep of
// those steps, and years take no longer than days.
TEST(EstimateTest, writesLongExcursionsAsIfStepByStep) {
    for (const std::uint32_t step : {1U, 7U, 100U, 9999U, 10001U, 30000U}) {
        TestModel model;
        const std::uint64_t back = 123'456;
        for (const auto& [time, value] : std::vector<std::pair<std::uint64_t, double>>{
                 {0, 0}, {50, 9}, {back, 9}, {back + 40000, 0}, {back + 80000, 1}})
            model.input("a")->addSample(kStart + time, value);
        const auto signal = model.compute(
            "method=estimate\nhighLimit=5\nlowLimit=1\nsignal=Can.In.a\nfact=2\nstep=" +
            std::to_string(step));

        // The same steps one by one into a signal that is not computed.
        Signal plain(model.virtualMessage, "plain");
        std::uint64_t highStart = 0;
        double sum = 0;
        unsigned count = 0;
        std::uint64_t time = 0;
        const std::vector<std::pair<std::uint64_t, double>> input = test::stored(*model.input("a"));
        const auto heldAt = [&](std::uint64_t t) {
            double held = 0;
            for (const auto& [at, value] : input)
                if (at <= t) held = value;
            return held;
        };
        const auto nextAfter = [&](std::uint64_t t) -> std::optional<std::uint64_t> {
            for (const auto& [at, value] : input)
                if (at > t) return at;
            return std::nullopt;
        };
        bool high = false;
        while (nextAfter(time)) {
            const auto next = *nextAfter(time);
            const double x = heldAt(time);
            if (!high && x > 5) {
                high = true;
                highStart = time;
                sum = count = 0;
            } else if (!high) {
                plain.addSample(kStart + time, 0);
            } else {
                sum += x;
                ++count;
                if (x < 1) {
                    high = false;
                    for (std::uint64_t t = highStart; t < time; t += step)
                        plain.addSample(kStart + t, sum / count * 2);
                }
            }
            time += step;
            if (next > time + 10000) time = next;
        }
        plain.flushSamples();
        EXPECT_EQ(test::stored(*signal), test::stored(plain)) << step;
    }
    TestModel model;
    const std::uint64_t years = 86'400'000ULL * 365 * 100'000;
    model.feed("a", {{0, 0}, {50, 9}, {years, 0}, {years + 50, 0}});
    const auto signal =
        model.compute("method=estimate\nhighLimit=5\nlowLimit=1\nsignal=Can.In.a\nstep=1\n");
    EXPECT_LT(signal->samples().size(), 20U);
    EXPECT_EQ(TestModel::messages().size(), 1U);
}

TEST(FrequencyTest, measuresCycles) {
    const auto triangle = [](std::size_t stepsUp, std::size_t cycles, double height) {
        Values values;
        for (std::size_t i = 0; i < cycles * 2 * stepsUp; ++i) {
            const std::size_t phase = i % (2 * stepsUp);
            const std::size_t up = phase < stepsUp ? phase : 2 * stepsUp - phase;
            values.push_back(height * static_cast<double>(up) / static_cast<double>(stepsUp));
        }
        return values;
    };
    struct Expected {
        const char* options;
        double value;
    };
    // Ten steps of 100 ms a cycle: 1 Hz.
    for (const auto& [options, value] : {Expected{"", 1.0},
                                         {"peaks=2\n", 0.5},
                                         {"samples=3\n", 1.0},
                                         {"filter=5\n", 1.0},
                                         {"filter=1\n", 0.0},
                                         {"amplitude=true\n", 10.0},
                                         {"amplitude=true\nsamples=3\n", 10.0}}) {
        TestModel model;
        model.feedSteps("a", triangle(5, 8, 10));
        const auto signal =
            model.compute("step=100\nmethod=frequency\n" + kA + std::string(options));
        EXPECT_DOUBLE_EQ(signal->valueAt(kStart + 7500), value) << options;
    }
    // Deliberate: amplitudes are whole units, so those below 1 read 0.
    TestModel model;
    model.feedSteps("a", triangle(5, 8, 0.9));
    EXPECT_EQ(
        model.compute("step=100\nmethod=frequency\namplitude=true\n" + kA)->valueAt(kStart + 7500),
        0.0);
    // The mean is a real division: periods of 1000 and 1100 ms.
    TestModel uneven;
    uneven.feedSteps("a", {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0});
    EXPECT_DOUBLE_EQ(
        uneven.compute("step=100\nmethod=frequency\nsamples=2\n" + kA)->valueAt(kStart + 1500),
        1000.0 / ((200.0 + 1000.0) / 2));
    // Nothing to average over is not refused, and is survived.
    for (const char* samples : {"samples=0\n", "samples=-3\n"}) {
        TestModel odd;
        odd.feedSteps("a", triangle(5, 3, 10));
        odd.compute("step=100\nmethod=frequency\n" + kA + std::string(samples));
    }
}

TEST(IirTest, smooths) {
    check({
        {"method=IIR\nK=1\n" + kA, {{3, 5, -2}}, {3, 5, -2}},
        {"method=IIR\nK=2\n" + kA, {{4, 8, 0}}, {4, 6, 3}},
        // What is fed back is the value before factor and offset.
        {"method=IIR\nK=2\nfact=10\noffs=1\n" + kA, {{4, 8}}, {41, 61}},
        {"method=IIR\n" + kA, {{1000, 2000}}, {1000, 1001}},
    });
}

TEST(AboveBelowTest, keepsADeadBand) {
    check({
        {"method=above\nabove=5\nbelow=1\n" + kA, {{0, 6, 3, 0}}, {0, 1, 1, 0}},
        {"method=below\nabove=5\nbelow=1\n" + kA, {{0, 6, 3, 0}}, {1, 0, 0, 1}},
        {"method=above\nabove=5\nbelow=1\n" + kA, {{5, 5.5, 1, 0.9, 3}}, {0, 1, 1, 0, 0}},
    });
}

TEST(MultiplexTest, holdsTheLastMatch) {
    const std::string multiplex =
        "method=multiplex\nsignal=Can.In.a\ntrigSign_01=Can.In.b\ntrigVal_01=2\n";
    check({
        {multiplex, {{7, 8, 9, 10}, {1, 2, 1, 2}}, {0, 8, 8, 10}},
        {multiplex + "trigSign_02=Can.In.c\ntrigVal_02=1\n",
         {{7, 8, 9, 10}, {2, 2, 2, 1}, {0, 1, 0, 1}},
         {0, 8, 8, 8}},
    });
    TestModel model;
    model.feedSteps("a", {7, 8, 8, 8});
    model.feedSteps("b", {1, 2, 1, 1});
    const auto signal = model.compute("step=100\n" + multiplex);
    EXPECT_EQ(signal->samples().front().time, kStart + 100);
    EXPECT_EQ(signal->samples().back().time, kStart + 300);  // goes on without a match
}

TEST(StatisticsTest, givesOneResult) {
    struct Expected {
        const char* options;
        Values in;
        double result;
    };
    for (const auto& [options, in, result] : {
             Expected{"type=min\n", {3, -1, 2}, -1},
             {"type=max\n", {3, -1, 2}, 3},
             // Deliberate: the start is the smallest positive number, which negative values are
             // not.
             {"type=max\n", {-3, -1}, std::numeric_limits<double>::min()},
             {"type=average\n", {3, 1, 2}, 2},
             {"type=avg\nfact=2\noffs=1\n", {3, 1, 2}, 5},
             {"type=average\nfact=2\noffs=1\n", {}, 1},  // no step at all
         }) {
        TestModel model;
        model.input("a");
        if (!in.empty()) model.feedSteps("a", in);
        const auto signal =
            model.compute("step=100\nmethod=statistics\n" + kA + std::string(options));
        EXPECT_EQ(summary(*signal), result) << options;
        EXPECT_TRUE(signal->samples().empty());
    }
}

TEST(EqualsTest, comparesExactly) {
    const std::string equals = "method=equals\nvalue_01=1\nvalue_02=2\n" + kAB;
    const std::vector<Values> in = {{1, 1, 0, 0, 1.0000001}, {2, 0, 2, 0, 0}};
    check({{equals, in, {1, 1, 1, 0, 0}}, {equals + "allOf=true\n", in, {1, 0, 0, 0, 0}}});
}

}  // namespace
}  // namespace trelis
