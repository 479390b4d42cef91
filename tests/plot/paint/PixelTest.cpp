// The fast picture against a slow twin: Cairo strokes of a walk over every sample.
#include <cairomm/context.h>
#include <cairomm/surface.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "plot/paint/LineImage.h"
#include "plot/paint/PaintModel.h"
#include "plot/paint/PictureLayout.h"
#include "plot/paint/ShowPicture.h"

namespace trelis::test {
namespace {

/// Knows nothing of pyramids, boxes and column borders.
class PlainPainter {
  public:
    explicit PlainPainter(const PainterTask& task)
        : task_(task),
          surface_(Cairo::ImageSurface::create(Cairo::FORMAT_ARGB32, task.axis.width, task.height)),
          cr_(Cairo::Context::create(surface_)) {
        cr_->set_line_width(task.lineWidth);
        cr_->set_antialias(Cairo::ANTIALIAS_NONE);
        cr_->set_source_rgba(task.colour.red, task.colour.green, task.colour.blue, 1);
    }

    Cairo::RefPtr<Cairo::ImageSurface> paint() {
        walk();
        flush();
        cr_->stroke();
        surface_->flush();
        return surface_;
    }

  private:
    void walk() {
        const auto& samples = task_.signal->samples();
        const Sample* next = task_.signal->findNear(task_.from);
        while (next != samples.end() && next->time < task_.from)
            ++next;
        if (next == samples.end()) return;
        double held = 0;
        std::uint64_t heldTime = 0;
        const Sample* before = next == samples.begin() ? nullptr : next - 1;
        if (before == nullptr || next->time - before->time > 9999) {
            moveTo(next->time, next->value);
            held = next->value;
            heldTime = next->time;
            ++next;
        } else {
            moveTo(task_.from, before->value);
            held = before->value;
            heldTime = before->time;
        }
        for (; next != samples.end() && next->time < task_.to; ++next) {
            if (next->time - heldTime < 10001) {
                lineTo(next->time, held);
                lineTo(next->time, next->value);
            } else {
                moveTo(next->time, next->value);
            }
            held = next->value;
            heldTime = next->time;
        }
        if (next == samples.end()) {
            lineTo(heldTime, held);
        } else if (next->time - heldTime < 10000) {
            lineTo(task_.to, held);
        }
    }

    double column(std::uint64_t time) const {
        double x = (static_cast<double>(time) - static_cast<double>(task_.axis.start)) /
                       static_cast<double>(task_.axis.end - task_.axis.start) *
                       task_.axis.spanColumns +
                   task_.axis.origin;
        if (x > task_.axis.width) x = task_.axis.width + 1;
        return std::max(x, -1.0);
    }
    double row(double value) const {
        // What Cairo's coordinates can hold.
        return std::clamp(task_.signal->yPosition(value, task_.height), -100000, 100000);
    }
    void moveTo(std::uint64_t time, double value) {
        flush();
        column_ = -2;
        last_ = value;
        cr_->move_to(column(time), row(value));
    }
    void lineTo(std::uint64_t time, double value) {
        const double x = column(time);
        if (static_cast<int>(x) == column_) {
            max_ = std::max(max_, value);
            min_ = std::min(min_, value);
            if (!pending_) {
                max_ = std::max(max_, last_);
                min_ = std::min(min_, last_);
            }
            pending_ = true;
        } else {
            if (pending_) {
                flush();
                cr_->move_to(column_, row(last_));
            }
            column_ = static_cast<int>(x);
            if (std::isnan(value))
                cr_->move_to(x, row(value));
            else
                cr_->line_to(x, row(value));
        }
        last_ = value;
    }
    void flush() {
        if (!pending_) return;
        pending_ = false;
        if (min_ <= max_) {
            cr_->move_to(column_, row(min_));
            cr_->line_to(column_, row(max_));
        }
        max_ = std::numeric_limits<double>::lowest();
        min_ = std::numeric_limits<double>::max();
    }

