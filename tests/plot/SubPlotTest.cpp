#include "plot/SubPlot.h"

#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>
#include <pangomm/layout.h>

#include <cmath>

#include "app/diagnostics/MessageLog.h"
#include "plot/PlotRig.h"
#include "plot/WindowRig.h"

namespace trelis::test {
namespace {

using Span = std::pair<std::uint64_t, std::uint64_t>;
using Texts = std::vector<std::string>;

constexpr std::uint32_t kRed = 0xFF0000;
constexpr std::uint32_t kBlue = 0x0000FF;

class SubPlotTest : public PlotRig {
  protected:
    static std::string popMessage() {
        return MessageLog::instance().isEmpty() ? "" : MessageLog::instance().pop().text;
    }
    /// Whether every dark pixel of a text set in the labels' font is dark in the picture. Labels
    /// do not leave the widget at the bottom.
    bool showsText(const Picture& picture, const std::string& text, int x, int y) {
        const auto layout = plot_.create_pango_layout(text);
        Pango::FontDescription font("10");
        font.set_family("Monospace");
        font.set_weight(static_cast<Pango::Weight>(1000));
        layout->set_font_description(font);
        int width = 0;
        int height = 0;
        layout->get_pixel_size(width, height);
        y = std::min(y, picture.height() - height);
        const auto surface = Cairo::ImageSurface::create(Cairo::FORMAT_RGB24, width, height);
        const auto cr = Cairo::Context::create(surface);
        cr->set_source_rgb(1, 1, 1);
        cr->paint();
        cr->set_source_rgb(0, 0, 0);
        layout->show_in_cairo_context(cr);
        surface->flush();
        int dark = 0;
        int missing = 0;
        for (int row = 0; row < height; ++row) {
            const auto* pixels = reinterpret_cast<const std::uint32_t*>(
                surface->get_data() + row * surface->get_stride());
            for (int column = 0; column < width; ++column) {
                if ((pixels[column] & 0xFFU) > 0x20) continue;
                ++dark;
                if ((picture.at(x + column, y + row) & 0xFFU) > 0x40) ++missing;
            }
        }
        return dark > 50 && missing == 0;
    }
};

TEST_F(SubPlotTest, ShowsOnlyTheGridWithoutSignals) {
    present(window_);
    settle();
    const Picture picture(plot_);
    const std::uint32_t background = picture.at(50, 50);
    EXPECT_EQ(background, 0xEFEFEFU);
    EXPECT_NE(picture.at(100, 50), background);
    EXPECT_NE(picture.at(50, 300), background);
    EXPECT_EQ(picture.countInRow(50, background), picture.width() - (picture.width() - 1) / 100);
    keepShot(plot_, "subplot-empty");
}

TEST_F(SubPlotTest, DrawsStepsAsAStaircase) {
    settings_.setSplitView(false);
    const auto signal = addSignal("Step", "#ffff00000000");
    for (std::uint64_t time = 0; time <= 8000; time += 100)
        signal->addSample(kStart + time, time < 4000 ? 0.0 : 1.0);
    signal->flushSamples();
    present(window_);
    tellData(kStart + 8000);
    settle();
    const Picture picture(plot_);
    ASSERT_EQ(picture.width(), kWidth);
    const int half = kWidth / 2;
    // Two pixels wide lines: low, up in the middle, high. Nothing lies between.
    EXPECT_EQ(picture.countInColumn(half / 2, kRed), 2);
    EXPECT_EQ(picture.at(half / 2, kHeight - 16 - 2), kRed);
    EXPECT_EQ(picture.countInColumn(half + half / 2, kRed), 2);
    EXPECT_EQ(picture.at(half + half / 2, 1), kRed);
    EXPECT_GT(picture.countInColumn(half, kRed), kHeight - 16 - 8);
    EXPECT_EQ(picture.countInRow(200, kRed), 2);
    keepShot(plot_, "subplot-step");
}

TEST_F(SubPlotTest, BreaksTheLineAtAGapAndKeepsASpike) {
    settings_.setSplitView(true);
    const auto broken = addSignal("Broken", "#ffff00000000");
    const auto joined = addSignal("Joined", "#00000000ffff");
    for (const auto& [signal, silence] : {std::pair{broken, 10001U}, std::pair{joined, 10000U}}) {
        signal->addSample(kStart, 0);
        signal->addSample(kStart + 5000, 1);
        signal->addSample(kStart + 5000 + silence, 0);
        signal->addSample(kStart + 20001, 1);
    }
    const auto spike = addSignal("Spike", "#00008000ffff");
    for (std::uint64_t i = 0; i < 20000; ++i)
        for (const std::uint64_t part : {0U, 1U})
            spike->addSample(kStart + i, i == 7777 && part == 1 ? 50.0 : 0.0);
    present(window_);
    tellData(kStart + 20001);
    settle();
    const Picture picture(plot_);
    const int column = 400;  // 10 s, in the silence
    EXPECT_EQ(picture.countInColumn(column, kRed), 0);
    EXPECT_EQ(picture.countInColumn(column, kBlue), 2);
    const int spikeRow = 2 * (400 / 3) + 30;
    EXPECT_EQ(picture.countInRow(spikeRow, 0x0080FF), 2);
    keepShot(plot_, "subplot-gap-spike");
}

TEST_F(SubPlotTest, MovesRulersWithTheButtons) {
    showTwo();
    host_.rulers.clear();
    int told = 0;
    store_.rulersChanged.connect([&] { ++told; });
    pressButton(plot_, 1, 200, 50);
    EXPECT_EQ(store_.leftRuler, static_cast<std::int64_t>(kStart + 2500));
    movePointer(plot_, 240, 50);
    releaseButton(plot_, 1, 240, 50);
    movePointer(plot_, 300, 50);
    EXPECT_EQ(store_.leftRuler, static_cast<std::int64_t>(kStart + 3000));
    EXPECT_TRUE(plot_.has_focus()) << "keys work when the pointer was over the plot";
    click(plot_, 3, 400, 50);
    EXPECT_EQ(store_.rightRuler, static_cast<std::int64_t>(kStart + 5000));
    EXPECT_EQ(host_.rulers, (Texts{"1002500 -1", "1003000 -1", "1003000 1005000"}));
    pumpPending();
    EXPECT_GE(told, 1);

    Picture picture(plot_);
    const std::uint32_t background = picture.at(50, 350);
    EXPECT_NE(picture.at(240, 350), background);
    EXPECT_NE(picture.at(400, 350), background);
    keepShot(plot_, "subplot-rulers");

    pressKey(plot_, GDK_KEY_Escape);
    EXPECT_EQ(store_.leftRuler, -1);
    EXPECT_EQ(store_.rightRuler, -1);
    EXPECT_EQ(host_.rulers.back(), "-1 -1");
    plot_.takeRulers(kStart, kStart + 1);
    EXPECT_EQ(host_.rulers.size(), 4U) << "rulers of a linked program are not sent back";
}

TEST_F(SubPlotTest, LabelsShowPrintedValuesAndTimes) {
    showTwo();
    upper_->valueLabels[3] = "Third";
    settings_.setPrettyTime(false);
    click(plot_, 1, 256, 50);  // 3.2 s: 3 of 0 to 9
    settle();
    Picture picture(plot_);
    // The rows are 200 px high; the value 3 stands at 1 + 6 / 9 of 198 px.
    const int y = 133 - 11;  // 2/3 of a label's height above
    EXPECT_TRUE(showsText(picture, "Third (3) Upper (V)", 256 + 4, y));
    EXPECT_FALSE(showsText(picture, "Third (4) Upper (V)", 256 + 4, y));
    EXPECT_TRUE(showsText(picture, "3.00 Lower (V)", 256 + 4, 200 + y));
    EXPECT_TRUE(showsText(picture, " 3.200s", 256 + 4, kHeight - 16));
    keepShot(plot_, "subplot-labels");

    click(plot_, 3, 656, 50);  // 8.2 s
    pressKey(plot_, GDK_KEY_d);
    EXPECT_TRUE(settings_.getShowDelta());
    settle();
    EXPECT_TRUE(showsText(Picture(plot_), "\u03945.00 Lower (V)", 656 + 4, 200 + 23 - 1 - 1));
    keepShot(plot_, "subplot-delta");
    pressKey(plot_, GDK_KEY_t);
    EXPECT_TRUE(settings_.getPrettyTime());
    pressKey(plot_, GDK_KEY_T, GDK_SHIFT_MASK);
    EXPECT_TRUE(settings_.getPrettyTime()) << "not a plain key";
    pressKey(plot_, GDK_KEY_T, GDK_LOCK_MASK | GDK_MOD2_MASK);
    EXPECT_FALSE(settings_.getPrettyTime()) << "locks are ignored";
}

TEST_F(SubPlotTest, ZoomsAndPansWithTheWheel) {
    showTwo();
    EXPECT_EQ(view(), (Span{0, 10000})) << "the overview starts the plot off";
    scroll(plot_, GDK_SCROLL_UP, 400, 10);
    EXPECT_EQ(view(), (Span{833, 9166}));
    scroll(plot_, GDK_SCROLL_DOWN, 400, 10);
    EXPECT_EQ(view(), (Span{0, 9999}));
    timeBox_.setInterval(kStart + 4000, kStart + 6000, false);
    EXPECT_EQ(view(), (Span{4000, 6000}));
    scroll(plot_, GDK_SCROLL_UP, 0, 10, GDK_SHIFT_MASK);
    EXPECT_EQ(view(), (Span{3800, 5800}));
    scroll(plot_, GDK_SCROLL_DOWN, 0, 10, GDK_SHIFT_MASK);
    scroll(plot_, GDK_SCROLL_LEFT, 0, 10);
    EXPECT_EQ(view(), (Span{4200, 6200}));
    scroll(plot_, GDK_SCROLL_RIGHT, 0, 10);
    EXPECT_EQ(view(), (Span{4000, 6000}));
    scroll(plot_, GDK_SCROLL_UP, 0, 10);
    EXPECT_EQ(view(), (Span{4166, 5833})) << "the left edge zooms around the middle";
    scrollSmooth(plot_, 0, -1, 800, 10);
    EXPECT_EQ(view(), (Span{4443, 5833})) << "a smooth step is a step";
    scrollSmooth(plot_, 0, 0.25, 800, 10);
    EXPECT_EQ(view().second, 5833U);
    EXPECT_TRUE(timeBox_.byUser);
    for (int i = 0; i < 60; ++i)
        scroll(plot_, GDK_SCROLL_UP, 300, 10);
    EXPECT_EQ(timeBox_.end - timeBox_.start, 1U);
}

TEST_F(SubPlotTest, ZoomsAndPansWithTheArrowKeys) {
    showTwo();
    plot_.grab_focus();
    pressKey(plot_, GDK_KEY_Left);
    EXPECT_EQ(view(), (Span{0, 10000})) << "at the start of the data nothing moves or shrinks";
    pressKey(plot_, GDK_KEY_Up);
    EXPECT_EQ(view(), (Span{833, 9166}));
    pressKey(plot_, GDK_KEY_Right);
    EXPECT_EQ(view(), (Span{1666, 9999}));
    pressKey(plot_, GDK_KEY_Left);
    EXPECT_EQ(view(), (Span{833, 9166}));
    pressKey(plot_, GDK_KEY_Down);
    EXPECT_EQ(view(), (Span{0, 9999}));
    pressKey(plot_, GDK_KEY_Up, GDK_CONTROL_MASK);
    EXPECT_EQ(view(), (Span{0, 9999}));
}

TEST_F(SubPlotTest, StretchesTheOldPictureUntilTheNewOneIsIn) {
    showTwo();
    const Picture before(plot_);
    constexpr int kTop = 1;
    ASSERT_GT(before.countInRow(kTop, kRed), 60);  // the highest of ten steps
    {
        // The painters cannot look at the samples: the plot has nothing but the old picture.
        const std::lock_guard first(*upper_->mutex);
        const std::lock_guard second(*lower_->mutex);
        scroll(plot_, GDK_SCROLL_UP, 799, 10);
        const Picture stretched(plot_);
        EXPECT_GT(stretched.countInRow(kTop, kRed), before.countInRow(kTop, kRed) * 11 / 10);
        EXPECT_TRUE(pump([this] { return plot_.isPainting(); }));
    }
    settle();
    const Picture after(plot_);
    EXPECT_NEAR(after.countInRow(kTop, kRed), before.countInRow(kTop, kRed) * 1.2, 2);
}

TEST_F(SubPlotTest, ActsOnTheRowUnderThePointer) {
    showTwo();
    const auto act = [this](char key, double y) {
        plot_.setKeyHeld(key, true);
        click(plot_, 1, 300, y);
        plot_.setKeyHeld(key, false);
        return std::exchange(host_.calls, {});
    };
    EXPECT_EQ(act('H', 50), Texts{"hide Upper"});
    EXPECT_EQ(act('C', 250), Texts{"colour Lower"});
    EXPECT_EQ(act('F', 199), Texts{"find Upper"});
    EXPECT_EQ(act('S', 201), Texts{"stats Lower"});
    EXPECT_EQ(act('S', kHeight - 4), Texts{}) << "the time strip is no row";
    EXPECT_EQ(store_.leftRuler, -1);
    store_.parsing = true;
    EXPECT_EQ(act('H', 50), Texts{});
    EXPECT_EQ(popMessage(), "Wait for parse to complete");
    store_.parsing = false;

    click(plot_, 3, 300, 250, GDK_CONTROL_MASK);
    click(plot_, 2, 300, 50);
    EXPECT_EQ(std::exchange(host_.calls, {}), (Texts{"menu Lower", "menu Upper"}));
    EXPECT_EQ(store_.rightRuler, -1);
    settings_.setSplitView(false);
    click(plot_, 2, 300, 50);
    EXPECT_EQ(host_.calls, Texts{}) << "unsplit there is no row for a menu";
    EXPECT_EQ(act('F', 250), Texts{"find Lower"}) << "but keys go by the rows as if split";
}

TEST_F(SubPlotTest, FlashesARow) {
    showTwo();
    const std::uint32_t plain = Picture(plot_).at(50, 250);
    plot_.highlightRow(lower_);
    const Picture flashing(plot_);
    EXPECT_NE(flashing.at(50, 250), plain);
    EXPECT_EQ(flashing.at(50, 50), plain);
    EXPECT_TRUE(pump([&] { return Picture(plot_).at(50, 250) == plain; })) << "it fades away";
    settings_.setSplitView(false);
    plot_.highlightRow(lower_);
    EXPECT_EQ(Picture(plot_).at(50, 250), plain);
}

TEST_F(SubPlotTest, CropsToTheRulersAndBack) {
    showTwo();
    plot_.grab_focus();
    click(plot_, 1, 640, 50);
    click(plot_, 3, 160, 50);
    pressKey(plot_, GDK_KEY_z, GDK_MOD1_MASK);
    EXPECT_EQ(view(), (Span{2000, 8000}));
    EXPECT_TRUE(store_.intervalSet);
    EXPECT_EQ(store_.intervalStart, kStart + 2000);
    EXPECT_EQ(upper_->visibleMin, 1) << "the sample before the crop runs into it";
    EXPECT_EQ(upper_->visibleMax, 8);
    // A value outside the range of the crop has a red label at the row's edge.
    store_.leftRuler = static_cast<std::int64_t>(kStart + 9900);
    store_.rightRuler = -1;
    pressKey(plot_, GDK_KEY_x, GDK_MOD1_MASK);
    EXPECT_FALSE(store_.intervalSet);
    EXPECT_EQ(store_.intervalEnd, kStart + 10000);
    EXPECT_EQ(view(), (Span{2000, 8000})) << "the view stays";

    pressKey(plot_, GDK_KEY_Escape);
    pressKey(plot_, GDK_KEY_z, GDK_MOD1_MASK);
    EXPECT_EQ(store_.intervalEnd, kStart + 8000) << "without rulers the view is the crop";
}

TEST_F(SubPlotTest, OpensTheTableOverRulersOrView) {
    showTwo();
    plot_.grab_focus();
    pressKey(plot_, GDK_KEY_c, GDK_CONTROL_MASK);
    plot_.takeRulers(static_cast<std::int64_t>(kStart + 500),
                     static_cast<std::int64_t>(kStart + 20));
    pressKey(plot_, GDK_KEY_C, GDK_CONTROL_MASK);
    EXPECT_EQ(host_.calls, (Texts{"table 1000000 1010000", "table 1000020 1000500"}));
}

TEST_F(SubPlotTest, DumpsTheChosenInterval) {
    showTwo();
    plot_.grab_focus();
    const auto dump = [this] {
        pressKey(plot_, GDK_KEY_a, GDK_CONTROL_MASK);
        return popMessage();
    };
    EXPECT_EQ(dump(), "Couldn't dump data, no log files selected");
    store_.liveMode = true;
    EXPECT_EQ(dump(), "CAN dump is only possible when viewing data from log files");
    store_.liveMode = false;
    store_.logFiles.push_back(folder_ / "recording.bin");
    DialogAnswers answers;
    answers.expectFile(folder_ / "out.asc", Gtk::RESPONSE_CANCEL);
    EXPECT_EQ(dump(), "");
    EXPECT_FALSE(store_.dumpToFile);
    plot_.takeRulers(static_cast<std::int64_t>(kStart + 900),
                     static_cast<std::int64_t>(kStart + 40));
    answers.expect(Gtk::RESPONSE_CANCEL, [](Gtk::Dialog& dialog) {
        EXPECT_EQ(dynamic_cast<Gtk::FileChooserDialog&>(dialog).get_current_name(), "trace.asc");
        return true;
    });
    EXPECT_EQ(dump(), "");
    answers.expectFile(folder_ / "out.asc");
    EXPECT_EQ(dump(), "");
    EXPECT_EQ(answers.takeTexts(), Texts(3, "Select file to write ASC data to"));
    EXPECT_TRUE(store_.dumpToFile);
    EXPECT_EQ(store_.dumpPath, folder_ / "out.asc");
    EXPECT_EQ(store_.dumpFrom, kStart + 40);
    EXPECT_EQ(store_.dumpTo, kStart + 900);
    EXPECT_EQ(dump(), "Wait for dump to finish");
    store_.dumpToFile = false;
    takeWarnings();  // the toolkit's own file chooser complains when it is driven
}

TEST_F(SubPlotTest, ShowsTwelveSignalsSplitAndUnsplit) {
    std::vector<std::uint32_t> colours;
    for (unsigned i = 0; i < 12; ++i) {
        char colour[16];
        std::snprintf(colour, sizeof colour, "#%02x%02x%02x", i * 20, 40 + i % 3 * 60,
                      220 - i * 18);
        const auto signal = addSignal("Temperature" + std::to_string(i), colour);
        for (std::uint64_t time = 0; time <= 60000; time += 20)
            signal->addSample(
                kStart + time,
                std::round(50 * std::sin(static_cast<double>(time) / (900.0 + 500 * i)) +
                           60 * std::cos(static_cast<double>(time) / 9000.0)));
        colours.push_back(static_cast<std::uint32_t>(std::stoul(colour + 1, nullptr, 16)));
    }
    present(window_);
    tellData(kStart + 60000);
    settle();
    const int row = (kHeight - 16) / 12;
    const Picture split(plot_);
    for (int i = 0; i < 12; ++i) {
        int inRow = 0;
        for (int y = i * row; y < (i + 1) * row; ++y)
            inRow += split.countInRow(y, colours[static_cast<std::size_t>(i)]);
        EXPECT_EQ(inRow, split.count(colours[static_cast<std::size_t>(i)])) << i;
        EXPECT_GT(inRow, kWidth) << i;
    }
    plot_.takeRulers(static_cast<std::int64_t>(kStart + 300),
                     static_cast<std::int64_t>(kStart + 59000));
    keepShot(plot_, "subplot-twelve-split");
    keepShot(overview_, "overview-twelve-split");
    plot_.takeRulers(static_cast<std::int64_t>(kStart + 58000),
                     static_cast<std::int64_t>(kStart + 59000));
    keepShot(plot_, "subplot-twelve-split-right-edge");

    settings_.setSplitView(false);
    store_.emitData();
    settle();
    const Picture together(plot_);
    EXPECT_GT(together.countInRow(kHeight - 20, colours[11]), 0);
    keepShot(plot_, "subplot-twelve-unsplit");
    keepShot(overview_, "overview-twelve-unsplit");
}

TEST_F(SubPlotTest, IsFoundByItsAccessibleName) {
    EXPECT_EQ(plot_.get_accessible()->get_name(), "Signal plot");
    EXPECT_EQ(plot_.get_accessible()->get_role(), Atk::ROLE_CHART);
    EXPECT_TRUE(plot_.get_can_focus());
    EXPECT_EQ(overview_.get_accessible()->get_name(), "Overview");
    EXPECT_FALSE(overview_.get_can_focus());
}

TEST_F(SubPlotTest, LetsGoOfTheModelAtAnyMoment) {
    showTwo();
    for (int round = 0; round < 100; ++round) {
        store_.emitData();
        scroll(plot_, round % 2 == 0 ? GDK_SCROLL_UP : GDK_SCROLL_DOWN, 300, 10);
        for (int i = 0; i < round % 4; ++i)
            Glib::MainContext::get_default()->iteration(false);
        switch (round % 3) {
            case 0:
                upper_->setSelected(round % 2 == 0);
                break;
            case 1:
                window_.resize(kWidth + round, kHeight + 200 + round);
                break;
            default:
                plot_.stopPainting();
                overview_.stopPainting();
                lower_->clearSamples();
                fillStairs(*lower_);
        }
    }
    settle();
    store_.clearSelection();
    store_.emitData();
    settle();
    EXPECT_EQ(Picture(plot_).count(kRed), 0);
    EXPECT_EQ(Picture(plot_).count(kBlue), 0);
    store_.emitData();  // the window closes with news on the way
}

}  // namespace
}  // namespace trelis::test
