#include "analysis/AnalysisRig.h"
#include "analysis/SampleRateDialogue.h"
#include "analysis/StatWindow.h"

namespace trelis::test {
namespace {

class StatWindowTest : public AnalysisTest {};

TEST_F(StatWindowTest, FollowsViewRulersAndData) {
    settings.setDecimalComma(true);
    speed->unit = "<&>";
    setView(0, 60000);
    StatWindow window(context, speed);
    present(window);
    EXPECT_EQ(window.get_title(), "Speed Statistics");
    const auto& rows = window.text().rows;
    EXPECT_EQ(rows[2].value, "60");
    EXPECT_EQ(rows[3].value, "-");

    setRulers(0, 10950);
    EXPECT_EQ(rows[0].unit, "( 0.000s)");
    EXPECT_NE(rows[5].value, "-");
    EXPECT_TRUE(findNamed<Gtk::Label>(*window.get_child(), "60,000000")) << "the left value";
    setView(0, 30999);
    EXPECT_EQ(rows[2].value, "30");
    EXPECT_EQ(rows[10].name, "Integral [h]");
    window.setIntegralUnit(IntegralUnit::kSeconds);
    EXPECT_EQ(rows[10].unit, "<&>·s");
    keepBothShots(window, "statistics");

    store.intervalEnd += 60000;
    setView(0, 180000);
    speed->addSample(kBegin + 150000, 1234.5);
    store.dataChanged.emit();
    pumpPending();
    EXPECT_EQ(rows[7].value, "1234,500000");
    window.copyTable();
    EXPECT_EQ(clipboardText(), statisticsTable(window.text(), "Speed"));
}

class SampleTableTest : public AnalysisTest {};

TEST_F(SampleTableTest, ScalesShareOneValue) {
    SampleRateDialogue window(store, settings);
    window.show(kBegin + 1000, kBegin);
    ASSERT_TRUE(pump([&] { return window.get_mapped(); }));
    EXPECT_EQ(window.get_title(), "Copy plot to clipboard");
    EXPECT_EQ(window.intervalMs(), 10U);
    struct Move {
        std::size_t scale;
        double to;
        std::uint64_t intervalMs;
        std::array<double, 3> shown;
    };
    for (const Move& move :
         {Move{0, 3.7, 3, {3, 10, 1000}}, Move{0, 400, 10, {10, 10, 1000}},
          Move{1, 99, 90, {10, 90, 1000}}, Move{1, 0, 10, {10, 10, 1000}},
          Move{1, 5000, 1000, {10, 1000, 1000}}, Move{2, 1999, 1000, {10, 1000, 1000}},
          Move{2, 61000, 60000, {10, 1000, 60000}}}) {
        window.moveScale(move.scale, move.to);
        EXPECT_EQ(window.intervalMs(), move.intervalMs) << move.to;
        for (std::size_t i = 0; i < move.shown.size(); ++i)
            EXPECT_EQ(window.scaleValue(i), move.shown.at(i)) << move.to;
    }
    for (const auto& [scale, intervalMs] : {std::pair{0U, 10U}, {2U, 1000U}, {1U, 1000U}}) {
        window.chooseScale(scale);
        EXPECT_EQ(window.intervalMs(), intervalMs) << "what that scale shows";
        EXPECT_EQ(window.shownScale(), scale);
    }
    keepBothShots(window, "sample-table");
}

TEST_F(SampleTableTest, CopiesTheSelectionAndStaysOpen) {
    const auto gear = addSignal("Gear", "");
    gear->addSample(kBegin, 1);
    gear->addSample(kBegin + 250, 2.5);
    gear->setSelected(true);
    settings.setDecimalComma(true);
    SampleRateDialogue window(store, settings);
    window.show(kBegin + 500, kBegin);
    ASSERT_TRUE(pump([&] { return window.get_mapped(); }));
    window.moveScale(1, 250);
    window.copyTable();
    EXPECT_EQ(clipboardText(), "Time(ms)\tGear ()\n0\t1\n250\t2,5");
    EXPECT_TRUE(window.get_visible());

    window.show(kBegin, kBegin);
    window.copyTable();
    EXPECT_EQ(clipboardText(), "Time(ms)\tGear ()");

    window.show(0, kBegin);
    window.copyTable();
    EXPECT_EQ(takeTexts(), std::vector<std::string>{"The table would be too large, please choose "
                                                    "a longer interval"});
    EXPECT_EQ(clipboardText(), "Time(ms)\tGear ()");
}

}  // namespace
}  // namespace trelis::test