    const PainterTask& task_;
    Cairo::RefPtr<Cairo::ImageSurface> surface_;
    Cairo::RefPtr<Cairo::Context> cr_;
    bool pending_ = false;
    double max_ = std::numeric_limits<double>::lowest();
    double min_ = std::numeric_limits<double>::max();
    double last_ = 0;
    int column_ = -2;
};

PixelCanvas paintFast(PainterTask& task) {
    const std::atomic<bool> cancel = false;
    paintTask(task, cancel);
    PixelCanvas canvas;
    canvas.reset(task.axis.width, task.height);
    if (task.image) fillImage(canvas, *task.image, task.colour, 0, 0);
    return canvas;
}

/// Places where the two pictures differ; told once, with the first place.
int differences(PainterTask& task) {
    const PixelCanvas fast = paintFast(task);
    const auto slow = PlainPainter(task).paint();
    int found = 0;
    for (int y = 0; y < task.height; ++y) {
        const auto* row =
            reinterpret_cast<const std::uint32_t*>(slow->get_data() + y * slow->get_stride());
        for (int x = 0; x < task.axis.width; ++x) {
            if (fast.row(y)[static_cast<std::size_t>(x)] == row[x]) continue;
            if (found++ == 0)
                ADD_FAILURE() << "pixel " << x << ", " << y << " of " << task.axis.width << " x "
                              << task.height << ", line " << task.lineWidth << ", slow " << std::hex
                              << row[x];
        }
    }
    return found;
}

struct Recording {
    const char* name;
    std::size_t samples;
    std::uint64_t mostStep;
    unsigned gapOneIn;
};

/// A view of some part of the data, with the margins of a panned picture now and then.
PainterTask randomTask(const std::shared_ptr<Signal>& signal, std::mt19937_64& random) {
    const std::uint64_t start = signal->samples().front().time;
    const std::uint64_t length = signal->samples().back().time - start + 2;
    const auto pick = [&](std::uint64_t most) { return random() % (most + 1); };
    std::uint64_t from = start - 500 + pick(length);
    std::uint64_t to = from + 1 + pick(random() % 3 == 0 ? 2000 : length);
    if (random() % 4 == 0) {
        from = start;
        to = start + length;
    }
    static constexpr double kWidths[] = {1, 1.5, 2, 2.5, 3, 4, 7};
    auto task = makeTask(signal, from, to, 1 + static_cast<int>(random() % 1700),
                         1 + static_cast<int>(random() % 200), kWidths[random() % 7]);
    if (random() % 3 == 0) {
        task.axis.origin = static_cast<int>(random() % 300);
        task.axis.width += 2 * task.axis.origin;
        task.from -= std::min<std::uint64_t>(to - from, 200);
        task.to += 200;
    }
    task.colour = {0.2, 0.4, 0.8};
    return task;
}

TEST(Pixels, EqualThoseOfAPlainWalkOverAllSamples) {
    constexpr Recording kRecordings[] = {
        {"one sample", 1, 10, 0},         {"a few", 7, 4000, 3},
        {"sparse", 300, 9000, 10},        {"gaps inside columns", 40000, 30, 40},
        {"gaps everywhere", 6000, 20, 2}, {"dense", 60000, 3, 5000},
        {"long", 300000, 20, 100000},
    };
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "SIGMIRA_SEED=" << seed);
    std::mt19937_64 random(seed);
    for (const Recording& recording : kRecordings) {
        SCOPED_TRACE(recording.name);
        PaintModel model;
        const auto signal = model.addSignal("Signal");
        model.fill(*signal, random, recording.samples, recording.mostStep, recording.gapOneIn);
        model.boundBy(*signal);
        model.store.intervalStart = 0;
        model.store.intervalEnd = ~0ULL;
        for (int round = 0; round < 30; ++round) {
            PainterTask task = randomTask(signal, random);
            model.store.lineWidth = task.lineWidth;
            ASSERT_EQ(differences(task), 0) << "round " << round;
        }
    }
}

TEST(Pixels, FollowSamplesThatAreAppendedMovedAndForgotten) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "SIGMIRA_SEED=" << seed);
    std::mt19937_64 random(seed);
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    model.store.intervalEnd = ~0ULL;
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        if (round % 20 == 19) signal->clearSamples();
        // A live stream keeps a last sample that moves.
        model.store.liveMode = round >= 30;
        model.fill(*signal, random, 1 + random() % 3000, 25, 700);
        auto task = makeTask(signal, signal->samples().front().time,
                             signal->samples().back().time + 1, 400, 100);
        ASSERT_EQ(differences(task), 0);
    }
}

TEST(Pixels, KeepEverySpikeAndIgnoreNaN) {
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    model.store.intervalEnd = ~0ULL;
    const double nan = std::nan("");
    signal->addSample(0, nan);  // stored: the first one and those after a gap always are
    for (std::uint64_t time = 20000; time < 1020000; ++time)
        signal->addSample(time, time == 520500 ? 100.0 : static_cast<double>(time % 2));
    signal->addSample(1040000, nan);
    auto task = makeTask(signal, 0, 1040001, 1000, 101);
    ASSERT_EQ(differences(task), 0);

    const PixelCanvas canvas = paintFast(task);
    int columnsWithSpike = 0;
    for (std::size_t x = 0; x < 1000; ++x)
        columnsWithSpike += canvas.row(20)[x] != 0 ? 1 : 0;
    EXPECT_EQ(columnsWithSpike, 2) << "one bar of the line's width";
    // A million samples took a few boxes a column.
    EXPECT_LT(task.image->boxes().size(), 3000U);
}

