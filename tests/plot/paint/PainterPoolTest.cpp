#include "plot/paint/PainterThreadPool.h"

#include <gtest/gtest.h>

#include "app/diagnostics/Exceptions.h"
#include "plot/paint/PaintModel.h"
#include "plot/paint/PlotPicture.h"
#include "plot/paint/TimeBox.h"

namespace trelis::test {
namespace {

/// Runs the main loop until the condition holds; false if it does not within the deadline.
bool pump(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        Glib::MainContext::get_default()->iteration(false);
        std::this_thread::yield();
    }
    return true;
}

/// Notes which tasks come back.
class Collector : public PainterThreadPoolUser {
  public:
    void onPainterDone(std::shared_ptr<PainterTask> task) override {
        if (onDone) onDone();
        const std::lock_guard lock(mutex_);
        done_.push_back(task->generation);
    }
    std::vector<std::uint32_t> done() {
        const std::lock_guard lock(mutex_);
        return done_;
    }
    bool waitFor(std::size_t count) {
        return pump([&] { return done().size() >= count; });
    }
    std::function<void()> onDone;

  private:
    std::mutex mutex_;  // guards done_
    std::vector<std::uint32_t> done_;
};

class PainterPool : public testing::Test {
  protected:
    std::shared_ptr<Signal> addWave(const std::string& name) {
        auto wave = model.addSignal(name);
        for (std::uint64_t time = 0; time < 5000; ++time)
            wave->addSample(time, static_cast<double>(time % 7));
        return wave;
    }
    std::shared_ptr<PainterTask> task(std::uint32_t generation) {
        auto made = std::make_shared<PainterTask>(makeTask(signal, 0, 5000, 200, 50));
        made->user = &collector;
        made->generation = generation;
        return made;
    }
    PaintModel model;
    std::shared_ptr<Signal> signal = addWave("Signal");
    Collector collector;
};

TEST_F(PainterPool, PaintsMoreTasksThanThreadsOldestFirst) {
    PainterThreadPool one(1);
    for (std::uint32_t i = 0; i < 50; ++i)
        one.addTask(task(i));
    ASSERT_TRUE(collector.waitFor(50));
    const auto done = collector.done();
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));

    PainterThreadPool many(8);
    for (std::uint32_t i = 0; i < 200; ++i)
        many.addTask(task(i));
    ASSERT_TRUE(collector.waitFor(250));
}

TEST_F(PainterPool, DropsCancelledTasks) {
    PainterThreadPool pool(2);
    pool.cancelAll();  // nothing to do
    {
        // The painters wait for the samples: two run, the others are in the queue.
        const std::lock_guard lock(*signal->mutex);
        const auto held = signal.use_count();
        for (std::uint32_t i = 0; i < 6; ++i)
            pool.addTask(task(i));
        ASSERT_TRUE(pump([&] { return signal.use_count() == held + 6 + 2; }));
        pool.cancelAll();
    }
    pool.waitUntilIdle();
    EXPECT_TRUE(collector.done().empty());
    pool.addTask(task(77));
    ASSERT_TRUE(collector.waitFor(1));
    EXPECT_EQ(collector.done(), std::vector<std::uint32_t>{77});
}

TEST_F(PainterPool, TellsMisuse) {
    PainterThreadPool empty(0);
    PainterThread thread(empty, 0);
    EXPECT_THROW(thread.reassign(task(0)), PrintMsgError);
    collector.onDone = [&] { EXPECT_THROW(thread.assignWork(task(2)), PrintMsgError); };
    EXPECT_TRUE(thread.assignWork(task(1)));
    ASSERT_TRUE(collector.waitFor(1));
    PainterTask nothing;
    EXPECT_THROW(paintTask(nothing, false), PrintMsgError);
    EXPECT_EQ(model.messages(), (Messages{"reassign may only be called from threads own context",
                                          "assignWork may not be called from threads own context",
                                          "no assignment set"}));
}

PictureLayout layoutOf(std::uint64_t end, bool split) {
    return *layoutView(
        {.view = {}, .bounds = {0, end}, .width = 300, .height = 120, .rows = 3, .split = split});
}

std::uint32_t pixelOf(const PlotPicture& picture, int y) {
    std::uint32_t pixel = 0;
    picture.visit(
        [&](const PixelCanvas& canvas, const PictureLayout&) { pixel = canvas.row(y)[100]; });
    return pixel;
}

