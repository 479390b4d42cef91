// The fast picture against a slow twin: Cairo strokes of a walk over every sample.
#include <cairomm/context.h>
#include <cairomm/surface.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>

#include "plot/paint/LineImage.h"
#include "plot/paint/PaintModel.h"
#include "plot/paint/PictureLayout.h"
#include "plot/paint/ShowPicture.h"

namespace trelis::test {
namespace {

std::span<std::uint32_t> rowOf(const Cairo::RefPtr<Cairo::ImageSurface>& surface, int y) {
    return {reinterpret_cast<std::uint32_t*>(surface->get_data() + y * surface->get_stride()),
            static_cast<std::size_t>(surface->get_width())};
}

/// Knows nothing of pyramids, boxes and column borders.
class PlainPicture {
  public:
    explicit PlainPicture(const PainterTask& task)
        : surface(Cairo::ImageSurface::create(Cairo::FORMAT_ARGB32, task.axis.width, task.height)),
          task_(task),
          cr_(Cairo::Context::create(surface)) {
        cr_->set_line_width(task.lineWidth);
        cr_->set_antialias(Cairo::ANTIALIAS_NONE);
        cr_->set_source_rgba(task.colour.red, task.colour.green, task.colour.blue, 1);
        walk();
        flush();
        cr_->stroke();
        surface->flush();
    }

    const Cairo::RefPtr<Cairo::ImageSurface> surface;

