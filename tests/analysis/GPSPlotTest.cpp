#include <cmath>

#include "analysis/AnalysisRig.h"
#include "analysis/GPSPlotWin.h"
#include "model/builtin/LoggerMessage.h"
#include "virtual/GPSTrack.h"
#include "virtual/VirtualMessage.h"

namespace trelis::test {
namespace {

class GPSPlotTest : public AnalysisTest {
  protected:
    GPSPlotTest() {
        addLoggerInterface(store);
        settings.setBgColor("#ffffffffffff");
        track = GPSTrack::create(owner);
    }
    ~GPSPlotTest() override {  // the parts of a model hold each other until it is cleared
        track.reset();
        owner->clearMessage();
        store.clearAll();
    }
    /// A drive of two minutes, a point a second.
    void drive() {
        for (std::uint64_t second = 0; second <= kMinutes * 60; ++second) {
            GPSPoint point;
            const double turn = static_cast<double>(second) * 0.04;
            point.time = kBegin + second * 1000;
            point.x = turn * 0.3 + std::sin(turn);
            point.y = std::cos(turn * 1.3);
            track->points.push_back(point);
            track->lastPointTime = point.time;
        }
    }

    static constexpr std::uint32_t kRed = 0xFF0000;
    const std::shared_ptr<VirtualMessage> owner =
        std::make_shared<VirtualMessage>(store, 3, "MsgRate");
    std::shared_ptr<GPSTrack> track;
};

TEST_F(GPSPlotTest, DrawsTheTrackAndItsParts) {
    ASSERT_TRUE(track);
    drive();
    setView(10000, 50000);
    GPSPlotWin window(context);
    window.showTrack(track);
    present(window);
    settle(window);
    EXPECT_EQ(window.get_title(), "GPS Plot");
    const Picture whole(window.plot());
    EXPECT_GT(whole.count(kRed), 100) << "the last minute";
    EXPECT_GT(whole.count(0x808080), 50) << "the view";
    EXPECT_EQ(whole.count(0xC88CC0), 0);
    keepBothShots(window, "gps");

    setRulers(20000, 40000);
    settle(window);
    const int white = Picture(window.plot()).count(0xFFFFFF);
    EXPECT_LT(white, whole.count(0xFFFFFF)) << "rulers draw circles and the part between";
    keepBothShots(window, "gps-rulers");
    setRulers(500000, 500000);
    settle(window);
    EXPECT_EQ(Picture(window.plot()).count(0xFFFFFF), whole.count(0xFFFFFF))
        << "rulers behind the end draw nothing";
}

TEST_F(GPSPlotTest, ZoomsAroundThePointer) {
    ASSERT_TRUE(track);
    drive();
    setView(0, 120000);
    GPSPlotWin window(context);
    window.showTrack(track);
    present(window);
    GPSPlot& plot = window.plot();
    const auto picture = [&] {
        settle(window);
        return Picture(plot).count(kRed);
    };
    const int before = picture();
    movePointer(plot, 100, 100);
    scroll(plot, GDK_SCROLL_UP, 100, 100);
    scroll(plot, GDK_SCROLL_UP, 100, 100);
    EXPECT_NEAR(plot.zoom().shift().x, 44, 1e-9);
    EXPECT_NE(picture(), before);
    keepBothShots(window, "gps-zoomed");

    plot.grab_focus();
    pressKey(plot, GDK_KEY_Escape);
    EXPECT_EQ(plot.zoom().factor(), 1.0);
    scroll(plot, GDK_SCROLL_UP, 100, 100);
    scroll(plot, GDK_SCROLL_DOWN, 100, 100);
    EXPECT_EQ(picture(), before);
}

TEST_F(GPSPlotTest, KeepsItsTrackUntilItIsForgotten) {
    ASSERT_TRUE(track);
    GPSPlotWin window(context);
    window.showTrack(nullptr);
    EXPECT_FALSE(window.get_visible());
    store.parsing = true;
    window.showTrack(track);
    EXPECT_FALSE(window.get_visible());
    EXPECT_EQ(MessageLog::instance().pop().text, "Wait for parse to complete");
    store.parsing = false;
    window.showTrack(track);
    present(window);
    settle(window);
    const Picture empty(window.plot());
    EXPECT_EQ(empty.count(kRed), 0) << "a track without points";
    EXPECT_LT(empty.count(0xFFFFFF), empty.width() * empty.height()) << "which is told";
    keepBothShots(window, "gps-empty");
    const auto held = track.use_count();
    window.forgetTrack();
    EXPECT_FALSE(window.get_visible());
    EXPECT_EQ(track.use_count(), held - 1);
}

}  // namespace
}  // namespace trelis::test
