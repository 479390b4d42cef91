#include "plot/PlotRig.h"

namespace trelis::test {
namespace {

class FullPlotTest : public PlotRig {
  protected:
    /// Columns between the grid's that the mark darkens.
    int markedColumns() {
        const Picture picture(overview_);
        int marked = 0;
        for (int x = 0; x < picture.width(); ++x)
            marked += (picture.at(x, 110) & 0xFFU) < 0xDFU && x % 20 != 0 ? 1 : 0;
        return marked;
    }
};

TEST_F(FullPlotTest, MarksTheViewWithinTheDataOrTheCrop) {
    present(window_);
    settle();
    EXPECT_EQ(markedColumns(), 0) << "no data, no mark";
    showTwo();
    setView(5000, 7500);
    EXPECT_NEAR(markedColumns(), 200 * 19 / 20, 8);
    setView(5003, 5004);
    EXPECT_NEAR(markedColumns(), 4, 2) << "a very short view is still marked";

    setView(2000, 6000);
    plot_.crop();
    settle();
    EXPECT_NEAR(markedColumns(), kWidth * 19 / 20, 8) << "the view is all there is";
    click(overview_, 1, 0, 100);
    EXPECT_EQ(view(), (Span{2000, 6000}));
    store_.clearInterval();
    settle();
    EXPECT_NEAR(markedColumns(), 320 * 19 / 20, 8);
}

TEST_F(FullPlotTest, CentresAndZoomsTheViewWhereThePointerIs) {
    showTwo();
    setView(1000, 3000);
    pressButton(overview_, 1, 400, 100);
    EXPECT_EQ(view(), (Span{4000, 6000}));
    movePointer(overview_, 480, 100);
    EXPECT_EQ(view(), (Span{5000, 7000}));
    movePointer(overview_, -30, 100);
    EXPECT_EQ(view(), (Span{0, 2000})) << "the width is kept at the edge";
    releaseButton(overview_, 1, 0, 100);
    movePointer(overview_, 480, 100);
    click(overview_, 3, 400, 100);
    EXPECT_EQ(view(), (Span{0, 2000}));
    EXPECT_TRUE(timeBox_.byUser);

    setView(2000, 5000);
    scroll(overview_, GDK_SCROLL_UP, 480, 100);
    EXPECT_EQ(view(), (Span{4750, 7250}));
    scroll(overview_, GDK_SCROLL_DOWN, 480, 100);
    EXPECT_EQ(view(), (Span{4500, 7500}));
    scrollSmooth(overview_, 0, -1, 480, 100);
    EXPECT_EQ(view(), (Span{4750, 7250}));
}

}  // namespace
}  // namespace trelis::test
