#include "analysis/AnalysisRig.h"
#include "analysis/HistWindow.h"
#include "analysis/OpenWindows.h"

namespace trelis::test {
namespace {

class HistogramTest : public AnalysisTest {};

TEST_F(HistogramTest, CountsTheViewThenTheRulers) {
    setView(0, 60000);
    HistWindow window(context, speed);
    present(window);
    EXPECT_EQ(window.get_title(), "Speed");
    const auto& counts = window.histogram().counts();
    EXPECT_EQ(counts.totalTime, 60000U);
    setView(0, 30000);
    EXPECT_EQ(counts.totalTime, 30000U);
    setRulers(20000, 10000);
    EXPECT_EQ(counts.totalTime, 20000U) << "from the first sample of the signal to the later ruler";
    setRulers(20000, -1);
    EXPECT_EQ(counts.totalTime, 30000U);

    const auto& bins = window.binAdjustment();
    bins->set_value(1000);
    EXPECT_EQ(counts.bins.size(), 100U);
    bins->set_value(0);
    EXPECT_EQ(counts.bins.size(), 2U);
    settings.setDecimalComma(true);
    window.copyTable();
    EXPECT_EQ(clipboardText(), histogramTable(counts, "km/h", true));
}

TEST_F(HistogramTest, BarsStandWhereTheLayoutSaysAndZoomGrowsThem) {
    speed->color = "#ffff00000000";
    settings.setBgColor("#ffffffffffff");
    setView(0, 120000);
    HistWindow window(context, speed);
    present(window);
    Histogram& histogram = window.histogram();
    const auto red = [&] { return Picture(histogram).count(0xFF3333); };  // over white, alpha 0.8
    const int before = red();
    EXPECT_GT(before, 100);

    scroll(histogram, GDK_SCROLL_DOWN, 50, 50);
    EXPECT_EQ(red(), before) << "the lowest zoom stays";
    scroll(histogram, GDK_SCROLL_UP, 50, 50);
    EXPECT_GT(red(), before);
    scrollSmooth(histogram, 0, 1, 50, 50);
    EXPECT_EQ(red(), before);

    EXPECT_EQ(Picture(histogram).count(0x000000), 0);
    movePointer(histogram, histogram.get_allocated_width() / 2.0, 50);
    EXPECT_GT(Picture(histogram).count(0x000000), 0) << "the tick under the pointer";
    keepBothShots(window, "histogram-pointer");
}

TEST_F(HistogramTest, AnEmptySignalShowsAnAxisUntilDataCome) {
    setView(0, 120000);
    const auto signal = addSignal("Late", "");
    HistWindow window(context, signal);
    present(window);
    movePointer(window.histogram(), 100, 100);
    keepBothShots(window, "histogram-empty");
    const int middle = window.histogram().get_allocated_height() / 2;
    const auto isBlank = [&](std::uint32_t ground) {
        const Picture picture(window.histogram());
        return picture.countInRow(middle, ground) == picture.width();
    };
    EXPECT_FALSE(isBlank(0xEFEFEF)) << "it says that there is nothing";
    settings.setBgColor("#000000000000");
    EXPECT_FALSE(isBlank(0x000000)) << "on a dark ground, too";
    signal->addSample(kBegin, 1);
    signal->addSample(kBegin + 500, 2);
    store.dataChanged.emit();
    pumpPending();
    EXPECT_EQ(window.histogram().counts().totalTime, 500U);
}

TEST_F(HistogramTest, OneWindowASignal) {
    OpenWindows<HistWindow> windows(
        [&](const auto& signal) { return std::make_unique<HistWindow>(context, signal); });
    const auto other = addSignal("Other", "");
    const auto held = speed.use_count();
    windows.show(speed);
    HistWindow* const first = windows.find(speed);
    windows.show(other);
    windows.show(speed);
    EXPECT_EQ(windows.size(), 2U);
    EXPECT_EQ(windows.find(speed), first);
    first->close();
    ASSERT_TRUE(pump([&] { return windows.size() == 1; }));
    windows.show(speed);
    windows.closeAll();
    EXPECT_EQ(windows.size(), 0U);
    EXPECT_EQ(speed.use_count(), held) << "the windows let go of the signal";
}

}  // namespace
}  // namespace trelis::test
