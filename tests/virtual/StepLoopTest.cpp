#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "TestModel.h"
#include "virtual/CustomSignal.h"

namespace trelis {
namespace {

using test::kStart;
using test::stored;
using test::TestModel;
using test::TimedValues;
using Times = std::vector<std::uint64_t>;

// Notes every step: its time and what the inputs hold.
class Recorder : public CustomSignal {
  public:
    Recorder(TestModel& model, std::uint32_t stepMs, std::initializer_list<const char*> names)
        : CustomSignal(model.virtualMessage, "recorder", stepMs) {
        for (const char* source : names)
            inputs.emplace_back(model.input(source));
    }
    void calculateStep() override {
        steps.push_back(curTime - kStart);
        for (const auto& input : inputs)
            held.push_back(input.heldValue);
    }

    Times steps;
    std::vector<double> held;
};

TEST(StepLoopTest, endsOnDamagedTimes) {
    constexpr std::uint64_t kLast = ~std::uint64_t{0};
    for (const Times& times : {Times{1, kLast},
                               {1, kLast - 5, kLast},
                               {kLast - 9, kLast},
                               {5, 1, kLast, 2, 9},
                               {kStart, kLast / 2 + 9, 3, 4, 5}}) {
        TestModel model;
        for (const char* name : {"a", "b"})
            for (const std::uint64_t time : times)
                model.input(name)->addSample(time, static_cast<double>(time % 7));
        for (const char* group :
             {"sum a,b step=1 avgWindow=2000 fillEmpty=true", "average a step=1 window=1",
              "average a step=1 window=5000", "integrate a resetSig=Can.In.b fillEmpty=true",
              "estimate a highLimit=1 lowLimit=1 step=1 fillEmpty=true"}) {
            model.make(test::linesOf(group))->addUser(nullptr);
            model.finish();
            model.virtualMessage->clearMessage();
            model.virtualMessage->iface = model.virt;
        }
    }
}

// ---- the loop against its definition, step by step

struct PlainLoop {
    PlainLoop(const std::vector<SignalInput>& inputs, std::uint64_t step) {
        std::vector<std::span<const Sample>> rest;
        std::uint64_t time = 0;
        for (const auto& input : inputs) {
            rest.push_back(input.signal->samples().view());
            time = std::max(time, rest.back().front().time);
        }
        std::vector<double> values(rest.size());
        for (;;) {
            for (std::size_t i = 0; i < rest.size(); ++i)
                for (; !rest[i].empty() && rest[i].front().time <= time;
                     rest[i] = rest[i].subspan(1))
                    values[i] = rest[i].front().value;
            std::uint64_t latest = 0;
            for (const auto& samples : rest) {
                if (samples.empty()) return;
                latest = std::max(latest, samples.front().time);
            }
            steps.push_back(time - kStart);
            held.insert(held.end(), values.begin(), values.end());
            time += step;
            if (latest > time + 10000) time = latest;
        }
    }

    Times steps;
    std::vector<double> held;
};

TimedValues randomSamples(test::Randomness& random) {
    TimedValues samples;
    std::uint64_t time = random.below(3000);
    for (std::uint32_t count = 2 + random.below(300); count > 0; --count) {
        samples.emplace_back(time, random.below(4));
        time += random.below(50) == 0 ? 9000 + random.below(15000) : 1 + random.below(300);
    }
    return samples;
}

TEST(StepLoopTest, followsItsDefinition) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int round = 0; round < 100; ++round) {
        TestModel model;
        for (const char* name : {"a", "b", "c"})
            model.feed(name, randomSamples(random));
        Recorder recorder(model, 1 + random.below(700), {"a", "b", "c"});
        recorder.calculate();
        const PlainLoop plain(recorder.inputs, recorder.step);
        ASSERT_EQ(recorder.steps, plain.steps);
        ASSERT_EQ(recorder.held, plain.held);
    }
}

// An excursion across a gap is written out step by step; the storage keeps what it would keep of
// those steps, and years take no longer than days.
TEST(EstimateTest, writesLongExcursionsAsIfStepByStep) {
    for (const std::uint32_t step : {1U, 7U, 100U, 9999U, 10001U, 30000U}) {
        TestModel model;
        const auto input = model.input("a");
        for (const auto& [time, value] :
             TimedValues{{0, 0}, {50, 9}, {123'456, 9}, {163'456, 0}, {203'456, 1}})
            input->addSample(kStart + time, value);
        const auto signal = model.compute(
            test::linesOf("estimate a highLimit=5 lowLimit=1 fact=2 step=" + std::to_string(step)));

        // The same steps one by one into a signal that is not computed.
        const PlainLoop loop(Recorder(model, step, {"a"}).inputs, step);
        Signal plain(model.virtualMessage, "plain");
        std::optional<std::uint64_t> highStart;
        double sum = 0;
        int count = 0;
        for (std::size_t i = 0; i < loop.steps.size(); ++i) {
            const std::uint64_t time = kStart + loop.steps[i];
            if (!highStart) {
                sum = count = 0;
                if (loop.held[i] > 5)
                    highStart = time;
                else
                    plain.addSample(time, 0);
                continue;
            }
            sum += loop.held[i];
            ++count;
            if (loop.held[i] >= 1) continue;
            for (std::uint64_t t = *highStart; t < time; t += step)
                plain.addSample(t, sum / count * 2);
            highStart.reset();
        }
        plain.flushSamples();
        EXPECT_EQ(stored(*signal), stored(plain)) << step;
    }
    TestModel model;
    const std::uint64_t years = 86'400'000ULL * 365 * 100'000;
    model.feed("a", {{0, 0}, {50, 9}, {years, 0}, {years + 50, 0}});
    const auto signal = model.compute(test::linesOf("estimate a highLimit=5 lowLimit=1 step=1"));
    EXPECT_LT(signal->samples().size(), 20U);
    EXPECT_EQ(TestModel::messages().size(), 1U);
}

}  // namespace
}  // namespace trelis
