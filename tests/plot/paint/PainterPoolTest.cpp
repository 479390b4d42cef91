#include "plot/paint/PainterThreadPool.h"

#include <gtest/gtest.h>

#include <set>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"
#include "plot/paint/PaintModel.h"
#include "plot/paint/PlotPicture.h"
#include "plot/paint/TimeBox.h"

namespace trelis::test {
namespace {

/// Notes which tasks come back.
class Collector : public PainterThreadPoolUser {
  public:
    void onPainterDone(std::shared_ptr<PainterTask> task) override {
        if (onDone) onDone();
        const std::lock_guard lock(mutex_);
        done_.push_back(task->generation);
        wake_.notify_all();
    }
    /// Waits until so many tasks are back.
    bool waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        return wake_.wait_for(lock, std::chrono::seconds(20),
                              [&] { return done_.size() >= count; });
    }
    std::vector<std::uint32_t> done() {
        const std::lock_guard lock(mutex_);
        return done_;
    }
    std::function<void()> onDone;

  private:
    std::mutex mutex_;  // guards done_
    std::condition_variable wake_;
    std::vector<std::uint32_t> done_;
};

class PainterPool : public testing::Test {
  protected:
    PainterPool() : signal(model.addSignal("Signal")) {
        for (std::uint64_t time = 0; time < 5000; ++time)
            signal->addSample(time, static_cast<double>(time % 7));
        model.boundBy(*signal);
    }
    std::shared_ptr<PainterTask> task(std::uint32_t generation) {
        auto made = std::make_shared<PainterTask>(makeTask(signal, 0, 5000, 200, 50));
        made->user = &collector;
        made->generation = generation;
        return made;
    }
    PaintModel model;
    std::shared_ptr<Signal> signal;
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
        for (std::uint32_t i = 0; i < 6; ++i)
            pool.addTask(task(i));
        pool.cancelAll();
    }
    pool.waitUntilIdle();
    EXPECT_TRUE(collector.done().empty());
    pool.addTask(task(77));
    ASSERT_TRUE(collector.waitFor(1));
    EXPECT_EQ(collector.done(), std::vector<std::uint32_t>{77});
}

TEST_F(PainterPool, EndsWithTasksWaiting) {
    for (int round = 0; round < 50; ++round) {
        PainterThreadPool pool(3);
        for (std::uint32_t i = 0; i < 10; ++i)
            pool.addTask(task(i));
    }
    SUCCEED();
}

TEST_F(PainterPool, TellsMisuse) {
    PainterThreadPool empty(0);
    PainterThread thread(empty, 0);
    EXPECT_THROW(thread.reassign(task(0)), PrintMsgError);
    std::atomic<bool> thrown = false;
    collector.onDone = [&] {
        try {
            thread.assignWork(task(2));
        } catch (const PrintMsgError&) {
            thrown = true;
        }
    };
    EXPECT_TRUE(thread.assignWork(task(1)));
    ASSERT_TRUE(collector.waitFor(1));
    EXPECT_TRUE(thrown);

    std::set<std::string> texts;
    while (!MessageLog::instance().isEmpty())
        texts.insert(MessageLog::instance().pop().text);
    EXPECT_EQ(texts,
              (std::set<std::string>{"assignWork may not be called from threads own context",
                                     "reassign may only be called from threads own context"}));

    auto nothing = task(3);
    nothing->signal.reset();
    const std::atomic<bool> cancel = false;
    EXPECT_THROW(paintTask(*nothing, cancel), PrintMsgError);
    EXPECT_EQ(MessageLog::instance().pop().text, "no assignment set");
}

PictureLayout layoutOf(std::uint64_t end, bool split, std::size_t rows) {
    PictureRequest request;
    request.bounds = {0, end};
    request.width = 300;
    request.height = 120;
    request.rows = rows;
    request.split = split;
    return *layoutView(request);
}

std::uint32_t pixelOf(const PlotPicture& picture, int x, int y) {
    std::uint32_t pixel = 0;
    picture.visit([&](const PixelCanvas& canvas, const PictureLayout&) {
        pixel = canvas.row(y)[static_cast<std::size_t>(x)];
    });
    return pixel;
}

/// Waits for the wake-up that follows the last task, of the newest rendering.
bool waitForPicture(PlotPicture& picture) {
    bool painted = false;
    auto connection = picture.painted.connect([&] { painted = true; });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const auto context = Glib::MainContext::get_default();
    while ((!painted || picture.isPainting()) && std::chrono::steady_clock::now() < end) {
        context->iteration(false);
        std::this_thread::yield();
    }
    connection.disconnect();
    return painted;
}

