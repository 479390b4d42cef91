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
    /// Shows a drive of two minutes, a point a second.
    void showDrive() {
        for (std::uint64_t second = 0; second <= kMinutes * 60; ++second) {
            GPSPoint point;
            const double turn = static_cast<double>(second) * 0.04;
            point.time = kBegin + second * 1000;
            point.x = turn * 0.3 + std::sin(turn);
            point.y = std::cos(turn * 1.3);
            track->points.push_back(point);
            track->lastPointTime = point.time;
        }
        setView(10000, 50000);
        window.showTrack(track);
        present(window);
    }
    /// Pixels of a colour, once all is drawn.
    int count(std::uint32_t colour) {
        settle(window);
        return Picture(window.plot()).count(colour);
    }

    static constexpr std::uint32_t kRed = 0xFF0000;
    static constexpr std::uint32_t kWhite = 0xFFFFFF;
    const std::shared_ptr<VirtualMessage> owner =
        std::make_shared<VirtualMessage>(store, 3, "MsgRate");
    std::shared_ptr<GPSTrack> track;
    GPSPlotWin window{context};
};

TEST_F(GPSPlotTest, DrawsTheTrackAndItsParts) {
    showDrive();
    EXPECT_EQ(window.get_title(), "GPS Plot");
    EXPECT_GT(count(kRed), 100) << "the last minute";
    EXPECT_GT(count(0x808080), 50) << "the view";
    const int white = count(kWhite);
    setRulers(20000, 40000);
    EXPECT_LT(count(kWhite), white) << "rulers draw circles and the part between";
    keepBothShots(window, "gps-rulers");
    setRulers(500000, 500000);
    EXPECT_EQ(count(kWhite), white) << "rulers behind the end draw nothing";
}

TEST_F(GPSPlotTest, ZoomsAroundThePointer) {
    showDrive();
    GPSPlot& plot = window.plot();
    const int before = count(kRed);
    movePointer(plot, 100, 100);
    scroll(plot, GDK_SCROLL_UP, 100, 100);
    scroll(plot, GDK_SCROLL_UP, 100, 100);
    EXPECT_NEAR(plot.zoom().shift().x, 44, 1e-9);
    EXPECT_NE(count(kRed), before);

    plot.grab_focus();
    pressKey(plot, GDK_KEY_Escape);
    EXPECT_EQ(plot.zoom().factor(), 1.0);
    scroll(plot, GDK_SCROLL_UP, 100, 100);
    scroll(plot, GDK_SCROLL_DOWN, 100, 100);
    EXPECT_EQ(count(kRed), before);
}

TEST_F(GPSPlotTest, KeepsItsTrackUntilItIsForgotten) {
    window.showTrack(nullptr);
    EXPECT_FALSE(window.get_visible());
    store.parsing = true;
    window.showTrack(track);
    EXPECT_FALSE(window.get_visible());
    EXPECT_EQ(takeTexts(), std::vector<std::string>{"Wait for parse to complete"});
    store.parsing = false;
    window.showTrack(track);
    present(window);
    EXPECT_EQ(count(kRed), 0) << "a track without points";
    EXPECT_LT(count(kWhite), window.plot().get_width() * window.plot().get_height())
        << "which is told";
    keepBothShots(window, "gps-empty");
    const auto held = track.use_count();
    window.forgetTrack();
    EXPECT_FALSE(window.get_visible());
    EXPECT_EQ(track.use_count(), held - 1);
}

}  // namespace
}  // namespace trelis::test
