#include "plot/paint/RulerLayout.h"

#include <gtest/gtest.h>

#include "plot/paint/PaintModel.h"
#include "plot/paint/RulerValues.h"

namespace trelis::test {
namespace {

/// Labels of 8 x 16 px a character.
std::pair<int, int> measure(const std::string& text) {
    return {static_cast<int>(text.size()) * 8, 16};
}

RulerColumns columns(std::int64_t left, std::int64_t right) {
    constexpr TimeSpan kView{1000, 2000};
    RulerColumns at;
    at.leftTime = left;
    at.rightTime = right;
    at.width = 1000;
    at.height = 416;
    at.timeStrip = 16;
    at.left = columnOf(left, kView, at.width);
    at.right = columnOf(right, kView, at.width);
    return at;
}

RulerRow row(double left, double right) {
    RulerRow one;
    one.known = true;
    one.name = "Speed";
    one.unit = "km/h";
    one.range = {0, 100};
    one.hasSamples = true;
    one.left = {left, true, "L"};
    one.right = {right, true, "R"};
    return one;
}

TEST(RulerLayout, PointsLabelsAwayFromTheOtherRuler) {
    struct Case {
        std::int64_t left;
        std::int64_t right;
        bool leftPointsLeft;
        bool rightPointsLeft;
    };
    constexpr Case kCases[] = {
        {1300, 1600, true, false},
        {1600, 1300, false, true},  // crossed
        {1300, -1, false, false},
        {-1, 1300, true, false},  // the left one is not shown
    };
    for (const Case& one : kCases) {
        const RulerColumns at = columns(one.left, one.right);
        EXPECT_EQ(at.leftPointsLeft(), one.leftPointsLeft) << one.left << " " << one.right;
        EXPECT_EQ(at.rightPointsLeft(), one.rightPointsLeft) << one.left << " " << one.right;
    }
    EXPECT_FALSE(columns(2500, -1).showsLeft()) << "outside the view";
    EXPECT_TRUE(columns(-1, 2000).showsRight()) << "on the edge, as after a crop";
    EXPECT_FALSE(columns(0, -1).showsLeft());
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
        RulerRow only = row(one.value, 0);
        only.hasSamples = one.hasSamples;
        only.left.reached = one.reached;
        const RulerMarks marks =
            layoutRulers(columns(1300, -1), {row(0, 0), only}, {200, true, false, 10, 2});
        ASSERT_EQ(marks.labels.size(), 2U);
        EXPECT_EQ(marks.ticks[1].column, 300);
        EXPECT_EQ(marks.ticks[1].y, 200 + one.tickY) << one.name;
        EXPECT_EQ(marks.labels[1].x, 305);
        EXPECT_DOUBLE_EQ(marks.labels[1].y, 200 + one.labelY) << one.name;
        EXPECT_EQ(marks.labels[1].red, one.red) << one.name;
    }
}

TEST(RulerLayout, WritesValuesAndDifferences) {
    const auto texts = [](bool delta, std::int64_t left) {
        std::vector<std::string> found;
        for (const auto& label :
             layoutRulers(columns(left, 1600), {row(10, 35.5)}, {400, false, delta, 10, 2}).labels)
            found.push_back(label.text);
        return found;
    };
    using Texts = std::vector<std::string>;
    EXPECT_EQ(texts(false, 1300), (Texts{"L Speed (km/h)", "R Speed (km/h)"}));
    EXPECT_EQ(texts(true, 1300), (Texts{"L Speed (km/h)", "\u039425.50 Speed (km/h)"}));
    EXPECT_EQ(texts(true, -1), (Texts{"R Speed (km/h)"}));

    RulerRow longName = row(0, 0);
    longName.name = std::string(143, 'n') + "\u00e4\u00e4\u00e4";
    EXPECT_EQ(rulerText("1.0", longName), "1.0 " + std::string(143, 'n') + "\u00e4")
        << "cut at 149 bytes, between characters";

    RulerRow locked = row(0, 0);
    locked.known = false;
    EXPECT_TRUE(
        layoutRulers(columns(1300, 1600), {locked}, {400, false, false, 10, 2}).labels.empty());
}

RulerLabel labelAt(double x, double y, bool pointLeft = false) {
    RulerLabel label;
    label.text = "0123456789";
    label.x = x;
    label.y = y;
    label.pointLeft = pointLeft;
    return label;
}

TEST(RulerLayout, KeepsLabelsInsideAndApart) {
    std::vector<RulerLabel> labels = {
        labelAt(305, 100),        // right of its line
        labelAt(605, 100, true),  // left of its line
        labelAt(950, 100),        // no room to the right
        labelAt(45, 200, true),   // no room to the left
        labelAt(305, -7),         // above the widget
        labelAt(305, 412),        // below it
        labelAt(305, 104),        // covers the first one
        labelAt(305, 95),         // and this one, too
    };
    placeLabels(labels, 1000, 416, measure);
    EXPECT_EQ(labels[0].x, 304);
    EXPECT_EQ(labels[0].width, 82);
    EXPECT_EQ(labels[1].x, 604 - 88);
    EXPECT_EQ(labels[2].x, 949 - 88);
    EXPECT_EQ(labels[3].x, 44);
    EXPECT_EQ(labels[4].y, 2);
    EXPECT_EQ(labels[5].y, 400);
    EXPECT_EQ(labels[0].y, 100);
    EXPECT_EQ(labels[6].y, 116) << "moved down, which was nearer";
    EXPECT_EQ(labels[7].y, 84) << "moved up";
    for (const RulerLabel& label : labels) {
        EXPECT_GE(label.y, 0);
        EXPECT_LE(label.y + label.height, 416);
    }

    // A crowd spreads up and down first, then sideways.
    std::vector<RulerLabel> crowd(20, labelAt(305, 100));
    placeLabels(crowd, 1000, 416, measure);
    for (std::size_t i = 0; i < crowd.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            const bool apart = std::abs(crowd[i].x - crowd[k].x) >= crowd[i].width ||
                               std::abs(crowd[i].y - crowd[k].y) >= crowd[i].height;
            EXPECT_TRUE(apart) << i << " and " << k;
        }
    }
    EXPECT_EQ(crowd[1].x, 304);
    EXPECT_EQ(std::abs(crowd[1].y - 100), 16);
    EXPECT_NE(crowd[3].x, 304);
}

TEST(RulerLayout, FormatsDifferencesOfTime) {
    EXPECT_EQ(formatDelta(-1500, false), " 1.500s");
    EXPECT_EQ(formatDelta(1500, false), "-1.500s");
    EXPECT_EQ(formatDelta(0, false), "-0.000s");
    EXPECT_EQ(formatDelta(-(3600000 + 62003), true), "  0000-00-00 01:01:02.003");
    EXPECT_EQ(formatDelta(86400000LL * 40, true), "- 0000-01-09 00:00:00.000");
}

TEST(RulerValues, ReadWhatHoldsAtTheRulers) {
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    signal->unit = "V";
    for (std::uint64_t time = 1000; time < 3000; time += 2)
        signal->addSample(time, static_cast<double>(time));
    const RulerRow at = readRulerRow(*signal, 2001, 999);
    EXPECT_TRUE(at.known);
    EXPECT_TRUE(at.hasSamples);
    EXPECT_EQ(at.left.text, "2000.00");
    EXPECT_TRUE(at.left.reached);
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
