#include "analysis/AnalysisRig.h"
#include "analysis/SampleRateDialogue.h"
#include "analysis/StatWindow.h"

namespace trelis::test {
namespace {

class StatWindowTest : public AnalysisTest {};

TEST_F(StatWindowTest, FollowsViewAndRulers) {
    setView(0, 60000);
    StatWindow window(context, speed);
    present(window);
    EXPECT_EQ(window.get_title(), "Speed Statistics");
    EXPECT_EQ(window.text().rows[2].value, "60");
    EXPECT_EQ(window.text().rows[3].value, "-");
    keepBothShots(window, "statistics");

    setRulers(0, 10950);
    EXPECT_EQ(window.text().rows[0].unit, "( 0.000s)");
    EXPECT_EQ(window.text().rows[3].value, "60.000000");
    EXPECT_NE(window.text().rows[5].value, "-");
    setView(0, 30999);
    EXPECT_EQ(window.text().rows[2].value, "30");
    keepBothShots(window, "statistics-rulers");

    EXPECT_EQ(window.text().rows[10].name, "Integral [h]");
    window.setIntegralUnit(IntegralUnit::kSeconds);
    EXPECT_EQ(window.text().rows[10].unit, "km/h·s");
}

TEST_F(StatWindowTest, CopiesWhatItShows) {
    setView(0, 60000);
    setRulers(1000, 2000);
    settings.setDecimalComma(true);
    StatWindow window(context, speed);
    present(window);
    window.copyTable();
    const std::string text = clipboardText();
    EXPECT_EQ(text.find("Name\tValue\tUnit\nWindow\t"), 0U);
    EXPECT_NE(text.find("\nSignal\tSpeed\nLeft ruler time\t"), std::string::npos);
    EXPECT_NE(text.find("\t( 1.000s)\n"), std::string::npos);
    EXPECT_NE(text.find("\nMin value\t" + window.text().rows[6].value + "\tkm/h\n"),
              std::string::npos);
    EXPECT_EQ(text.find("<b>"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 14);
}

TEST_F(StatWindowTest, ShowsDashesForAnEmptySignal) {
    const auto signal = addSignal("Empty", "<&>");
    StatWindow window(context, signal);
    present(window);
    for (std::size_t i = 0; i < 11; ++i)
        EXPECT_EQ(window.text().rows[i].value, "-") << i;
    keepBothShots(window, "statistics-empty");
}

class SampleTableTest : public AnalysisTest {};

TEST_F(SampleTableTest, ScalesShareOneValue) {
    SampleRateDialogue window(store, settings);
    window.show(kBegin + 1000, kBegin);
    ASSERT_TRUE(pump([&] { return window.get_mapped(); }));
    EXPECT_EQ(window.get_title(), "Copy plot to clipboard");
    EXPECT_EQ(window.intervalMs(), 10U);
    window.moveScale(0, 3);
    EXPECT_EQ(window.intervalMs(), 3U);
    EXPECT_EQ(window.scaleValue(1), 10);
    keepBothShots(window, "sample-table");

    window.chooseScale(2);
    EXPECT_EQ(window.intervalMs(), 1000U);
    EXPECT_EQ(window.shownScale(), 2U);
    EXPECT_EQ(window.scaleValue(0), 10);
    window.moveScale(2, 61000);
    EXPECT_EQ(window.intervalMs(), 60000U);
    EXPECT_EQ(window.scaleValue(1), 1000);
    keepBothShots(window, "sample-table-seconds");
    window.chooseScale(1);
    EXPECT_EQ(window.intervalMs(), 1000U);
    window.moveScale(1, 0);
    EXPECT_EQ(window.intervalMs(), 10U);
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
    EXPECT_EQ(MessageLog::instance().pop().level, 0) << "too many rows";
    EXPECT_EQ(clipboardText(), "Time(ms)\tGear ()");
}

}  // namespace
}  // namespace trelis::test