/// Waits for the wake-up that follows the last task, of the newest rendering.
bool waitForPicture(PlotPicture& picture) {
    bool painted = false;
    auto connection = picture.painted.connect([&] { painted = true; });
    const bool done = pump([&] { return painted && !picture.isPainting(); });
    connection.disconnect();
    return done;
}

TEST_F(PainterPool, JoinsImagesInTheOrderOfTheSignals) {
    // All three lie over each other unless they are split; the second has no data.
    const std::vector<PaintSignal> signals = {
        {signal, {1, 0, 0}}, {model.addSignal("Other"), {0, 1, 0}}, {addWave("Last"), {0, 0, 1}}};
    PlotPicture picture;
    for (int round = 0; round < 20; ++round) {
        picture.start(layoutOf(5000, false), signals);
        ASSERT_TRUE(waitForPicture(picture));
        ASSERT_EQ(pixelOf(picture, 60), 0xFF0000FFU);
    }
    picture.start(layoutOf(5000, true), signals);
    ASSERT_TRUE(waitForPicture(picture));
    EXPECT_EQ(pixelOf(picture, 20), 0xFFFF0000U);
    EXPECT_EQ(pixelOf(picture, 60), 0U);
    EXPECT_EQ(pixelOf(picture, 100), 0xFF0000FFU);

    picture.stop();
    EXPECT_FALSE(picture.visit([](const PixelCanvas&, const PictureLayout&) {}));
}

TEST_F(PainterPool, DropsResultsOfAnOlderRendering) {
    PlotPicture picture;
    const auto start = [&](Colour colour) {
        picture.start(layoutOf(5000, false), {{signal, colour}});
    };
    start({1, 0, 0});
    ASSERT_TRUE(waitForPicture(picture));
    picture.onPainterDone(task(0));
    EXPECT_FALSE(picture.isPainting());
    {
        const std::lock_guard lock(*signal->mutex);
        start({0, 1, 0});
        start({0, 0, 1});
        picture.onPainterDone(task(0));
        EXPECT_EQ(pixelOf(picture, 60), 0xFFFF0000U) << "stays until the new one is complete";
    }
    ASSERT_TRUE(waitForPicture(picture));
    EXPECT_EQ(pixelOf(picture, 60), 0xFF0000FFU);
}

TEST_F(PainterPool, SurvivesWritersRestartsAndItsEnd) {
    model.liveMode = true;
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        for (std::uint64_t time = 5000; !stop; ++time)
            signal->addSample(time, static_cast<double>(time % 100));
    });
    for (std::uint64_t end = 5000; end < 25000;) {
        PlotPicture picture;  // goes with its tasks on the way
        for (int round = 0; round < 10; ++round, end += 100) {
            if (round == 5) picture.stop();
            model.intervalEnd = end;
            picture.start(layoutOf(end, round % 2 == 0),
                          {{signal, {1, 0, 0}}, {signal, {0, 0, 1}}});
            picture.visit([](const PixelCanvas& canvas, const PictureLayout& layout) {
                EXPECT_EQ(canvas.width(), layout.width);
            });
            std::this_thread::yield();
        }
    }
    stop = true;
    writer.join();
}

TEST(TimeBox, KeepsTheIntervalWithinTheData) {
    PaintModel model;
    model.intervalStart = 1000;
    model.intervalEnd = 5000;
    TimeBox box(model);
    int news = 0;
    box.timeChanged.connect([&] { ++news; });
    const auto expect = [&](std::uint64_t start, std::uint64_t end, bool byUser, int told) {
        while (Glib::MainContext::get_default()->iteration(false))
            continue;
        EXPECT_EQ(box.start, start);
        EXPECT_EQ(box.end, end);
        EXPECT_EQ(box.byUser, byUser) << start;
        EXPECT_EQ(std::exchange(news, 0), told) << start;
    };
    box.centerOn(2000);
    expect(0, 0, false, 0);
    box.setInterval(500, 9000, true);
    expect(1000, 5000, true, 1);
    box.setInterval(0, 6000, false);
    expect(1000, 5000, false, 0);
    box.setInterval(6000, 7000, false);  // outside the data
    expect(1000, 5000, false, 0);
    box.setInterval(2000, 3001, false);
    expect(2000, 3001, false, 1);
    box.centerOn(4000);
    expect(3500, 4501, true, 1);
    box.centerOn(1100);
    expect(1000, 2001, true, 1);
    box.centerOn(4990);
    expect(3999, 5000, true, 1);
    box.clearInterval();
    expect(0, 0, true, 1);
}

}  // namespace
}  // namespace trelis::test
