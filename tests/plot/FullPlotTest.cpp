#include "plot/FullPlot.h"

#include "plot/PlotRig.h"

namespace trelis::test {
namespace {

using Span = std::pair<std::uint64_t, std::uint64_t>;

class FullPlotTest : public PlotRig {
  protected:
    /// Columns at half height that the mark darkens.
    int markedColumns() {
        const Picture picture(overview_);
        const std::uint32_t background = 0xEFEFEF;
        int marked = 0;
        for (int x = 0; x < picture.width(); ++x) {
            const std::uint32_t pixel = picture.at(x, 110);  // between grid lines
            marked += (pixel & 0xFFU) < (background & 0xFFU) - 0x10U && x % 20 != 0 ? 1 : 0;
        }
        return marked;
    }
};

TEST_F(FullPlotTest, ShowsTheWholeSpanAndMarksTheView) {
    present(window_);
    settle();
    EXPECT_EQ(markedColumns(), 0) << "no data, no mark";
    showTwo();
    EXPECT_EQ(view(), (Span{0, 10000}));
    EXPECT_EQ(overview_.get_allocated_height(), 200);
    const Picture all(overview_);
    EXPECT_GT(all.count(all.at(40, 98)), 0);

    timeBox_.setInterval(kStart + 5000, kStart + 7500, false);
    settle();
    keepShot(overview_, "overview-mark");
    EXPECT_NEAR(markedColumns(), 200 * 19 / 20, 8);
    timeBox_.setInterval(kStart + 5003, kStart + 5004, false);
    settle();
    EXPECT_GE(markedColumns(), 2) << "a very short view is still marked";
    EXPECT_LE(markedColumns(), 6);
}

TEST_F(FullPlotTest, CentresTheViewWhereItIsClicked) {
    showTwo();
    timeBox_.setInterval(kStart + 1000, kStart + 3000, false);
    settle();
    pressButton(overview_, 1, 400, 100);
    EXPECT_EQ(view(), (Span{4000, 6000}));
    movePointer(overview_, 480, 100);
    EXPECT_EQ(view(), (Span{5000, 7000}));
    movePointer(overview_, -30, 100);
    EXPECT_EQ(view(), (Span{0, 2000})) << "the width is kept at the edge";
    releaseButton(overview_, 1, 0, 100);
    movePointer(overview_, 480, 100);
    EXPECT_EQ(view(), (Span{0, 2000}));
    click(overview_, 3, 400, 100);
    EXPECT_EQ(view(), (Span{0, 2000}));
    EXPECT_TRUE(timeBox_.byUser);
}

TEST_F(FullPlotTest, ZoomsOntoThePointer) {
    showTwo();
    timeBox_.setInterval(kStart + 2000, kStart + 5000, false);
    settle();
    scroll(overview_, GDK_SCROLL_UP, 480, 100);
    EXPECT_EQ(view(), (Span{4750, 7250}));
    scroll(overview_, GDK_SCROLL_DOWN, 480, 100);
    EXPECT_EQ(view(), (Span{4500, 7500}));
    scrollSmooth(overview_, 0, -1, 480, 100);
    EXPECT_EQ(view(), (Span{4750, 7250}));
}

TEST_F(FullPlotTest, ShowsOnlyTheCrop) {
    showTwo();
    timeBox_.setInterval(kStart + 2000, kStart + 6000, false);
    plot_.crop();
    settle();
    EXPECT_NEAR(markedColumns(), kWidth * 19 / 20, 8) << "the view is all there is";
    click(overview_, 1, 0, 100);
    EXPECT_EQ(view(), (Span{2000, 6000}));
    store_.clearInterval();
    settle();
    EXPECT_NEAR(markedColumns(), 320 * 19 / 20, 8);
    keepShot(overview_, "overview-uncropped");
}

}  // namespace
}  // namespace trelis::test
