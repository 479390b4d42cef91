#include "plot/paint/RulerLayout.h"

#include <gtest/gtest.h>

#include <thread>

#include "plot/paint/PaintModel.h"
#include "plot/paint/RulerValues.h"

namespace trelis::test {
namespace {

RulerColumns columns(std::int64_t left, std::int64_t right) {
    constexpr TimeSpan kView{1000, 2000};
    constexpr int kWidth = 1000;
    return {left, right, columnOf(left, kView, kWidth), columnOf(right, kView, kWidth), kWidth,
            416,  16};
}

RulerRow row(double left, double right) {
    return {.name = "Speed",
            .unit = "km/h",
            .known = true,
            .range = {0, 100},
            .hasSamples = true,
            .left = {left, true, "L"},
            .right = {right, true, "R"}};
}

TEST(RulerLayout, WritesLabelsThatPointAwayFromTheOtherRuler) {
    struct Case {
        std::int64_t left;
        std::int64_t right;
        bool delta;
        Messages expected;  ///< "<" if it points left
    };
    const Case cases[] = {
        {1300, 1600, false, {"<L Speed (km/h)", " R Speed (km/h)"}},
        {1300, 1600, true, {"<L Speed (km/h)", " \u039425.50 Speed (km/h)"}},
        {1600, 1300, false, {" L Speed (km/h)", "<R Speed (km/h)"}},  // crossed
        {1300, -1, true, {" L Speed (km/h)"}},
        {-1, 1600, true, {" R Speed (km/h)"}},
        {2500, 0, false, {}},                    // outside the view
        {2000, -1, false, {" L Speed (km/h)"}},  // on its edge, as after a crop
    };
    const RulerStyle style{400, false, false, 10, 2};
    for (const Case& one : cases) {
        RulerStyle wanted = style;
        wanted.showDelta = one.delta;
        Messages found;
        for (const auto& label :
             layoutRulers(columns(one.left, one.right), {row(10, 35.5)}, wanted).labels)
            found.push_back((label.pointLeft ? "<" : " ") + label.text);
        EXPECT_EQ(found, one.expected);
    }
    RulerRow locked = row(0, 0);
    locked.known = false;
    EXPECT_TRUE(layoutRulers(columns(1300, 1600), {locked}, style).labels.empty());

    RulerRow longName = row(0, 0);
    longName.name = std::string(143, 'n') + "\u00e4\u00e4\u00e4";
    EXPECT_EQ(rulerText("1.0", longName), "1.0 " + std::string(143, 'n') + "\u00e4")
        << "cut at 149 bytes, between characters";
}

TEST(RulerLayout, PlacesValueLabels) {
    struct Case {
        const char* name;
        double value;
        bool hasSamples;
        bool reached;
        int tickY;
        double labelY;
        bool red;
    };
    // A row of 200 px with lines of 2 px; labels move up by 16 px over the range.
    constexpr Case kCases[] = {
        {"top", 100, true, true, 1, 1, false},
        {"middle", 50, true, true, 100, 92, false},
        {"bottom", 0, true, true, 199, 183, false},
        {"above", 130, true, true, 0, 0, true},
        {"below", -30, true, true, 200, 184, true},
        {"before the first sample", -30, true, false, 200, 184, false},
        {"no samples", 130, false, false, 0, 0, false},
    };
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.name);
        RulerRow only = row(one.value, 0);
        only.hasSamples = one.hasSamples;
        only.left.reached = one.reached;
        const RulerMarks marks =
            layoutRulers(columns(1300, -1), {row(0, 0), only}, {200, true, false, 10, 2});
        ASSERT_EQ(marks.labels.size(), 2U);
        EXPECT_EQ(marks.ticks[1].column, 300);
        EXPECT_EQ(marks.ticks[1].y, 200 + one.tickY);
        EXPECT_EQ(marks.labels[1].x, 305);
        EXPECT_DOUBLE_EQ(marks.labels[1].y, 200 + one.labelY);
        EXPECT_EQ(marks.labels[1].red, one.red);
    }
}

TEST(RulerLayout, KeepsLabelsInsideAndApart) {
    const auto place = [](std::vector<RulerLabel>& labels) {
        placeLabels(labels, 1000, 416, [](const std::string&) { return std::pair(80, 16); });
    };
    struct Case {
        const char* name;
        double x, y;
        bool pointLeft;
        double placedX, placedY;
    };
    constexpr Case kCases[] = {
        {"right of its line", 305, 100, false, 304, 100},
        {"left of its line", 605, 100, true, 516, 100},
        {"no room to the right", 950, 100, false, 861, 100},
        {"no room to the left", 45, 200, true, 44, 200},
        {"above the widget", 305, -7, false, 304, 2},
        {"below the widget", 305, 412, false, 304, 400},
        {"over the first, down is nearer", 305, 104, false, 304, 116},
        {"over the first, up is nearer", 305, 95, false, 304, 84},
    };
    std::vector<RulerLabel> labels;
    for (const Case& one : kCases)
        labels.push_back({"", one.pointLeft, false, one.x, one.y});
    place(labels);
    for (std::size_t i = 0; i < labels.size(); ++i) {
        EXPECT_EQ(labels[i].x, kCases[i].placedX) << kCases[i].name;
        EXPECT_EQ(labels[i].y, kCases[i].placedY) << kCases[i].name;
    }

    // A crowd spreads up and down first, then sideways.
    std::vector<RulerLabel> crowd(20, {"", false, false, 305, 100});
    place(crowd);
    for (std::size_t i = 0; i < crowd.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_TRUE(std::abs(crowd[i].x - crowd[k].x) >= crowd[i].width ||
                        std::abs(crowd[i].y - crowd[k].y) >= crowd[i].height)
                << i << " and " << k;
    EXPECT_EQ(crowd[1].x, 304);
    EXPECT_EQ(std::abs(crowd[1].y - 100), 16);
    EXPECT_NE(crowd[3].x, 304);
}

TEST(RulerLayout, FormatsDifferencesOfTime) {
    EXPECT_EQ(formatDelta(-1500, false), " 1.500s");
    EXPECT_EQ(formatDelta(0, false), "-0.000s");
    EXPECT_EQ(formatDelta(-(3600000 + 62003), true), "  0000-00-00 01:01:02.003");
    EXPECT_EQ(formatDelta(86400000LL * 40, true), "- 0000-01-09 00:00:00.000");
}

TEST(RulerValues, ReadWhatHoldsAtTheRulers) {
    PaintModel model;
    const auto signal = model.addSignal();
    for (std::uint64_t time = 1000; time < 3000; time += 2)
        signal->addSample(time, static_cast<double>(time));
    const RulerRow at = readRulerRow(*signal, 2001, 999);
    EXPECT_TRUE(at.known && at.hasSamples && at.left.reached);
    EXPECT_EQ(at.left.text, "2000.00");
    EXPECT_EQ(at.right.value, 0);
    EXPECT_FALSE(at.right.reached);
    EXPECT_EQ(at.range.max, 2998);

    const std::lock_guard lock(*signal->mutex);
    bool known = true;
    std::thread([&] { known = readRulerRow(*signal, 2001, 999).known; }).join();
    EXPECT_FALSE(known) << "the main thread never waits for a writer";
}

}  // namespace
}  // namespace trelis::test
