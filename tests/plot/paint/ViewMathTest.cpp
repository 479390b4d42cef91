#include "plot/paint/ViewMath.h"

#include <gtest/gtest.h>

#include "model/Signal.h"
#include "plot/paint/PaintModel.h"
#include "plot/paint/PictureLayout.h"

namespace trelis {

static void PrintTo(TimeSpan span, std::ostream* out) {
    *out << span.start << ".." << span.end;
}

namespace test {
namespace {

constexpr TimeSpan kBounds{1000, 11000};

TEST(ViewMath, ZoomsAroundAPosition) {
    struct Case {
        TimeSpan view;
        double position;
        double factor;
        TimeSpan expected;
    };
    constexpr Case kCases[] = {
        {{2000, 8000}, 0.5, kZoomIn, {2500, 7500}},
        {{2000, 8000}, 0.0, kZoomIn, {2000, 7000}},
        {{2000, 8000}, 1.0, kZoomIn, {3000, 8000}},
        {{2000, 7000}, 0.5, kZoomOut, {1500, 7500}},
        {{1000, 11000}, 0.5, kZoomOut, {1000, 11000}},
        {{1500, 11000}, 0.5, kZoomOut, {1000, 11000}},
        {{5000, 5001}, 0.0, kZoomIn, {5000, 5001}},      // start equals end: 1 ms is left
        {{10999, 11000}, 1.0, kZoomIn, {10999, 11000}},  // also at the end of the data
        {{5000, 5001}, 0.5, kZoomOut, {4999, 5001}},
    };
    for (const Case& one : kCases)
        EXPECT_EQ(zoomAround(one.view, one.position, one.factor, kBounds), one.expected)
            << one.view.start << " " << one.position << " " << one.factor;
    // The left edge of the widget zooms around the middle.
    EXPECT_EQ(zoomPosition(0, 800), 0.5);
    EXPECT_EQ(zoomPosition(200, 800), 0.25);
}

TEST(ViewMath, ZoomsTheOverviewOntoATime) {
    EXPECT_EQ(zoomOnto({2000, 8000}, 4000, kZoomIn, kBounds), (TimeSpan{1500, 6500}));
    // Near the start of the data the length is kept, at its end it is cut.
    EXPECT_EQ(zoomOnto({2000, 8000}, 1200, kZoomIn, kBounds), (TimeSpan{1000, 6000}));
    EXPECT_EQ(zoomOnto({2000, 8000}, 10000, kZoomIn, kBounds), (TimeSpan{7500, 11000}));
    EXPECT_EQ(zoomOnto({1000, 11000}, 6000, kZoomOut, kBounds), kBounds);
}

TEST(ViewMath, PansWithinTheData) {
    EXPECT_EQ(panEarlier({3000, 5000}, kBounds), (TimeSpan{2800, 4800}));
    EXPECT_EQ(panEarlier({1100, 3100}, kBounds), (TimeSpan{1000, 3000}));
    EXPECT_EQ(panEarlier({1000, 3000}, kBounds), (TimeSpan{1000, 3000})) << "not shrunk";
    EXPECT_EQ(panLater({3000, 5000}, kBounds), (TimeSpan{3200, 5200}));
    EXPECT_EQ(panLater({8900, 10900}, kBounds), (TimeSpan{9000, 11000}));
    EXPECT_EQ(panLater({3000, 5000}, kBounds, 2.5), (TimeSpan{3500, 5500}));
}

TEST(ViewMath, MapsTimesAndColumns) {
    constexpr TimeSpan kView{2000, 4000};
    EXPECT_EQ(columnOf(2000, kView, 1000), 0);
    EXPECT_EQ(columnOf(3001, kView, 1000), 500);
    EXPECT_EQ(columnOf(-1, kView, 1000), -1000);
    EXPECT_EQ(columnOf(-1, {1700000000000, 1700000001000}, 1000), -4194303);
    EXPECT_EQ(columnOf(1800000000000, kView, 1000), 4194303);
    EXPECT_EQ(columnOf(2000, {2000, 2000}, 1000), 0) << "no division by an empty view";
    EXPECT_EQ(timeOf(500, kView, 1000), 3000U);
    EXPECT_EQ(timeOf(-3, kView, 1000), 2000U);
    EXPECT_EQ(timeOf(0, kView, 0), 2000U);

    EXPECT_EQ(rowAt(99, 300, 3), 0U);
    EXPECT_EQ(rowAt(100, 300, 3), 1U);
    EXPECT_EQ(rowAt(300, 300, 3), std::nullopt) << "the time strip";
    EXPECT_EQ(rowAt(10, 300, 0), std::nullopt);
}

TEST(ViewMath, PlacesValuesAsTheSignalDoes) {
    PaintModel model;
    const auto signal = model.addSignal("Signal");
    signal->addSample(0, -3);
    signal->addSample(10, 8);
    for (const double lineWidth : {1.0, 2.0, 2.5, 3.0}) {
        model.store.lineWidth = lineWidth;
        for (const double value : {-100.0, -3.0, 0.1, 8.0, 30.0})
            EXPECT_EQ(rowOf(value, {-3, 8}, 117, lineWidth), signal->yPosition(value, 117))
                << value << " with " << lineWidth;
    }
    EXPECT_EQ(rowOf(8, {-3, 8}, 100, 2), 1) << "half a line is kept free";
    EXPECT_EQ(rowOf(-3, {-3, 8}, 100, 2), 99);
    EXPECT_EQ(rowOf(5, {5, 5}, 100, 2), 1);
}

PictureRequest request(TimeSpan view) {
    PictureRequest wanted;
    wanted.view = view;
    wanted.bounds = kBounds;
    wanted.width = 800;
    wanted.height = 416;
    wanted.strip = 16;
    wanted.rows = 3;
    return wanted;
}

TEST(PictureLayout, ReachesHalfAViewBeyondTheView) {
    struct Case {
        TimeSpan view;
        TimeSpan drawn;
        int marginLeft;
        int width;
    };
    constexpr Case kCases[] = {
        {{4000, 6000}, {3000, 7000}, 400, 1600},  // room on both sides
        {{1500, 3500}, {1000, 4500}, 200, 1400},  // the data starts within the margin
        {{1000, 11000}, {1000, 11000}, 0, 800},
        {{0, 0}, {1000, 11000}, 0, 800},  // no view: everything
        {{9000, 11000}, {8000, 11000}, 400, 1200},
    };
    for (const Case& one : kCases) {
        const auto layout = layoutView(request(one.view));
        ASSERT_TRUE(layout);
        EXPECT_EQ(layout->drawn, one.drawn);
        EXPECT_EQ(layout->marginLeft, one.marginLeft) << one.view.start;
        EXPECT_EQ(layout->width, one.width) << one.view.start;
        // The view's columns are those that the rulers use.
        EXPECT_EQ(layout->axis().timeToColumn(layout->view.start), one.marginLeft);
        EXPECT_LE(layout->axis().timeToColumn(layout->drawn.end), one.width);
        EXPECT_GE(layout->axis().timeToColumn(layout->drawn.start), 0);
    }
}

TEST(PictureLayout, SharesTheHeightAndFollowsTheScale) {
    PictureRequest wanted = request({4000, 6000});
    EXPECT_EQ(layoutView(wanted)->rowHeight, 400);
    wanted.split = true;
    EXPECT_EQ(layoutView(wanted)->rowHeight, 133);
    wanted.scale = 2;
    const auto doubled = layoutView(wanted);
    EXPECT_EQ(doubled->rowHeight, 266);
    EXPECT_EQ(doubled->viewWidth, 1600);
    EXPECT_EQ(doubled->lineWidth, 4);

    const auto overview = layoutOverview(wanted);
    EXPECT_EQ(overview->drawn, kBounds);
    EXPECT_EQ(overview->detail, 2) << "split rows are drawn at double size";
    EXPECT_EQ(overview->axis().width, 3200);
}

TEST(PictureLayout, NeedsDataSignalsAndRoom) {
    auto none = request({4000, 6000});
    none.rows = 0;
    EXPECT_FALSE(layoutView(none));
    EXPECT_FALSE(layoutOverview(none));
    auto flat = request({4000, 6000});
    flat.width = 0;
    EXPECT_FALSE(layoutView(flat));
    auto empty = request({0, 0});
    empty.bounds = {};
    EXPECT_FALSE(layoutView(empty));
    auto vast = request({4000, 6000});
    vast.width = 20000;
    EXPECT_LE(layoutView(vast)->width, 30000);
}

TEST(PictureLayout, IsStretchedToOtherViews) {
    const auto layout = layoutView(request({4000, 6000}));
    const Stretch same = stretchOf(*layout, {4000, 6000}, 800);
    EXPECT_TRUE(same.isCopy());
    EXPECT_EQ(same.offset, -400);
    const Stretch panned = stretchOf(*layout, {4201, 6201}, 800);
    EXPECT_TRUE(panned.isCopy()) << "a mere shift stays crisp";
    EXPECT_EQ(panned.offset, -480);
    const Stretch zoomed = stretchOf(*layout, {4500, 5500}, 800);
    EXPECT_EQ(zoomed.factor, 2);
    EXPECT_EQ(zoomed.offset, -1200);
    const Stretch wider = stretchOf(*layout, {4000, 6000}, 1000);
    EXPECT_EQ(wider.factor, 1.25);
}

}  // namespace
}  // namespace test
}  // namespace trelis