TEST(Pixels, LeaveTasksOutsideTheDataWithoutImage) {
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    const std::atomic<bool> cancel = false;
    auto empty = makeTask(signal, 0, 100, 10, 10);
    paintTask(empty, cancel);
    EXPECT_FALSE(empty.image);

    signal->addSample(1000, 1);
    signal->addSample(2000, 2);
    model.boundBy(*signal);
    auto before = makeTask(signal, 100, 999, 10, 10);
    auto behind = makeTask(signal, 2000, 3000, 10, 10);
    auto inside = makeTask(signal, 900, 1000, 10, 10);
    for (PainterTask* task : {&before, &behind, &inside})
        paintTask(*task, cancel);
    EXPECT_FALSE(before.image);
    EXPECT_FALSE(behind.image);
    EXPECT_TRUE(inside.image);

    auto cancelled = makeTask(signal, 900, 3000, 10, 10);
    const std::atomic<bool> cancelNow = true;
    paintTask(cancelled, cancelNow);
    EXPECT_FALSE(cancelled.image);
}

TEST(Pixels, OfAnImageOfDoubleSizeAreMeansOfFour) {
    LineImage image(8, 4, 1);
    image.vertical(3, 0, 3);  // half a pixel column wide, one and a half pixel rows high
    PixelCanvas canvas;
    canvas.reset(6, 6);
    fillImageHalved(canvas, image, {1, 1, 1}, 1, 2);
    EXPECT_EQ(canvas.row(2)[2], 0x80808080U);
    EXPECT_EQ(canvas.row(3)[2], 0x40404040U);
    EXPECT_EQ(canvas.row(2)[1], 0U);
    EXPECT_EQ(canvas.row(2)[3], 0U);
    EXPECT_EQ(canvas.row(4)[2], 0U);
}

Cairo::RefPtr<Cairo::ImageSurface> newSurface(int width, int height) {
    return Cairo::ImageSurface::create(Cairo::FORMAT_ARGB32, width, height);
}

std::uint32_t* rowOf(const Cairo::RefPtr<Cairo::ImageSurface>& surface, int y) {
    return reinterpret_cast<std::uint32_t*>(surface->get_data() + y * surface->get_stride());
}

TEST(Pixels, AreStretchedAsTheLibrarysBilinearFilterDoes) {
    constexpr int kHeight = 21;
    PictureRequest request;
    request.bounds = {0, 100000};
    request.view = {40000, 60000};
    request.width = 101;
    request.height = kHeight;
    request.rows = 1;
    const PictureLayout layout = *layoutView(request);
    PixelCanvas picture;
    picture.reset(layout.width, kHeight);
    const auto source = newSurface(layout.width, kHeight);
    std::mt19937 random(7);
    for (int y = 0; y < kHeight; ++y) {
        for (std::uint32_t& pixel : picture.row(y))
            pixel = random() % 2 == 0 ? 0 : static_cast<std::uint32_t>(random()) | 0xFF000000U;
        std::copy_n(picture.row(y).begin(), layout.width, rowOf(source, y));
    }
    source->mark_dirty();
    const TimeSpan views[] = {{45000, 55000}, {20000, 80000}, {59000, 59010}, {0, 42000},
                              {31000, 45001}, {40000, 60900}, {70000, 90000}};
    for (const TimeSpan& view : views) {
        for (const int width : {101, 64}) {
            const auto shown = newSurface(width, kHeight);
            showPicture(Cairo::Context::create(shown), picture, layout, view, width, 0, 1);
            const auto filtered = newSurface(width, kHeight);
            const auto cr = Cairo::Context::create(filtered);
            const Stretch stretch = stretchOf(layout, view, width);
            cr->translate(stretch.offset, 0);
            cr->scale(stretch.factor, 1);
            const auto pattern = Cairo::SurfacePattern::create(source);
            pattern->set_filter(Cairo::FILTER_BILINEAR);
            cr->set_source(pattern);
            cr->paint();
            int most = 0;
            for (int byte = 0; byte < kHeight * shown->get_stride(); ++byte)
                most =
                    std::max(most, std::abs(shown->get_data()[byte] - filtered->get_data()[byte]));
            EXPECT_LE(most, 3) << view.start << " to " << view.end << ", " << width << " columns";
        }
    }
}

}  // namespace
}  // namespace trelis::test
