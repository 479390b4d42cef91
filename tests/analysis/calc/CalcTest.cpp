#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "analysis/calc/HistogramCounts.h"
#include "analysis/calc/SampleTable.h"
#include "analysis/calc/SignalStatistics.h"
#include "analysis/calc/TableNumber.h"
#include "analysis/calc/TrackGeometry.h"
#include "app/store/Store.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

using Samples = std::vector<Sample>;
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
    EXPECT_EQ(counts.bins, (std::vector<std::uint64_t>{100, 500}));
    EXPECT_EQ(counts.totalTime, 600U);
    EXPECT_EQ(counts.largestBin, 500U);
    EXPECT_EQ(counts.binStep, 5.0);
    EXPECT_EQ(histogramTable(counts, "V", false),
              "From (V)\tTo (V)\tFrom/To (V)\t%\n"
              "0.000000\t5.000000\t0.00 - 5.00\t16.666667\n"
              "5.000000\t10.000000\t5.00 - 10.00\t83.333333\n");
    EXPECT_NE(
        histogramTable(counts, "V", true).find("\n0,000000\t5,000000\t0,00 - 5,00\t16,666667\n"),
        std::string::npos);
}

TEST(HistogramCountsTest, FilteredSamplesDoNotMoveThePreviousTime) {
    const Samples samples = {{0, 1}, {100, 99}, {250, 2}, {300, std::nan("")}, {400, 1}};
    const auto counts = countHistogram(samples, kAll, {0, 10}, 2);
    EXPECT_EQ(counts.minValue, 1.0);
    EXPECT_EQ(counts.maxValue, 2.0);
    EXPECT_EQ(counts.bins, (std::vector<std::uint64_t>{150, 250}));
}

TEST(HistogramCountsTest, FirstSampleInTheRangeCountsFromTheSignalsFirst) {
    const Samples samples = {{0, 7}, {1000, 1}, {1500, 2}, {9000, 1}};
    const auto counts = countHistogram(samples, {1000, 1500}, {}, 2);
    EXPECT_EQ(counts.bins, (std::vector<std::uint64_t>{1000, 500}));
}

TEST(HistogramCountsTest, EdgesOfWhatThereIs) {
    const Samples equal = {{0, 3}, {100, 3}, {300, 3}};
    const auto same = countHistogram(equal, kAll, {}, 4);
    EXPECT_EQ(same.binStep, 0.0);
    EXPECT_EQ(same.bins, (std::vector<std::uint64_t>{300, 0, 0, 0}));

    const auto none = countHistogram({}, kAll, {}, 4);
    EXPECT_EQ(none.largestBin, 0U);
    EXPECT_EQ(histogramTable(none, "V", false), "");

    const auto outside = countHistogram(equal, {5000, 6000}, {}, 4);
    EXPECT_FALSE(outside.hasRange());
    EXPECT_EQ(histogramTable(outside, "V", false), "From (V)\tTo (V)\tFrom/To (V)\t%\n");

    // The range of all numbers is no number.
    const Samples vast = {{0, std::numeric_limits<double>::lowest()},
                          {10, std::numeric_limits<double>::max()}};
    EXPECT_EQ(countHistogram(vast, kAll, {}, 4).bins.size(), 4U);
}

