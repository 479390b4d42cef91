#include "plot/paint/SamplePyramid.h"

#include <gtest/gtest.h>

#include "plot/paint/PaintModel.h"
#include "plot/paint/TimeAxis.h"

namespace trelis::test {
namespace {

TEST(SamplePyramid, TakesLittleMemory) {
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    std::mt19937_64 random(1);
    model.fill(*signal, random, 1000000, 5, 0);
    SamplePyramid pyramid;
    EXPECT_TRUE(pyramid.update(signal->samples(), ~0ULL));
    const std::size_t samples = signal->samples().size() * sizeof(Sample);
    EXPECT_LE(pyramid.memory() * 20, samples);

    for (int round = 0; round < 10; ++round) {
        model.fill(*signal, random, 30000, 5, 0);
        pyramid.update(signal->samples(), ~0ULL);
    }
    EXPECT_LE(pyramid.memory() * 20, signal->samples().size() * sizeof(Sample)) << "after growth";
}

TEST(SamplePyramid, IsBuiltInStepsAndVisitsEverySampleOnce) {
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    std::mt19937_64 random(2);
    model.fill(*signal, random, 10000, 5, 900);
    const std::size_t count = signal->samples().size();
    SamplePyramid pyramid;
    EXPECT_FALSE(pyramid.update(signal->samples(), 6400));
    EXPECT_TRUE(pyramid.update(signal->samples(), 6400));

    for (const auto& [first, last] :
         {std::pair<std::size_t, std::size_t>{0, count}, {1, count - 1}, {63, 65}, {5, 5}}) {
        std::size_t next = first;
        bool anyAbsorbed = false;
        const auto take = [&](std::size_t from, std::size_t to) {
            EXPECT_EQ(from, next);
            next = to;
        };
        pyramid.visit(
            first, last,
            [&](std::size_t from, std::size_t to, double low, double high) {
                take(from, to);
                anyAbsorbed = true;
                for (std::size_t i = from; i < to; ++i) {
                    EXPECT_GE(signal->samples()[i].value, low);
                    EXPECT_LE(signal->samples()[i].value, high);
                    if (i == 0) continue;
                    EXPECT_LE(signal->samples()[i].time, signal->samples()[i - 1].time + kGapMs);
                }
            },
            take);
        EXPECT_EQ(next, last);
        EXPECT_EQ(anyAbsorbed, last - first > 1000);
    }
}

TEST(PyramidCache, KeepsOneASignalAndForgetsTheDead) {
    PaintModel model;
    auto signal = model.addSignal("Signal");
    PyramidCache& cache = PyramidCache::instance();
    const auto pyramid = cache.find(signal);
    EXPECT_EQ(cache.find(signal), pyramid);
    model.store.clearAll();
    model.message->clearMessage();
    signal.reset();
    EXPECT_EQ(pyramid.use_count(), 2);
    PaintModel next;
    cache.find(next.addSignal("Signal"));
    EXPECT_EQ(pyramid.use_count(), 1);
}

TEST(TimeAxis, FindsWhereAColumnEnds) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "SIGMIRA_SEED=" << seed);
    std::mt19937_64 random(seed);
    for (int round = 0; round < 2000; ++round) {
        TimeAxis axis;
        axis.start = 1700000000000 + random() % 1000000;
        axis.end = axis.start + 1 + random() % (1ULL << (random() % 40));
        axis.spanColumns = 1 + static_cast<int>(random() % 3000);
        axis.origin = static_cast<int>(random() % 100);
        axis.width = axis.spanColumns + axis.origin;
        const int column =
            axis.origin + static_cast<int>(random() % static_cast<unsigned>(axis.spanColumns));
        const std::uint64_t end = axis.columnEnd(column);
        EXPECT_GT(axis.wholeColumn(end), column);
        EXPECT_LE(axis.wholeColumn(end - 1), column);
    }
}

TEST(TimeAxis, CollapsesWhatIsFarOutside) {
    const TimeAxis axis{1000, 2000, 100, 0, 100};
    EXPECT_EQ(axis.timeToColumn(1000), 0);
    EXPECT_EQ(axis.timeToColumn(1505), 50.5);
    EXPECT_EQ(axis.timeToColumn(2000), 100);
    EXPECT_EQ(axis.timeToColumn(2001), 101);
    EXPECT_EQ(axis.timeToColumn(999999999), 101);
    EXPECT_EQ(axis.timeToColumn(0), -1);
}

}  // namespace
}  // namespace trelis::test
