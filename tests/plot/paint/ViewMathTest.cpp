#include "plot/paint/ViewMath.h"

#include <gtest/gtest.h>

#include "plot/paint/PictureLayout.h"

namespace trelis {

static void PrintTo(TimeSpan span, std::ostream* out) {
    *out << span.start << ".." << span.end;
}

namespace test {
namespace {

constexpr TimeSpan kBounds{1000, 11000};

TEST(ViewMath, ZoomsAndPansWithinTheData) {
    struct Case {
        const char* name;
        TimeSpan found;
        TimeSpan expected;
    };
    const Case cases[] = {
        {"in", zoomAround({2000, 8000}, 0.5, kZoomIn, kBounds), {2500, 7500}},
        {"left edge", zoomAround({2000, 8000}, 0, kZoomIn, kBounds), {2000, 7000}},
        {"right edge", zoomAround({2000, 8000}, 1, kZoomIn, kBounds), {3000, 8000}},
        {"out", zoomAround({2000, 7000}, 0.5, kZoomOut, kBounds), {1500, 7500}},
        {"out of the data", zoomAround({1500, 11000}, 0.5, kZoomOut, kBounds), {1000, 11000}},
        {"1 ms is left", zoomAround({5000, 5001}, 0, kZoomIn, kBounds), {5000, 5001}},
        {"out of 1 ms", zoomAround({5000, 5001}, 0.5, kZoomOut, kBounds), {4999, 5001}},
        {"behind the data", limitView({12000, 13000}, kBounds), {10999, 11000}},
        {"overview", zoomOnto({2000, 8000}, 4000, kZoomIn, kBounds), {1500, 6500}},
        {"overview, length kept", zoomOnto({2000, 8000}, 1200, kZoomIn, kBounds), {1000, 6000}},
        {"overview, length cut", zoomOnto({2000, 8000}, 10000, kZoomIn, kBounds), {7500, 11000}},
        {"overview, all", zoomOnto({1000, 11000}, 6000, kZoomOut, kBounds), kBounds},
        {"earlier", panEarlier({3000, 5000}, kBounds), {2800, 4800}},
        {"earlier, up to the start", panEarlier({1100, 3100}, kBounds), {1000, 3000}},
        {"later", panLater({3000, 5000}, kBounds), {3200, 5200}},
        {"later, up to the end", panLater({8900, 10900}, kBounds), {9000, 11000}},
        {"later by steps", panLater({3000, 5000}, kBounds, 2.5), {3500, 5500}},
    };
    for (const Case& one : cases)
        EXPECT_EQ(one.found, one.expected) << one.name;
    EXPECT_EQ(zoomPosition(0, 800), 0.5) << "the left edge zooms around the middle";
    EXPECT_EQ(zoomPosition(200, 800), 0.25);
}

TEST(ViewMath, MapsTimesAndColumns) {
    constexpr TimeSpan kView{2000, 4000};
    EXPECT_EQ(columnOf(3001, kView, 1000), 500);
    EXPECT_EQ(columnOf(-1, {1700000000000, 1700000001000}, 1000), -4194303);
    EXPECT_EQ(columnOf(1800000000000, kView, 1000), 4194303);
    EXPECT_EQ(columnOf(2000, {2000, 2000}, 1000), 0) << "no division by an empty view";
    EXPECT_EQ(timeOf(500, kView, 1000), 3000U);
    EXPECT_EQ(timeOf(-3, kView, 1000), 2000U);
    EXPECT_EQ(timeOf(0, kView, 0), 2000U);

    const TimeAxis axis{2000, 4000, 1000, 0, 1000};
    EXPECT_EQ(axis.timeToColumn(4000), 1000);
    EXPECT_EQ(axis.timeToColumn(4001), 1001) << "all that is farther out";
    EXPECT_EQ(axis.timeToColumn(0), -1);

    EXPECT_EQ(rowAt(99, 300, 3), 0U);
    EXPECT_EQ(rowAt(100, 300, 3), 1U);
    EXPECT_EQ(rowAt(300, 300, 3), std::nullopt) << "the time strip";
    EXPECT_EQ(rowAt(10, 300, 0), std::nullopt);
}

PictureRequest request(TimeSpan view) {
    return {.view = view, .bounds = kBounds, .width = 800, .height = 416, .strip = 16, .rows = 3};
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
        {{1000, 11000}, kBounds, 0, 800},
        {{0, 0}, kBounds, 0, 800},  // no view: everything
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
    for (const PictureRequest& lacking :
         {PictureRequest{.view = {}, .bounds = kBounds, .width = 800, .height = 416},
          PictureRequest{.view = {}, .bounds = kBounds, .height = 416, .rows = 3},
          PictureRequest{.view = {}, .bounds = {}, .width = 800, .height = 416, .rows = 3}}) {
        EXPECT_FALSE(layoutView(lacking));
        EXPECT_FALSE(layoutOverview(lacking));
    }
    PictureRequest vast = request({4000, 6000});
    vast.width = 20000;
    EXPECT_LE(layoutView(vast)->width, 30000);
}

TEST(PictureLayout, IsStretchedToOtherViews) {
    const auto layout = layoutView(request({4000, 6000}));
    const auto stretch = [&](TimeSpan view, int width) {
        const Stretch found = stretchOf(*layout, view, width);
        return std::pair(found.factor, found.offset);
    };
    EXPECT_EQ(stretch({4000, 6000}, 800), std::pair(1.0, -400.0));
    EXPECT_EQ(stretch({4201, 6201}, 800), std::pair(1.0, -480.0)) << "a mere shift stays crisp";
    EXPECT_EQ(stretch({4500, 5500}, 800), std::pair(2.0, -1200.0));
    EXPECT_EQ(stretch({4000, 6000}, 1000), std::pair(1.25, -500.0));
}

}  // namespace
}  // namespace test
}  // namespace trelis