// The plain search for the band, value by value, as a check of the guess that bands are found by.
TEST(HistogramCountsTest, AgreesWithThePlainSearch) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 50; ++round) {
        const std::size_t binCount = 2 + random() % 100;
        Samples samples;
        std::uint64_t time = 0;
        for (int i = 0; i < 200; ++i) {
            time += random() % 500;
            samples.push_back({time, static_cast<double>(random() % 64) * 0.1 - 1.7});
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
    EXPECT_NEAR(layout.barGap, 2.0, 1e-9);  // a tenth of 200 px over ten bars
    EXPECT_NEAR(layout.barWidth, 17.8, 1e-9);
    EXPECT_NEAR(layout.barLeft(9) + layout.barWidth + layout.barGap, 210.0, 1e-9);
    EXPECT_NEAR(layout.unitHeight * 500, 100.0, 1e-9);
    EXPECT_NEAR(HistogramLayout::of(counts, 220, 140, 0.5).unitHeight * 500, 200.0, 1e-9);
    EXPECT_EQ(layout.barAt(layout.barLeft(3) + 1, 10), 3U);
    EXPECT_EQ(layout.barAt(2, 10), 10U);
    EXPECT_EQ(layout.barAt(219, 10), 10U);
}

// ---- statistics

TEST(SignalStatisticsTest, WeighsTheMeanByTimeAndTheDeviationNot) {
    const Samples samples = {{0, 2}, {1000, 4}, {4000, 8}};
    const auto figures = computeStatistics(samples, kAll, {}, {1500, 5000});
    EXPECT_EQ(figures.min, 2.0);
    EXPECT_EQ(figures.max, 8.0);
    EXPECT_EQ(figures.integral, 2 * 1000 + 4 * 3000);
    EXPECT_EQ(figures.average, 3.5);
    EXPECT_DOUBLE_EQ(*figures.deviation, std::sqrt((2.25 + 0.25 + 20.25) / 3));
    EXPECT_EQ(figures.leftValue, 4.0);
    EXPECT_EQ(figures.rightValue, 8.0);
    EXPECT_EQ(figures.delta(), 4.0);
}

TEST(SignalStatisticsTest, GapsAndLonelySamples) {
    EXPECT_FALSE(computeStatistics(Samples{{0, 5}, {10000, 6}}, kAll, {}, {}).average);
    EXPECT_EQ(computeStatistics(Samples{{0, 5}, {9999, 6}}, kAll, {}, {}).average, 5.0);

    const auto lonely = computeStatistics(Samples{{50, 5}}, kAll, {}, {});
    EXPECT_EQ(lonely.min, 5.0);
    EXPECT_FALSE(lonely.average || lonely.deviation || lonely.integral);
    EXPECT_FALSE(lonely.leftValue || lonely.rightValue || lonely.delta());

    const auto none = computeStatistics(Samples{{50, 5}}, {60, 70}, {}, {10, 10});
    EXPECT_FALSE(none.min || none.leftValue);
}

TEST(SignalStatisticsTest, RulersBeforeTheFirstSample) {
    const Samples samples = {{100, 1}, {200, 2}, {300, 70}};
    const auto figures = computeStatistics(samples, kAll, {0, 10}, {50, 50});
    EXPECT_EQ(figures.leftValue, 1.0) << "the left ruler takes the first value behind it";
    EXPECT_FALSE(figures.rightValue);
    EXPECT_EQ(figures.max, 2.0) << "70 lies outside the limits";
}

TEST(SignalStatisticsTest, TextsAndTable) {
    Store store;
    store.noGui = true;
    store.parseFirstTime = 1000000;
    const Samples samples = {{1000000, 36}, {1003600, 36}};
    const TimeRange view{1000000, 1061999};
    const Rulers rulers{1001000, -1};
    const auto figures = computeStatistics(samples, view, {}, rulers);
    const auto text = statisticsText(store, figures, view, rulers, "V", IntegralUnit::kHours, true);
    const auto& rows = text.rows;
    EXPECT_EQ(rows[0].name, "Left ruler time");
    EXPECT_NE(rows[0].value.find("1970-01-01 00:16:41"), std::string::npos);
    EXPECT_EQ(rows[0].unit, "( 1.000s)");
    EXPECT_EQ(rows[1].value, "-");
    EXPECT_EQ(rows[2].value, "61");
    EXPECT_EQ(rows[2].unit, "s");
    EXPECT_EQ(rows[3].value, "36,000000");
    EXPECT_EQ(rows[4].value, "-");
    EXPECT_EQ(rows[9].value, "0,000000");
    EXPECT_EQ(rows[10].name, "Integral [h]");
    EXPECT_EQ(rows[10].value, "0,036000");
    EXPECT_EQ(rows[10].unit, "V·h");
    const auto inMinutes =
        statisticsText(store, figures, view, rulers, "V", IntegralUnit::kMinutes, false);
    EXPECT_EQ(inMinutes.rows[10].value, "2.160000");
    EXPECT_EQ(inMinutes.rows[10].name, "Integral [min]");

    const std::string table = statisticsTable(text, "Voltage");
    EXPECT_EQ(table.find("Name\tValue\tUnit\nWindow\t"), 0U);
    EXPECT_NE(table.find("\nSignal\tVoltage\nLeft ruler time\t"), std::string::npos);
    EXPECT_NE(table.find("\nTime span\t61\ts\n"), std::string::npos);
    EXPECT_EQ(table.substr(table.size() - 27), "Integral [h]\t0,036000\tV·h\n");
}

// ---- sample table

class SampleTableTest : public ::testing::Test {
  protected:
    SampleTableTest() {
        store_.noGui = true;
        message_ = std::make_shared<Message>(1, "Motor", store_.addInterface("Bus", 0));
        message_->parent()->addMessage(message_);
    }
    std::shared_ptr<Signal> add(const char* name, const char* unit) {
        auto signal = std::make_shared<Signal>(message_, name);
        signal->unit = unit;
        message_->addSignal(name, signal);
        return signal;
    }

    Store store_;
    std::shared_ptr<Message> message_;
};

TEST_F(SampleTableTest, HoldsValuesAtEachStep) {
    const auto speed = add("Speed", "rpm");
    const auto silent = add("Silent", "");
    add("Unwanted", "x");
    speed->addSample(1005, 1.25);
    speed->addSample(1020, 3);
    speed->setSelected(true);
    silent->setSelected(true);
    const auto signals = signalsForTable(store_);
    ASSERT_EQ(signals.size(), 2U);
    EXPECT_EQ(sampleTableText(signals, 1000, 1030, 10, true),
              "Time(ms)\tSpeed (rpm)\tSilent ()\n0\t0\t0\n10\t1,25\t0\n20\t3\t0");
    EXPECT_EQ(sampleTableText(signals, 1000, 1000, 10, false), "Time(ms)\tSpeed (rpm)\tSilent ()");
    EXPECT_EQ(sampleTableText(signals, 1000, 1001, 60000, false)->substr(30), "\n0\t0\t0");
}

// Over many blocks of rows and far into long arrays, against a lookup a row.
TEST_F(SampleTableTest, AgreesWithALookupARow) {
    const auto signal = add("Ramp", "");
    for (std::uint64_t i = 0; i < 3000; ++i)
        signal->addSample(10000 + i * 7, static_cast<double>(i));
    signal->setSelected(true);
    std::string expected = "Time(ms)\tRamp ()";
    for (std::uint64_t time = 12345; time < 32345; time += 2)
        expected +=
            "\n" + std::to_string(time - 12345) + "\t" + shortNumber(signal->valueAt(time), false);
    EXPECT_EQ(sampleTableText(signalsForTable(store_), 12345, 32345, 2, false), expected);
}

TEST_F(SampleTableTest, RefusesWhatNoSpreadsheetTakes) {
    add("A", "")->setSelected(true);
    EXPECT_FALSE(sampleTableText(signalsForTable(store_), 0, kMostTableCells, 1, false));
    EXPECT_FALSE(sampleTableText(signalsForTable(store_), 0, kAll.to, 1, false));
}

TEST(IntervalScaleTest, SnapsAndClamps) {
    struct Case {
        std::size_t scale;
        double value;
        double snapped;
    };
    for (const auto& [scale, value, snapped] : std::vector<Case>{{0, 3.7, 3},
                                                                 {0, 400, 10},
                                                                 {1, 99, 90},
                                                                 {1, 5000, 1000},
                                                                 {2, 1999, 1000},
                                                                 {2, 61000, 60000}})
        EXPECT_EQ(kIntervalScales.at(scale).snap(value), snapped) << scale << " " << value;
    EXPECT_EQ(kIntervalScales[1].upper(), 1010);
}

// ---- track

TEST(TrackGeometryTest, PartsEndWithTheSelection) {
    std::vector<TrackPoint> track;
    for (std::uint64_t i = 0; i <= 200; ++i)
        track.push_back({i * 1000, 0, 0});
    const TrackPoints points(track);
    const auto parts = splitTrack(points, {10000, 190000}, {20000, 30000}, 50000, 40000, 200000);
    EXPECT_EQ(parts.whole.front().time, 10000U);
    EXPECT_EQ(parts.whole.back().time, 190000U);
    EXPECT_EQ(parts.visible.size(), 11U);
    EXPECT_EQ(parts.betweenRulers.front().time, 40000U);
    EXPECT_EQ(parts.betweenRulers.back().time, 50000U);
    EXPECT_EQ(parts.lastMinute.front().time, 140000U);
    EXPECT_EQ(parts.lastMinute.back().time, 190000U);

    EXPECT_TRUE(splitTrack(points, kAll, kAll, -1, -1, 0).betweenRulers.empty());
    EXPECT_EQ(splitTrack(points, kAll, kAll, -1, 3000, 0).betweenRulers.size(), 4U);

    EXPECT_EQ(firstPointAfter(points, 5000)->time, 6000U);
    EXPECT_FALSE(firstPointAfter(points, 200000));
    EXPECT_FALSE(firstPointAfter(points, -1));
}

TEST(TrackGeometryTest, OneScaleForBothAxes) {
    const std::vector<TrackPoint> track = {{0, -1, 2}, {1, 3, 4}};
    const auto plane = PlaneView::fit(PlaneBounds::of(track), 400, 400);
    EXPECT_EQ(plane.scale, 100);  // 4 wide, 2 high: the width rules
    EXPECT_EQ(plane.offsetX, 0);
    EXPECT_EQ(plane.offsetY, 100);
    EXPECT_EQ(plane.toPixel(track[1], {10, 20}).x, 390);
    EXPECT_EQ(plane.toPixel(track[1], {10, 20}).y, 280);

    const std::vector<TrackPoint> spot = {{0, 5, 5}};
    const auto middle = PlaneView::fit(PlaneBounds::of(spot), 400, 300).toPixel(spot[0], {});
    EXPECT_EQ(middle.x, 200);
    EXPECT_EQ(middle.y, 150);
    const std::vector<TrackPoint> line = {{0, 5, 5}, {1, 5, 7}};
    EXPECT_EQ(PlaneView::fit(PlaneBounds::of(line), 400, 300).toPixel(line[1], {}).y, 300);
    EXPECT_EQ(PlaneView::fit(PlaneBounds::of({}), 400, 300).scale, 0);
}

TEST(TrackZoomTest, KeepsTheSpotUnderThePointer) {
    TrackZoom zoom;
    EXPECT_FALSE(zoom.zoomOut()) << "the whole track does not shrink";
    zoom.movePointer(100, 50);
    zoom.zoomIn();
    EXPECT_DOUBLE_EQ(zoom.factor(), 1.2);
    EXPECT_NEAR(zoom.shift().x, 20, 1e-9);
    EXPECT_NEAR(zoom.shift().y, 10, 1e-9);
    zoom.zoomIn();
    EXPECT_NEAR(zoom.shift().x, 44, 1e-9);
    EXPECT_TRUE(zoom.zoomOut());
    EXPECT_NEAR(zoom.shift().x, 20, 1e-9);
    EXPECT_TRUE(zoom.zoomOut());
    EXPECT_EQ(zoom.factor(), 1.0);
    EXPECT_EQ(zoom.shift().x, 0);

    for (int i = 0; i < 1000; ++i)
        zoom.zoomIn();
    EXPECT_LT(zoom.factor(), 1e4);
    const double shift = zoom.shift().x;
    zoom.resetFactor();
    EXPECT_EQ(zoom.factor(), 1.0);
    EXPECT_EQ(zoom.shift().x, shift) << "it stays until the next zoom";
}

}  // namespace
}  // namespace trelis
