#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "analysis/calc/HistogramCounts.h"
#include "analysis/calc/SampleTable.h"
#include "analysis/calc/SignalStatistics.h"
#include "analysis/calc/TableNumber.h"
#include "analysis/calc/TrackGeometry.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "support/TestStore.h"

namespace trelis {
namespace {

using Samples = std::vector<Sample>;
using Bins = std::vector<std::uint64_t>;
constexpr TimeRange kAll{0, std::numeric_limits<std::uint64_t>::max()};

// ---- numbers

TEST(TableNumberTest, WritesBothDecimalSigns) {
    EXPECT_EQ(fixedNumber(-1.5, 6, false), "-1.500000");
    EXPECT_EQ(fixedNumber(1234567.891, 2, true), "1234567,89");
    EXPECT_EQ(shortNumber(0.1 + 0.2, false), "0.3");
    EXPECT_EQ(shortNumber(1234567.0, true), "1,23457e+06");
    EXPECT_EQ(fixedNumber(std::numeric_limits<double>::lowest(), 6, false).size(), 317U);
}

// ---- histogram

TEST(HistogramCountsTest, TimeGoesToTheBandOfItsEnd) {
    // 0 to 10 in two bands: 5 is the upper edge of the first and belongs to it.
    const Samples samples = {{1000, 0}, {1100, 5}, {1300, 10}, {1600, 5.1}};
    const auto counts = countHistogram(samples, kAll, {}, 2);
    EXPECT_EQ(counts.bins, (Bins{100, 500}));
    EXPECT_EQ(histogramTable(counts, "V", true),
              "From (V)\tTo (V)\tFrom/To (V)\t%\n"
              "0,000000\t5,000000\t0,00 - 5,00\t16,666667\n"
              "5,000000\t10,000000\t5,00 - 10,00\t83,333333\n");
}

TEST(HistogramCountsTest, WhatCountsAndFromWhen) {
    const Samples outliers = {{0, 1}, {100, 99}, {250, 2}, {300, NAN}, {400, 1}};
    EXPECT_EQ(countHistogram(outliers, kAll, {0, 10}, 2).bins, (Bins{150, 250}))
        << "what the filter drops does not move the previous time";
    const Samples late = {{0, 7}, {1000, 1}, {1500, 2}, {9000, 1}};
    EXPECT_EQ(countHistogram(late, {1000, 1500}, {}, 2).bins, (Bins{1000, 500}))
        << "the first one counts from the signal's first";
    const Samples equal = {{0, 3}, {100, 3}, {300, 3}};
    EXPECT_EQ(countHistogram(equal, kAll, {}, 4).bins, (Bins{300, 0, 0, 0}));
    EXPECT_EQ(histogramTable(countHistogram(equal, {5000, 6000}, {}, 4), "V", false),
              "From (V)\tTo (V)\tFrom/To (V)\t%\n");
    EXPECT_EQ(histogramTable(countHistogram({}, kAll, {}, 4), "V", false), "");
    // The range of all numbers is no number.
    constexpr double kMost = std::numeric_limits<double>::max();
    EXPECT_EQ(countHistogram(Samples{{0, -kMost}, {10, kMost}}, kAll, {}, 4).bins.size(), 4U);
}

// The plain search for the band, value by value, as a check of the guess that bands are found by.
TEST(HistogramCountsTest, AgreesWithThePlainSearch) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int round = 0; round < 50; ++round) {
        const std::size_t binCount = 2 + random.below(100);
        Samples samples;
        std::uint64_t time = 0;
        for (int i = 0; i < 200; ++i) {
            time += random.below(500);
            samples.push_back({time, random.below(64) * 0.1 - 1.7});
        }
        const auto counts = countHistogram(samples, kAll, {}, binCount);
        std::vector<std::uint64_t> expected(binCount);
        std::uint64_t previous = samples.front().time;
        for (const Sample& sample : samples) {
            std::size_t bin = 0;
            while (bin < binCount &&
                   static_cast<double>(bin + 1) * counts.binStep + counts.minValue < sample.value)
                ++bin;
            if (bin < binCount) expected[bin] += sample.time - previous;
            previous = sample.time;
        }
        ASSERT_EQ(counts.bins, expected);
    }
}

TEST(HistogramLayoutTest, FillsTheWidthAndTheHeight) {
    const auto counts = countHistogram(Samples{{0, 0}, {500, 1}}, kAll, {}, 10);
    const auto layout = HistogramLayout::of(counts, 220, 140, 1.0);
    EXPECT_NEAR(layout.barWidth, 17.8, 1e-9);  // ten of them, with gaps of 2 px, over 200 px
    EXPECT_NEAR(layout.barLeft(9) + layout.barWidth + layout.barGap, 210.0, 1e-9);
    EXPECT_NEAR(layout.unitHeight * 500, 100.0, 1e-9);
    EXPECT_NEAR(HistogramLayout::of(counts, 220, 140, 0.5).unitHeight * 500, 200.0, 1e-9);
    EXPECT_EQ(layout.barAt(layout.barLeft(3) + 1, 10), 3U);
    EXPECT_EQ(layout.barAt(2, 10), 10U);
    EXPECT_EQ(layout.barAt(219, 10), 10U);
}