TEST_F(PainterPool, JoinsImagesInTheOrderOfTheSignals) {
    // All three lie over each other unless they are split; the second has no data.
    const auto other = model.addSignal("Other");
    const auto last = model.addSignal("Last");
    for (std::uint64_t time = 0; time < 5000; ++time)
        last->addSample(time, static_cast<double>(time % 7));
    const std::vector<PaintSignal> signals = {
        {signal, {1, 0, 0}}, {other, {0, 1, 0}}, {last, {0, 0, 1}}};
    PlotPicture picture;
    EXPECT_FALSE(picture.visit([](const PixelCanvas&, const PictureLayout&) {}));
    for (int round = 0; round < 20; ++round) {
        picture.start(layoutOf(5000, false, 3), signals);
        ASSERT_TRUE(waitForPicture(picture));
        ASSERT_EQ(pixelOf(picture, 100, 60), 0xFF0000FFU);
    }
    picture.start(layoutOf(5000, true, 3), signals);
    ASSERT_TRUE(waitForPicture(picture));
    EXPECT_EQ(pixelOf(picture, 100, 20), 0xFFFF0000U);
    EXPECT_EQ(pixelOf(picture, 100, 60), 0U);
    EXPECT_EQ(pixelOf(picture, 100, 100), 0xFF0000FFU);

    picture.stop();
    EXPECT_FALSE(picture.visit([](const PixelCanvas&, const PictureLayout&) {}));
}

TEST_F(PainterPool, DropsResultsOfAnOlderRendering) {
    PlotPicture picture;
    picture.start(layoutOf(5000, false, 1), {{signal, {1, 0, 0}}});
    ASSERT_TRUE(waitForPicture(picture));
    picture.onPainterDone(task(0));  // late: from a generation that is gone
    EXPECT_FALSE(picture.isPainting());
    EXPECT_EQ(pixelOf(picture, 100, 60), 0xFFFF0000U);
    {
        const std::lock_guard lock(*signal->mutex);
        picture.start(layoutOf(5000, false, 1), {{signal, {0, 1, 0}}});
        picture.start(layoutOf(5000, false, 1), {{signal, {0, 0, 1}}});
        EXPECT_EQ(pixelOf(picture, 100, 60), 0xFFFF0000U) << "stays until the new one is complete";
    }
    ASSERT_TRUE(waitForPicture(picture));
    EXPECT_EQ(pixelOf(picture, 100, 60), 0xFF0000FFU);
}

TEST_F(PainterPool, SurvivesWritersRestartsAndClearedSamples) {
    model.store.liveMode = true;
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        for (std::uint64_t time = 5000; !stop; ++time)
            signal->addSample(time, static_cast<double>(time % 100));
    });
    {
        PlotPicture picture;
        for (int round = 0; round < 300; ++round) {
            model.store.intervalEnd = 5000 + static_cast<std::uint64_t>(round) * 100;
            picture.start(layoutOf(model.store.intervalEnd, round % 2 == 0, 2),
                          {{signal, {1, 0, 0}}, {signal, {0, 0, 1}}});
            picture.visit([](const PixelCanvas& canvas, const PictureLayout& layout) {
                EXPECT_EQ(canvas.width(), layout.width);
            });
            if (round % 10 == 9) {
                picture.stop();
                EXPECT_FALSE(picture.isPainting());
            }
            std::this_thread::yield();
        }
    }
    stop = true;
    writer.join();
}

TEST(TimeBox, KeepsTheIntervalWithinTheData) {
    PaintModel model;
    model.store.intervalStart = 1000;
    model.store.intervalEnd = 5000;
    TimeBox box(model.store);
    int news = 0;
    box.timeChanged.connect([&] { ++news; });
    const auto changes = [&] {
        while (Glib::MainContext::get_default()->iteration(false))
            continue;
        return std::exchange(news, 0);
    };
    const auto expect = [&](std::uint64_t start, std::uint64_t end, int told) {
        EXPECT_EQ(box.start, start);
        EXPECT_EQ(box.end, end);
        EXPECT_EQ(changes(), told);
    };
    EXPECT_FALSE(box.isSet());
    box.centerOn(2000);
    expect(0, 0, 0);
    box.setInterval(500, 9000, true);
    expect(1000, 5000, 1);
    EXPECT_TRUE(box.byUser);
    box.setInterval(0, 6000, false);
    expect(1000, 5000, 0);
    EXPECT_FALSE(box.byUser);
    box.setInterval(6000, 7000, false);  // outside the data
    expect(1000, 5000, 0);
    box.setInterval(2000, 3001, false);
    expect(2000, 3001, 1);
    box.centerOn(4000);
    expect(3500, 4501, 1);
    EXPECT_TRUE(box.byUser);
    box.centerOn(1100);
    expect(1000, 2001, 1);
    box.centerOn(4990);
    expect(3999, 5000, 1);
    box.clearInterval();
    expect(0, 0, 1);
}

}  // namespace
}  // namespace trelis::test
