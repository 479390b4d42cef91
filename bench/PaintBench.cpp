// Painting ten million samples a signal into 1600 x 900 pixels, and what a pan or a zoom costs the
// main thread. The samples are a random walk with changes every 10 to 17 ms.
#include <benchmark/benchmark.h>
#include <cairomm/context.h>
#include <cairomm/surface.h>

#include <thread>

#include "app/store/Store.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/paint/Grid.h"
#include "plot/paint/PaintTask.h"
#include "plot/paint/PlotPicture.h"
#include "plot/paint/RulerValues.h"
#include "plot/paint/SamplePyramid.h"
#include "plot/paint/ShowPicture.h"

namespace {

using namespace trelis;

constexpr int kWidth = 1600;
constexpr int kHeight = 900;
constexpr std::size_t kSamples = 10000000;
constexpr std::size_t kSignals = 12;

struct Recording {
    Recording() {
        store.noGui = true;
        const auto interface = store.addInterface("Can", 0);
        for (std::uint32_t i = 0; i < kSignals; ++i) {
            const auto message =
                std::make_shared<Message>(i, "Message" + std::to_string(i), interface);
            interface->addMessage(message);
            signals.push_back(std::make_shared<Signal>(message, "Signal"));
        }
    }
    /// The first signals, filled at the first call that wants them.
    const std::vector<std::shared_ptr<Signal>>& filled(std::size_t count) {
        for (; done < count; ++done)
            fill(*signals[done], done);
        return signals;
    }
    void fill(Signal& signal, std::size_t number) {
        std::uint64_t random = 12345 + number;
        std::uint64_t time = 1700000000000;
        double value = 0;
        for (std::size_t i = 0; i < kSamples; ++i) {
            random = random * 6364136223846793005ULL + 1442695040888963407ULL;
            time += 10 + (random >> 61U);
            value = (value + static_cast<double>((random >> 40U) & 255U) - 127.5) * 0.99999;
            signal.storeSample(time, value * 0.01);
        }
        store.intervalStart = 1700000000000;
        store.intervalEnd = time;
    }
    [[nodiscard]] TimeSpan all() const { return {store.intervalStart, store.intervalEnd}; }
    /// The middle half, as after a zoom: its picture has margins.
    [[nodiscard]] TimeSpan half() const {
        const std::uint64_t quarter = all().length() / 4;
        return {all().start + quarter, all().end - quarter};
    }

    Store store;
    std::vector<std::shared_ptr<Signal>> signals;
    std::size_t done = 0;
};

Recording& recording() {
    static Recording shared;
    return shared;
}

PictureLayout layout(TimeSpan view, std::size_t rows, bool split) {
    PictureRequest request;
    request.view = view;
    request.bounds = recording().all();
    request.width = kWidth;
    request.height = kHeight;
    request.rows = rows;
    request.split = split;
    return *layoutView(request);
}

void paintOne(PixelCanvas& canvas) {
    const std::atomic<bool> cancel = false;
    PainterTask task;
    task.signal = recording().signals.front();
    task.from = recording().all().start;
    task.to = recording().all().end;
    task.axis = {task.from, task.to, kWidth, 0, kWidth};
    task.height = kHeight;
    paintTask(task, cancel);
    canvas.reset(kWidth, kHeight);
    fillImage(canvas, *task.image, {0, 0, 0.8}, 0, 0);
}

void paintAgain(benchmark::State& state) {
    recording().filled(1);
    PixelCanvas canvas;
    for (auto _ : state)
        paintOne(canvas);
    const auto pyramid = PyramidCache::instance().find(recording().signals.front());
    state.counters["memory_percent"] =
        100.0 * static_cast<double>(pyramid->memory()) / (kSamples * sizeof(Sample));
}
BENCHMARK(paintAgain)->Unit(benchmark::kMillisecond);

void paintAtFirstSight(benchmark::State& state) {
    recording().filled(1);
    PixelCanvas canvas;
    for (auto _ : state) {
        *PyramidCache::instance().find(recording().signals.front()) = SamplePyramid();
        paintOne(canvas);
    }
}
BENCHMARK(paintAtFirstSight)->Unit(benchmark::kMillisecond);

/// The limit to compare with: smallest and largest value a column, every sample looked at.
void walkAllSamples(benchmark::State& state) {
    const auto samples = recording().filled(1).front()->samples().view();
    const TimeAxis axis{recording().all().start, recording().all().end, kWidth, 0, kWidth};
    for (auto _ : state) {
        std::size_t next = 0;
        for (int column = 0; column < kWidth; ++column) {
            const std::uint64_t end = axis.columnEnd(column);
            double low = 1e300;
            double high = -1e300;
            for (; next < samples.size() && samples[next].time < end; ++next) {
                low = std::min(low, samples[next].value);
                high = std::max(high, samples[next].value);
            }
            benchmark::DoNotOptimize(low);
            benchmark::DoNotOptimize(high);
        }
    }
}
BENCHMARK(walkAllSamples)->Unit(benchmark::kMillisecond);

/// From the request to the finished picture, by the threads of a plot. Argument 1: after a zoom,
/// with margins; argument 2: split.
void repaintTwelve(benchmark::State& state) {
    std::vector<PaintSignal> signals;
    for (const auto& signal : recording().filled(kSignals))
        signals.push_back({signal, {0, 0, 0.8}});
    const TimeSpan view = state.range(0) != 0 ? recording().half() : recording().all();
    const PictureLayout wanted = layout(view, kSignals, state.range(1) != 0);
    PlotPicture picture;
    bool painted = false;
    picture.painted.connect([&painted] { painted = true; });
    const auto paint = [&] {
        painted = false;
        picture.start(wanted, signals);
        while (!painted)
            Glib::MainContext::get_default()->iteration(true);
    };
    paint();  // the pyramids
    for (auto _ : state)
        paint();
}
BENCHMARK(repaintTwelve)
    ->ArgNames({"zoomed", "split"})
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// All that the main thread does for one step of a pan (0) or a zoom (1): start the painters, then
/// draw the grid and the old picture, shifted or stretched.
void moveView(benchmark::State& state) {
    std::vector<PaintSignal> signals;
    for (const auto& signal : recording().filled(kSignals))
        signals.push_back({signal, {0, 0, 0.8}});
    const TimeSpan view = recording().half();
    const PictureLayout wanted = layout(view, kSignals, true);
    PlotPicture picture;
    bool painted = false;
    picture.painted.connect([&painted] { painted = true; });
    const auto surface = Cairo::ImageSurface::create(Cairo::FORMAT_RGB24, kWidth, kHeight);
    const auto cr = Cairo::Context::create(surface);
    const TimeSpan moved = state.range(0) == 0 ? panLater(view, recording().all())
                                               : zoomAround(view, 0.3, kZoomIn, recording().all());
    for (auto _ : state) {
        painted = false;
        picture.start(wanted, signals);
        const auto draw = [&](const PixelCanvas& canvas, const PictureLayout& shown) {
            showPicture(cr, canvas, shown, moved, kWidth, 0, 1);
        };
        cr->set_source_rgb(1, 1, 1);
        cr->paint();
        drawGrid(cr, kWidth, kHeight, 100, 0.8, {0.8, 0.8, 0.8});
        benchmark::DoNotOptimize(picture.visit(draw));
        state.PauseTiming();
        while (!painted)
            Glib::MainContext::get_default()->iteration(true);
        state.ResumeTiming();
    }
}
BENCHMARK(moveView)->ArgName("zoom")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