// ---- statistics

TEST(SignalStatisticsTest, GapsAndRulersAtTheEdges) {
    EXPECT_FALSE(computeStatistics(Samples{{0, 5}, {10000, 6}}, kAll, {}, {}).average);
    EXPECT_EQ(computeStatistics(Samples{{0, 5}, {9999, 6}}, kAll, {}, {}).average, 5.0);

    const auto lonely = computeStatistics(Samples{{50, 5}}, kAll, {}, {});
    EXPECT_EQ(lonely.min, 5.0);
    EXPECT_FALSE(lonely.average || lonely.deviation || lonely.integral);
    EXPECT_FALSE(lonely.leftValue || lonely.rightValue || lonely.delta());

    const auto none = computeStatistics(Samples{{50, 5}}, {60, 70}, {}, {10, 10});
    EXPECT_FALSE(none.min || none.leftValue);

    const Samples samples = {{100, 1}, {200, 2}, {300, 70}};
    const auto early = computeStatistics(samples, kAll, {0, 10}, {50, 50});
    EXPECT_EQ(early.leftValue, 1.0) << "the left ruler takes the first value behind it";
    EXPECT_FALSE(early.rightValue);
    EXPECT_EQ(early.max, 2.0) << "70 lies outside the limits";
}

TEST(SignalStatisticsTest, TheTableWeighsTheMeanByTimeAndTheDeviationNot) {
    test::TestStore store;
    store.parseFirstTime = 1000000;
    const Samples samples = {{1000000, 2}, {1001000, 4}, {1004000, 8}};
    const TimeRange view{1000000, 1061999};
    const Rulers rulers{1001500, 1005000};
    const auto figures = computeStatistics(samples, view, {}, rulers);
    const auto text = statisticsText(store, figures, view, rulers, "V", IntegralUnit::kHours, true);
    EXPECT_EQ(statisticsTable(text, "Voltage"),
              "Name\tValue\tUnit\n"
              "Window\t  1970-01-01 00:16:40.000 -   1970-01-01 00:17:41.999\n"
              "Signal\tVoltage\n"
              "Left ruler time\t  1970-01-01 00:16:41.500\t( 1.500s)\n"
              "Right ruler time\t  1970-01-01 00:16:45.000\t( 5.000s)\n"
              "Time span\t61\ts\n"
              "Left ruler value\t4,000000\tV\n"
              "Right ruler value\t8,000000\tV\n"
              "Value delta\t4,000000\tV\n"
              "Min value\t2,000000\tV\n"
              "Max value\t8,000000\tV\n"
              "Average\t3,500000\tV\n"
              "Standard deviation\t2,753785\tV\n"
              "Integral [h]\t0,003889\tV·h\n");
    for (const auto& [unit, name, value] :
         std::vector<std::tuple<IntegralUnit, const char*, const char*>>{
             {IntegralUnit::kMinutes, "Integral [min]", "0.233333"},
             {IntegralUnit::kSeconds, "Integral [s]", "14.000000"}}) {
        const auto rows = statisticsText(store, figures, view, {}, "V", unit, false).rows;
        EXPECT_EQ(rows[10].name, name);
        EXPECT_EQ(rows[10].value, value);
        EXPECT_EQ(rows[1].value + rows[1].unit, "--") << "without a ruler";
    }
}

// ---- sample table

