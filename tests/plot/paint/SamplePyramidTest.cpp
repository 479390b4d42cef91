#include "plot/paint/SamplePyramid.h"

#include <gtest/gtest.h>

#include "plot/paint/PaintModel.h"

namespace trelis::test {
namespace {

TEST(SamplePyramid, IsSmallBuiltInStepsAndSparesTheWalk) {
    PaintModel model;
    const auto signal = model.addSignal();
    Randomness random;
    SCOPED_TRACE(random.trace());
    SamplePyramid pyramid;
    for (const std::size_t more : {1000000, 30000, 30000, 30000}) {
        model.fill(*signal, random, more, 5, 200);
        EXPECT_FALSE(pyramid.update(signal->samples(), 6400));
        EXPECT_TRUE(pyramid.update(signal->samples(), more));
        EXPECT_LE(pyramid.memory() * 20, signal->samples().size() * sizeof(Sample));
    }
    const auto samples = signal->samples().view();
    for (const auto& [first, last] : {std::pair<std::size_t, std::size_t>{0, samples.size()},
                                      {1, samples.size() - 1},
                                      {63, 65},
                                      {5, 5}}) {
        std::size_t next = first;
        std::size_t walked = 0;
        const auto take = [&](std::size_t from, std::size_t to) {
            EXPECT_EQ(from, next);
            next = to;
        };
        const auto walk = [&](std::size_t from, std::size_t to) {
            take(from, to);
            walked += to - from;
        };
        const auto absorb = [&](std::size_t from, std::size_t to, double, double) {
            take(from, to);
            for (std::size_t i = std::max<std::size_t>(from, 1); i < to; ++i)
                ASSERT_LE(samples[i].time - samples[i - 1].time, kGapMs);
        };
        pyramid.visit(first, last, absorb, walk);
        EXPECT_EQ(next, last);
        EXPECT_LE(walked, 2 + (last - first) / 2);
    }
}

TEST(PyramidCache, KeepsOneASignalAndForgetsTheDead) {
    PaintModel model;
    auto signal = model.addSignal();
    PyramidCache& cache = PyramidCache::instance();
    const auto pyramid = cache.find(signal);
    EXPECT_EQ(cache.find(signal), pyramid);
    model.message->clearMessage();
    signal.reset();
    EXPECT_EQ(pyramid.use_count(), 2);
    cache.find(model.addSignal("Next"));
    EXPECT_EQ(pyramid.use_count(), 1);
}

}  // namespace
}  // namespace trelis::test
