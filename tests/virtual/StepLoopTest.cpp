#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "TestModel.h"
#include "virtual/CustomSignal.h"

namespace trelis {
namespace {

using test::kStart;
using test::stored;
using test::TestModel;
using Samples = std::vector<std::pair<std::uint64_t, double>>;

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

    std::vector<std::uint64_t> steps;
    std::vector<double> held;
};

using Times = std::vector<std::uint64_t>;

TEST(StepLoopTest, waitsForAllInputsAtBothEnds) {
    TestModel model;
    model.feed("a", {{0, 1}, {1000, 2}, {2000, 3}});
    Recorder recorder(model, 500, {"a", "b"});
    recorder.calculate();
    EXPECT_FALSE(recorder.started);
    model.feed("b", {{700, 10}, {1700, 20}});
    recorder.calculate();
    recorder.calculate();
    // The last sample of b has no successor: its step may still change.
    EXPECT_EQ(recorder.steps, (Times{700, 1200}));
    EXPECT_EQ(recorder.held, (std::vector<double>{1, 10, 2, 10}));
    model.feed("b", {{1900, 30}});
    recorder.calculate();
    EXPECT_EQ(recorder.steps, (Times{700, 1200, 1700}));
    EXPECT_EQ(recorder.held.back(), 20);
}

TEST(StepLoopTest, jumpsOverGapsOnly) {
    struct Case {
        std::uint64_t next;  // sample behind the one at 0
        Times steps;
    };
    // After the step at 0 the next one would be at 4000.
    for (const auto& [next, steps] :
         {Case{14000, {0, 4000, 8000, 12000, 16000}}, Case{14001, {0, 14001, 18001}}}) {
        TestModel model;
        model.feed("a", {{0, 1}, {next, 2}, {next + 6000, 3}});
        // A sample of b alone does not bridge the gap of a.
        model.feed("b", {{0, 1}, {7000, 2}, {next, 3}, {next + 6000, 4}});
        Recorder recorder(model, 4000, {"a", "b"});
        recorder.calculate();
        EXPECT_EQ(recorder.steps, steps) << next;
    }
}

TEST(StepLoopTest, endsOnDamagedTimes) {
    constexpr std::uint64_t kLast = ~std::uint64_t{0};
    for (const std::vector<std::uint64_t>& times : {std::vector<std::uint64_t>{1, kLast},
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

class PlainLoop {
  public:
    PlainLoop(std::vector<std::vector<Sample>> inputs, std::uint64_t step)
        : inputs_(std::move(inputs)),
          step_(step),
          positions_(inputs_.size()),
          held_(inputs_.size()) {}

    std::vector<std::uint64_t> steps;
    std::vector<double> held;

    void run() {
        std::uint64_t time = 0;
        for (const auto& samples : inputs_)
            time = std::max(time, samples.front().time);
        for (;;) {
            for (std::size_t i = 0; i < inputs_.size(); ++i)
                while (positions_[i] < inputs_[i].size() && inputs_[i][positions_[i]].time <= time)
                    held_[i] = inputs_[i][positions_[i]++].value;
            for (std::size_t i = 0; i < inputs_.size(); ++i)
                if (positions_[i] == inputs_[i].size()) return;
            steps.push_back(time - kStart);
            held.insert(held.end(), held_.begin(), held_.end());
            time += step_;
            std::uint64_t latest = 0;
            bool gap = false;
            for (std::size_t i = 0; i < inputs_.size(); ++i) {
                const std::uint64_t next = inputs_[i][positions_[i]].time;
                gap = gap || next > time + 10000;
                latest = std::max(latest, next);
            }
            if (gap) time = latest;
        }
    }

  private:
    std::vector<std::vector<Sample>> inputs_;
    std::uint64_t step_;
    std::vector<std::size_t> positions_;
    std::vector<double> held_;
};

Samples randomSamples(std::mt19937& generator, std::size_t count) {
    Samples samples;
    std::uint64_t time = generator() % 3000;
    for (std::size_t i = 0; i < count; ++i) {
        samples.emplace_back(time, static_cast<double>(generator() % 4));
        time += generator() % 50 == 0 ? 9000 + generator() % 15000 : 1 + generator() % 300;
    }
    return samples;
}

TEST(StepLoopTest, followsItsDefinition) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    for (int round = 0; round < 100; ++round) {
        TestModel model;
        for (const char* name : {"a", "b", "c"})
            model.feed(name, randomSamples(generator, 2 + generator() % 300));
        const auto step = static_cast<std::uint32_t>(1 + generator() % 700);
        Recorder recorder(model, step, {"a", "b", "c"});
        std::vector<std::vector<Sample>> inputs;
        for (const auto& input : recorder.inputs)
            inputs.emplace_back(input.signal->samples().begin(), input.signal->samples().end());
        PlainLoop plain(std::move(inputs), step);
        plain.run();
        recorder.calculate();
        ASSERT_EQ(recorder.steps, plain.steps);
        ASSERT_EQ(recorder.held, plain.held);
    }
}

// A live run computes bit by bit, from arrays that move, with an end marker that moves too. Where
// there are no gaps it comes to the same steps.
TEST(StepLoopTest, computesTheSameLive) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    for (int round = 0; round < 30; ++round) {
        TestModel logs;
        TestModel live;
        live.liveMode = true;
        Recorder atOnce(logs, 70, {"a", "b"});
        Recorder byAndBy(live, 70, {"a", "b"});
        std::uint64_t time = kStart;
        for (int i = 0; i < 800; ++i, time += generator() % 150) {
            const char* name = generator() % 2 == 0 ? "a" : "b";
            const auto value = static_cast<double>(generator() % 3);
            logs.input(name)->addSample(time, value);
            live.input(name)->addSample(time, value);
            if (generator() % 5 == 0) byAndBy.calculate();
        }
        for (const char* name : {"a", "b"})
            logs.input(name)->flushSamples();
        atOnce.calculate();
        byAndBy.calculate();
        ASSERT_EQ(byAndBy.steps, atOnce.steps);
        ASSERT_EQ(byAndBy.held, atOnce.held);
    }
}

// An excursion across a gap is written out step by step; the storage keeps what it would keep of
// those steps, and years take no longer than days.
TEST(EstimateTest, writesLongExcursionsAsIfStepByStep) {
    for (const std::uint32_t step : {1U, 7U, 100U, 9999U, 10001U, 30000U}) {
        TestModel model;
        const auto input = model.input("a");
        for (const auto& [time, value] :
             Samples{{0, 0}, {50, 9}, {123'456, 9}, {163'456, 0}, {203'456, 1}})
            input->addSample(kStart + time, value);
        const auto signal = model.compute(
            test::linesOf("estimate a highLimit=5 lowLimit=1 fact=2 step=" + std::to_string(step)));

        // The same steps one by one into a signal that is not computed.
        PlainLoop loop({{input->samples().begin(), input->samples().end()}}, step);
        loop.run();
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