TEST(SampleTableTest, HoldsValuesAtEachStep) {
    test::TestStore store;
    const auto message = std::make_shared<Message>(1, "Motor", store.addInterface("Bus", 0));
    message->parent()->addMessage(message);
    const auto add = [&](const char* name, const char* unit, bool selected) {
        auto signal = std::make_shared<Signal>(message, name);
        signal->unit = unit;
        message->addSignal(name, signal);
        signal->setSelected(selected);
        return signal;
    };
    const auto speed = add("Speed", "rpm", true);
    const auto silent = add("Silent", "", true);
    add("Unwanted", "x", false);
    speed->addSample(1005, 1.25);
    speed->addSample(1020, 3);
    const auto signals = signalsForTable(store);
    ASSERT_EQ(signals.size(), 2U);
    EXPECT_EQ(sampleTableText(signals, 1000, 1030, 10, true),
              "Time(ms)\tSpeed (rpm)\tSilent ()\n0\t0\t0\n10\t1,25\t0\n20\t3\t0");
    EXPECT_EQ(sampleTableText(signals, 1000, 1000, 10, false), "Time(ms)\tSpeed (rpm)\tSilent ()");
    EXPECT_EQ(sampleTableText(signals, 1000, 1001, 60000, false)->substr(30), "\n0\t0\t0");
    EXPECT_FALSE(sampleTableText(signals, 0, kMostTableCells, 1, false)) << "for no spreadsheet";
    EXPECT_FALSE(sampleTableText(signals, 0, kAll.to, 1, false));

    // Over many blocks of rows and far into long arrays, against a lookup a row.
    for (std::uint64_t i = 0; i < 3000; ++i)
        silent->addSample(10000 + i * 7, static_cast<double>(i));
    std::string expected = "Time(ms)\tSilent ()";
    for (std::uint64_t time = 12345; time < 32345; time += 2)
        expected +=
            "\n" + std::to_string(time - 12345) + "\t" + shortNumber(silent->valueAt(time), false);
    EXPECT_EQ(sampleTableText(std::vector{silent}, 12345, 32345, 2, false), expected);
}

// ---- track

TEST(TrackGeometryTest, PartsEndWithTheSelection) {
    std::vector<TrackPoint> track;
    for (std::uint64_t i = 0; i <= 200; ++i)
        track.push_back({i * 1000, 0, 0});
    const TrackPoints points(track);
    const auto parts = splitTrack(points, {10000, 190000}, {20000, 30000}, 50000, 40000, 200000);
    const auto ends = [](TrackPoints part) {
        return TimeRange{part.front().time, part.back().time};
    };
    EXPECT_EQ(ends(parts.whole), (TimeRange{10000, 190000}));
    EXPECT_EQ(ends(parts.visible), (TimeRange{20000, 30000}));
    EXPECT_EQ(ends(parts.betweenRulers), (TimeRange{40000, 50000}));
    EXPECT_EQ(ends(parts.lastMinute), (TimeRange{140000, 190000}));
    EXPECT_TRUE(splitTrack(points, kAll, kAll, -1, -1, 0).betweenRulers.empty());
    EXPECT_EQ(splitTrack(points, kAll, kAll, -1, 3000, 0).betweenRulers.size(), 4U);

    EXPECT_EQ(firstPointAfter(points, 5000)->time, 6000U);
    EXPECT_FALSE(firstPointAfter(points, 200000));
    EXPECT_FALSE(firstPointAfter(points, -1));
}

TEST(TrackGeometryTest, OneScaleForBothAxes) {
    const auto lastPixel = [](const std::vector<TrackPoint>& track, double height, Pixel shift) {
        return PlaneView::fit(PlaneBounds::of(track), 400, height).toPixel(track.back(), shift);
    };
    // 4 wide, 2 high: the width rules with 100 pixels a unit, and the height is centred.
    EXPECT_EQ(lastPixel({{0, -1, 2}, {1, 3, 4}}, 400, {10, 20}), (Pixel{390, 280}));
    EXPECT_EQ(lastPixel({{0, 5, 5}}, 300, {}), (Pixel{200, 150})) << "a spot";
    EXPECT_EQ(lastPixel({{0, 5, 5}, {1, 5, 7}}, 300, {}), (Pixel{200, 300})) << "a straight line";
    EXPECT_EQ(PlaneView::fit(PlaneBounds::of({}), 400, 300).scale, 0);
}

TEST(TrackZoomTest, KeepsTheSpotUnderThePointer) {
    TrackZoom zoom;
    const auto expect = [&zoom](double factor, double x, double y) {
        EXPECT_DOUBLE_EQ(zoom.factor(), factor);
        EXPECT_NEAR(zoom.shift().x, x, 1e-9);
        EXPECT_NEAR(zoom.shift().y, y, 1e-9);
    };
    EXPECT_FALSE(zoom.zoomOut()) << "the whole track does not shrink";
    zoom.movePointer(100, 50);
    zoom.zoomIn();
    expect(1.2, 20, 10);
    zoom.zoomIn();
    expect(1.44, 44, 22);
    EXPECT_TRUE(zoom.zoomOut());
    expect(1.2, 20, 10);
    EXPECT_TRUE(zoom.zoomOut());
    expect(1, 0, 0);

    for (int i = 0; i < 1000; ++i)
        zoom.zoomIn();
    EXPECT_LT(zoom.factor(), 1e4);
    const Pixel shift = zoom.shift();
    zoom.resetFactor();
    EXPECT_EQ(zoom.factor(), 1.0);
    EXPECT_EQ(zoom.shift(), shift) << "it stays until the next zoom";
}

}  // namespace
}  // namespace trelis
