// Virtual signals and hand-written loops over the same samples; bench/table.py holds the one
// against the other.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "virtual/TestModel.h"

namespace trelis {
namespace {

using test::kStart;
using test::TestModel;
using Inputs = std::vector<std::span<const Sample>>;

constexpr std::uint64_t kStep = 10;
constexpr std::uint64_t kSamples = 1'000'000;

TestModel& model() {
    static TestModel filled;
    static const bool once = [] {
        for (const char* name : {"a", "b", "c"}) {
            const auto input = filled.input(name);
            const double phase = name[0];
            for (std::uint64_t i = 0; i < kSamples; ++i)
                input->addSample(kStart + i * kStep,
                                 1.5 + std::sin(static_cast<double>(i) * 0.001 * phase));
        }
        return true;
    }();
    static_cast<void>(once);
    return filled;
}

// The step loop as one would write it for one formula.
template <typename Formula>
SampleArray loopOver(const Inputs& inputs, Formula formula) {
    SampleArray out;
    std::vector<std::size_t> next(inputs.size());
    std::vector<double> held(inputs.size());
    for (std::uint64_t time = inputs[0][0].time;; time += kStep) {
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            while (next[i] < inputs[i].size() && inputs[i][next[i]].time <= time)
                held[i] = inputs[i][next[i]++].value;
            if (next[i] == inputs[i].size()) return out;
        }
        const double value = formula(held);
        if (out.empty() || value != out.back().value) out.push_back({time, value});
    }
}

SampleArray slidingMean(const Inputs& inputs, std::uint64_t window) {
    SampleArray out;
    struct Piece {
        std::uint64_t time;
        double duration;
        double area;
    };
    std::deque<Piece> pieces;
    double area = 0;
    double duration = 0;
    const auto samples = inputs[0];
    std::size_t next = 1;
    for (std::uint64_t time = samples[0].time;; time += kStep) {
        for (; next < samples.size() && samples[next].time < time + window / 2; ++next) {
            const auto ms = static_cast<double>(samples[next].time - samples[next - 1].time);
            pieces.push_back({samples[next - 1].time, ms, ms * samples[next - 1].value});
            duration += ms;
            area += pieces.back().area;
        }
        while (!pieces.empty() && pieces.front().time + window / 2 < time) {
            duration -= pieces.front().duration;
            area -= pieces.front().area;
            pieces.pop_front();
        }
        if (next == samples.size()) return out;
        if (duration > 0) out.push_back({time, area / duration});
    }
}

struct Case {
    const char* name;
    const char* lines;
    std::function<SampleArray(const Inputs&)> byHand;
};

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"max of two", "method=max\nsignal_01=Can.In.a\nsignal_02=Can.In.b",
         [](const Inputs& in) {
             return loopOver({in[0], in[1]}, [](const auto& x) { return std::max(x[0], x[1]); });
         }},
        {"IIR", "method=IIR\nK=20\nsignal=Can.In.a",
         [](const Inputs& in) {
             double last = in[0][0].value;
             return loopOver({in[0]}, [last](const auto& x) mutable {
                 return last = x[0] / 20 + (1 - 1.0 / 20) * last;
             });
         }},
        {"expression",
         "method=expression\nexpr=($01+$02)*$03-$01/$02+1.5\n"
         "signal_01=Can.In.a\nsignal_02=Can.In.b\nsignal_03=Can.In.c",
         [](const Inputs& in) {
             return loopOver(
                 in, [](const auto& x) { return (x[0] + x[1]) * x[2] - x[0] / x[1] + 1.5; });
         }},
        {"average", "method=average\nwindow=1000\nsignal=Can.In.a",
         [](const Inputs& in) { return slidingMean(in, 1000); }},
    };
    return all;
}

void computeSignal(benchmark::State& state, const Case& test) {
    const std::string lines = "step=" + std::to_string(kStep) + "\n" + test.lines;
    for (auto _ : state) {
        state.PauseTiming();
        auto signal = model().make(lines);
        state.ResumeTiming();
        signal->calculate();
        state.PauseTiming();
        if (signal->samples().size() < kSamples / 2) state.SkipWithError("too few samples");
        signal.reset();
        model().virtualMessage->clearMessage();
        model().virtualMessage->iface = model().virt;
        state.ResumeTiming();
    }
}

void computeByHand(benchmark::State& state, const Case& test) {
    Inputs inputs;
    for (const char* name : {"a", "b", "c"})
        inputs.push_back(model().input(name)->samples().view());
    for (auto _ : state) {
        SampleArray out = test.byHand(inputs);
        benchmark::DoNotOptimize(out.size());
    }
}

// Ten thousand signals, each with the one before and an input, made and computed.
void loadManySignals(benchmark::State& state) {
    for (auto _ : state) {
        TestModel many;
        many.feedSteps("s", {1, 2, 3});
        std::shared_ptr<VirtualSignal> last;
        for (int i = 0; i < 10000; ++i) {
            const std::string other = i == 0 ? "Can.In.s" : "Virt.Calc.v" + std::to_string(i - 1);
            last = many.make("method=expression\nstep=100\nexpr=$01+$02\nsignal_01=" + other +
                                 "\nsignal_02=Can.In.s",
                             "v" + std::to_string(i));
        }
        last->addUser(nullptr);
        many.finish();
        benchmark::DoNotOptimize(last->samples().size());
    }
}

// What disturbs a run only makes it longer.
double fastest(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

void measure(benchmark::internal::Benchmark* run) {
    constexpr int kRounds = 9;
    constexpr double kSeconds = 0.1;
    run->Unit(benchmark::kMillisecond)
        ->MinTime(kSeconds)
        ->Repetitions(kRounds)
        ->ComputeStatistics("min", fastest)
        ->ReportAggregatesOnly();
}

void registerAll() {
    for (const Case& test : cases()) {
        const std::string name = test.name;
        for (const auto& [kind, run] :
             {std::pair{"/by hand", &computeByHand}, std::pair{"/method", &computeSignal}})
            benchmark::RegisterBenchmark((name + kind).c_str(), [run = run, &test](auto& state) {
                run(state, test);
            })->Apply(measure);
    }
    benchmark::RegisterBenchmark("10000 signals", loadManySignals)->Apply(measure);
}

}  // namespace
}  // namespace trelis

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    trelis::registerAll();
    benchmark::RunSpecifiedBenchmarks();
}