  private:
    void walk() {
        const auto& samples = task_.signal->samples();
        const Sample* next = task_.signal->findNear(task_.from);
        while (next != samples.end() && next->time < task_.from)
            ++next;
        if (next == samples.end()) return;
        const Sample* held = next == samples.begin() ? nullptr : next - 1;
        if (held == nullptr || next->time - held->time > 9999) {
            held = next++;
            moveTo(held->time, held->value);
        } else {
            moveTo(task_.from, held->value);
        }
        for (; next != samples.end() && next->time < task_.to; held = next++) {
            if (next->time - held->time < 10001) {
                lineTo(next->time, held->value);
                lineTo(next->time, next->value);
            } else {
                moveTo(next->time, next->value);
            }
        }
        if (next == samples.end())
            lineTo(held->time, held->value);
        else if (next->time - held->time < 10000)
            lineTo(task_.to, held->value);
    }
    double row(double value) const {
        // What Cairo's coordinates can hold.
        return std::clamp(task_.signal->yPosition(value, task_.height), -100000, 100000);
    }
    void moveTo(std::uint64_t time, double value) {
        flush();
        column_ = -2;
        last_ = value;
        cr_->move_to(task_.axis.timeToColumn(time), row(value));
    }
    void lineTo(std::uint64_t time, double value) {
        const double x = task_.axis.timeToColumn(time);
        if (static_cast<int>(x) == column_) {
            for (const double one : {pending_ ? value : last_, value}) {
                max_ = std::max(max_, one);
                min_ = std::min(min_, one);
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
        if (pending_ && min_ <= max_) {
            cr_->move_to(column_, row(min_));
            cr_->line_to(column_, row(max_));
        }
        pending_ = false;
        max_ = std::numeric_limits<double>::lowest();
        min_ = std::numeric_limits<double>::max();
    }

    const PainterTask& task_;
    Cairo::RefPtr<Cairo::Context> cr_;
    bool pending_ = false;
    double max_ = std::numeric_limits<double>::lowest();
    double min_ = std::numeric_limits<double>::max();
    double last_ = 0;
    int column_ = -2;
};

PixelCanvas paintFast(PainterTask& task) {
    paintTask(task, false);
    PixelCanvas canvas;
    canvas.reset(task.axis.width, task.height);
    if (task.image) fillImage(canvas, *task.image, task.colour, 0, 0);
    return canvas;
}

void expectPlainPixels(PainterTask& task) {
    const PixelCanvas fast = paintFast(task);
    const PlainPicture slow(task);
    for (int y = 0; y < task.height; ++y) {
        const auto differs = std::ranges::mismatch(fast.row(y), rowOf(slow.surface, y)).in1;
        ASSERT_EQ(differs - fast.row(y).begin(), task.axis.width)
            << "at y " << y << " of " << task.height << ", line " << task.lineWidth;
    }
}

/// A view of some part of the data, with the margins of a panned picture now and then.
PainterTask randomTask(const std::shared_ptr<Signal>& signal, Randomness& random) {
    const std::uint64_t start = signal->samples().front().time;
    const std::uint64_t length = signal->samples().back().time - start + 2;
    const auto pick = [&](std::uint64_t most) { return random.bits() % (most + 1); };
    std::uint64_t from = start - 500 + pick(length);
    std::uint64_t to = from + 1 + pick(pick(2) == 0 ? 2000 : length);
    if (pick(3) == 0) {
        from = start;
        to = start + length;
    }
    static constexpr double kWidths[] = {1, 1.5, 2, 2.5, 3, 4, 7};
    // A narrow picture has columns with many gaps.
    const std::uint64_t width = 1 + pick(pick(4) == 0 ? 4 : 1699);
    auto task = makeTask(signal, from, to, static_cast<int>(width), 1 + static_cast<int>(pick(199)),
                         kWidths[pick(6)]);
    if (pick(2) == 0) {
        task.axis.origin = static_cast<int>(pick(299));
        task.axis.width += 2 * task.axis.origin;
        task.from -= std::min<std::uint64_t>(to - from, 200);
        task.to += 200;
    }
    task.colour = {0.2, 0.4, 0.8};
    return task;
}

TEST(Pixels, EqualThoseOfAPlainWalkOverAllSamples) {
    struct Recording {
        const char* name;
        std::size_t samples;
        std::uint32_t mostStep;
        std::uint32_t gapOneIn;
    };
    constexpr Recording kRecordings[] = {
        {"one sample", 1, 10, 0},         {"a few", 7, 4000, 3},
        {"sparse", 300, 9000, 10},        {"gaps inside columns", 40000, 30, 40},
        {"gaps everywhere", 6000, 20, 2}, {"dense", 60000, 3, 5000},
        {"long", 300000, 20, 100000},
    };
    Randomness random;
    SCOPED_TRACE(random.trace());
    for (const Recording& recording : kRecordings) {
        SCOPED_TRACE(recording.name);
        PaintModel model;
        const auto signal = model.addSignal();
        model.fill(*signal, random, recording.samples, recording.mostStep, recording.gapOneIn);
        for (int round = 0; round < 30; ++round) {
            PainterTask task = randomTask(signal, random);
            model.lineWidth = task.lineWidth;
            ASSERT_NO_FATAL_FAILURE(expectPlainPixels(task)) << "round " << round;
        }
    }
}

TEST(Pixels, FollowSamplesThatAreAppendedMovedAndForgotten) {
    Randomness random;
    SCOPED_TRACE(random.trace());
    PaintModel model;
    const auto signal = model.addSignal();
    for (int round = 0; round < 60; ++round) {
        if (round % 20 == 19) signal->clearSamples();
        // A live stream keeps a last sample that moves.
        model.liveMode = round >= 30;
        model.fill(*signal, random, 1 + random.below(3000), 25, 700);
        auto task = makeTask(signal, signal->samples().front().time,
                             signal->samples().back().time + 1, 400, 100);
        ASSERT_NO_FATAL_FAILURE(expectPlainPixels(task)) << "round " << round;
    }
}

TEST(Pixels, StayApartInAColumnOfManyGaps) {
    PaintModel model;
    const auto signal = model.addSignal();
    for (std::uint64_t i = 0; i < 1000; ++i)
        for (const std::uint64_t part : {0U, 1U})
            signal->addSample(i * 20000 + part, static_cast<double>(i % 2 * 100 + part * 10));
    auto task = makeTask(signal, 0, 1000 * 20000, 2, 200);
    expectPlainPixels(task);
}

TEST(Pixels, KeepEverySpikeAndIgnoreNaN) {
    PaintModel model;
    const auto signal = model.addSignal();
    const double nan = std::nan("");
    signal->addSample(0, nan);  // stored: the first one and those after a gap always are
    for (std::uint64_t time = 20000; time < 1020000; ++time)
        signal->addSample(time, time == 520500 ? 100.0 : static_cast<double>(time % 2));
    signal->addSample(1040000, nan);
    auto task = makeTask(signal, 0, 1040001, 1000, 101);
    expectPlainPixels(task);

    const PixelCanvas canvas = paintFast(task);
    EXPECT_EQ(std::ranges::count_if(canvas.row(20), [](auto pixel) { return pixel != 0; }), 2)
        << "one bar of the line's width";
    // A million samples took a few boxes a column.
    EXPECT_LT(task.image->boxes().size(), 3000U);
}

TEST(Pixels, LeaveTasksOutsideTheDataWithoutImage) {
    PaintModel model;
    const auto signal = model.addSignal();
    const auto hasImage = [&](std::uint64_t from, std::uint64_t to, bool cancelled = false) {
        auto task = makeTask(signal, from, to, 10, 10);
        paintTask(task, cancelled);
        return task.image.has_value();
    };
    EXPECT_FALSE(hasImage(0, 100)) << "no samples";
    signal->addSample(1000, 1);
    signal->addSample(2000, 2);
    model.intervalStart = 1000;
    model.intervalEnd = 2000;
    EXPECT_FALSE(hasImage(100, 999));
    EXPECT_FALSE(hasImage(2000, 3000));
    EXPECT_TRUE(hasImage(900, 1000));
    EXPECT_FALSE(hasImage(900, 1000, true));
}

TEST(Pixels, OfAnImageOfDoubleSizeAreMeansOfFour) {
    LineImage image(8, 4, 1);
    // Half a pixel column wide, one and a half pixel rows high.
    image.vertical(3, 0, 3);
    PixelCanvas canvas;
    canvas.reset(6, 6);
    fillImageHalved(canvas, image, {1, 1, 1}, 1, 2);
    EXPECT_EQ(canvas.row(2)[2], 0x80808080U);
    EXPECT_EQ(canvas.row(3)[2], 0x40404040U);
    EXPECT_EQ(std::ranges::count(canvas.pixels(), 0U), 34) << "and no other pixel";
}

TEST(Pixels, AreStretchedAsTheLibrarysBilinearFilterDoes) {
    constexpr int kHeight = 21;
    const auto newSurface = [](int width) {
        return Cairo::ImageSurface::create(Cairo::FORMAT_ARGB32, width, kHeight);
    };
    const PictureLayout layout = *layoutView({.view = {40000, 60000},
                                              .bounds = {0, 100000},
                                              .width = 101,
                                              .height = kHeight,
                                              .rows = 1});
    PixelCanvas picture;
    picture.reset(layout.width, kHeight);
    const auto source = newSurface(layout.width);
    Randomness random;
    SCOPED_TRACE(random.trace());
    for (int y = 0; y < kHeight; ++y) {
        for (std::uint32_t& pixel : picture.row(y))
            pixel = random.below(2) == 0 ? 0 : random.below(1U << 24U) | 0xFF000000U;
        std::ranges::copy(picture.row(y), rowOf(source, y).begin());
    }
    source->mark_dirty();
    const TimeSpan views[] = {{45000, 55000}, {20000, 80000}, {59000, 59010}, {0, 42000},
                              {31000, 45001}, {40000, 60900}, {70000, 90000}};
    for (const TimeSpan& view : views) {
        for (const int width : {101, 64}) {
            const auto shown = newSurface(width);
            showPicture(Cairo::Context::create(shown), picture, layout, view, width, 0, 1);
            const auto filtered = newSurface(width);
            const auto cr = Cairo::Context::create(filtered);
            const Stretch stretch = stretchOf(layout, view, width);
            cr->translate(stretch.offset, 0);
            cr->scale(stretch.factor, 1);
            const auto pattern = Cairo::SurfacePattern::create(source);
            pattern->set_filter(Cairo::FILTER_BILINEAR);
            cr->set_source(pattern);
            cr->paint();
            int most = 0;
            for (int i = 0; i < kHeight * shown->get_stride(); ++i)
                most = std::max(most, std::abs(shown->get_data()[i] - filtered->get_data()[i]));
            EXPECT_LE(most, 3) << view.start << " to " << view.end << ", " << width << " columns";
        }
    }
}

}  // namespace
}  // namespace trelis::test
