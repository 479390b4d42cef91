#include <gdk/gdkkeysyms.h>
#include <pangomm/layout.h>

#include "plot/PlotRig.h"
#include "plot/WindowRig.h"
#include "support/TestStore.h"

namespace trelis::test {
namespace {

class SubPlotTest : public PlotRig {
  protected:
    /// Whether every dark pixel of a text set in the labels' font is dark in the plot. Labels do
    /// not leave the widget at the bottom.
    bool showsText(const std::string& text, int x, int y) {
        settle();
        const Picture picture(plot_);
        const auto layout = plot_.create_pango_layout(text);
        layout->set_font_description(Pango::FontDescription("Monospace Ultra-Heavy 10"));
        int width = 0;
        int height = 0;
        layout->get_pixel_size(width, height);
        y = std::min(y, kHeight - height);
        const auto surface = Cairo::ImageSurface::create(Cairo::FORMAT_RGB24, width, height);
        const auto cr = Cairo::Context::create(surface);
        cr->set_source_rgb(1, 1, 1);
        cr->paint();
        cr->set_source_rgb(0, 0, 0);
        layout->show_in_cairo_context(cr);
        const Picture label(surface);
        int dark = 0;
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                if ((label.at(column, row) & 0xFFU) > 0x20) continue;
                if ((picture.at(x + column, y + row) & 0xFFU) > 0x40) return false;
                ++dark;
            }
        }
        return dark > 50;
    }
};

TEST_F(SubPlotTest, ShowsOnlyTheGridWithoutSignals) {
    present(window_);
    settle();
    const Picture picture(plot_);
    EXPECT_EQ(picture.countInRow(50, 0xEFEFEF), kWidth - 7);
    EXPECT_EQ(picture.countInColumn(50, 0xEFEFEF), kHeight - 4);
}

TEST_F(SubPlotTest, DrawsStepsAsAStaircase) {
    settings_.setSplitView(false);
    const auto signal = addSignal("Step", "#ffff00000000");
    for (std::uint64_t time = 0; time <= 8000; time += 100)
        signal->addSample(kStart + time, time < 4000 ? 0.0 : 1.0);
    signal->flushSamples();
    show(8000);
    const Picture picture(plot_);
    const int half = kWidth / 2;
    // Two pixels wide lines: low, up in the middle, high. Nothing lies between.
    EXPECT_EQ(picture.countInColumn(half / 2, kRed), 2);
    EXPECT_EQ(picture.at(half / 2, kHeight - 16 - 2), kRed);
    EXPECT_EQ(picture.countInColumn(half + half / 2, kRed), 2);
    EXPECT_EQ(picture.at(half + half / 2, 1), kRed);
    EXPECT_GT(picture.countInColumn(half, kRed), kHeight - 16 - 8);
    EXPECT_EQ(picture.countInRow(200, kRed), 2);
}

TEST_F(SubPlotTest, BreaksTheLineAtAGap) {
    const auto broken = addSignal("Broken", "#ffff00000000");
    const auto joined = addSignal("Joined", "#00000000ffff");
    for (const auto& [signal, silence] : {std::pair{broken, 10001U}, std::pair{joined, 10000U}}) {
        signal->addSample(kStart, 0);
        signal->addSample(kStart + 5000, 1);
        signal->addSample(kStart + 5000 + silence, 0);
        signal->addSample(kStart + 20001, 1);
    }
    show(20001);
    const Picture picture(plot_);
    const int column = 400;  // 10 s, in the silence
    EXPECT_EQ(picture.countInColumn(column, kRed), 0);
    EXPECT_EQ(picture.countInColumn(column, kBlue), 2);
}

TEST_F(SubPlotTest, MovesRulersWithTheButtons) {
    showTwo();
    const Picture before(plot_);
    host_.rulers.clear();
    int told = 0;
    store_.rulersChanged.connect([&] { ++told; });
    window_.unset_focus();
    pressButton(plot_, 1, 200, 50);
    movePointer(plot_, 240, 50);
    releaseButton(plot_, 1, 240, 50);
    movePointer(plot_, 300, 50);
    EXPECT_TRUE(plot_.has_focus()) << "keys work when the pointer was over the plot";
    click(plot_, 3, 416, 50);
    EXPECT_EQ(host_.rulers, (Texts{"1002500 -1", "1003000 -1", "1003000 1005200"}));
    pumpPending();
    EXPECT_GE(told, 1);
    const Picture after(plot_);
    EXPECT_NE(after.at(240, 350), before.at(240, 350));
    EXPECT_NE(after.at(416, 350), before.at(416, 350));

    pressKey(plot_, GDK_KEY_Escape);
    EXPECT_EQ(host_.rulers.back(), "-1 -1");
    plot_.takeRulers(kStart, kStart + 1);
    EXPECT_EQ(host_.rulers.size(), 4U) << "rulers of a linked program are not sent back";
}

TEST_F(SubPlotTest, LabelsShowPrintedValuesAndTimes) {
    showTwo();
    upper_->valueLabels[3] = "Third";
    settings_.setPrettyTime(false);
    click(plot_, 1, 256, 50);  // 3.2 s: 3 of 0 to 9
    // The rows are 200 px high; the value 3 stands at 1 + 6 / 9 of 198 px.
    const int y = 133 - 11;  // 2/3 of a label's height above
    EXPECT_TRUE(showsText("Third (3) Upper (V)", 256 + 4, y));
    EXPECT_FALSE(showsText("Third (4) Upper (V)", 256 + 4, y));
    EXPECT_TRUE(showsText("3.00 Lower (V)", 256 + 4, 200 + y));
    EXPECT_TRUE(showsText(" 3.200s", 256 + 4, kHeight - 16));

    click(plot_, 3, 656, 50);  // 8.2 s
    pressKey(plot_, GDK_KEY_d);
    EXPECT_TRUE(showsText("\u03945.00 Lower (V)", 656 + 4, 200 + 23 - 1 - 1));
    pressKey(plot_, GDK_KEY_t);
    pressKey(plot_, GDK_KEY_T, GDK_SHIFT_MASK);
    EXPECT_TRUE(settings_.getPrettyTime()) << "not a plain key";
    pressKey(plot_, GDK_KEY_T, GDK_LOCK_MASK | GDK_MOD2_MASK);
    EXPECT_FALSE(settings_.getPrettyTime()) << "locks are ignored";
}

TEST_F(SubPlotTest, ZoomsAndPansWithWheelAndArrowKeys) {
    showTwo();
    const auto wheel = [this](GdkScrollDirection direction, double x, unsigned state = 0) {
        scroll(plot_, direction, x, 10, state);
        return view();
    };
    const auto smooth = [this](double dy) {
        scrollSmooth(plot_, 0, dy, 800, 10);
        return view();
    };
    const auto key = [this](unsigned keyval, unsigned state = 0) {
        pressKey(plot_, keyval, state);
        return view();
    };
    EXPECT_EQ(view(), (Span{0, 10000})) << "the overview starts the plot off";
    EXPECT_EQ(key(GDK_KEY_Left), (Span{0, 10000})) << "nothing moves or shrinks";
    EXPECT_EQ(key(GDK_KEY_Up), (Span{833, 9166}));
    EXPECT_EQ(key(GDK_KEY_Right), (Span{1666, 9999}));
    EXPECT_EQ(key(GDK_KEY_Left), (Span{833, 9166}));
    EXPECT_EQ(key(GDK_KEY_Up, GDK_CONTROL_MASK), (Span{833, 9166}));
    EXPECT_EQ(key(GDK_KEY_Down), (Span{0, 9999}));
    setView(4000, 6000);
    EXPECT_EQ(wheel(GDK_SCROLL_UP, 0, GDK_SHIFT_MASK), (Span{3800, 5800}));
    EXPECT_EQ(wheel(GDK_SCROLL_DOWN, 0, GDK_SHIFT_MASK), (Span{4000, 6000}));
    EXPECT_EQ(wheel(GDK_SCROLL_LEFT, 0), (Span{4200, 6200}));
    EXPECT_EQ(wheel(GDK_SCROLL_RIGHT, 0), (Span{4000, 6000}));
    EXPECT_EQ(wheel(GDK_SCROLL_UP, 0), (Span{4166, 5833})) << "around the middle";
    EXPECT_EQ(wheel(GDK_SCROLL_DOWN, 400), (Span{3999, 5999}));
    EXPECT_EQ(smooth(-1), (Span{4332, 5999}));
    EXPECT_EQ(smooth(0.25), (Span{4254, 5999}));
    EXPECT_TRUE(timeBox_.byUser);
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
    store_.parsing = true;
    EXPECT_EQ(act('H', 50), Texts{});
    store_.parsing = false;
    EXPECT_EQ(TestStore::messages(), Texts{"Wait for parse to complete"});

    click(plot_, 3, 300, 250, GDK_CONTROL_MASK);
    click(plot_, 2, 300, 50);
    EXPECT_EQ(std::exchange(host_.calls, {}), (Texts{"menu Lower", "menu Upper"}));
    EXPECT_EQ(host_.rulers, Texts{}) << "none of these moves a ruler";
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
    EXPECT_GT(Picture(plot_).count(kRed), 0);
    store_.clearSelection();
    store_.emitData();
    settle();
    EXPECT_EQ(Picture(plot_).count(kRed), 0) << "nothing is left of signals that are not selected";
}

TEST_F(SubPlotTest, CropsAndCopiesTheRulersOrTheView) {
    showTwo();
    const auto cropped = [this] { return Span{store_.intervalStart, store_.intervalEnd}; };
    pressKey(plot_, GDK_KEY_c, GDK_CONTROL_MASK);
    click(plot_, 1, 640, 50);
    click(plot_, 3, 160, 50);
    pressKey(plot_, GDK_KEY_C, GDK_CONTROL_MASK);
    EXPECT_EQ(host_.calls, (Texts{"table 1000000 1010000", "table 1002000 1008000"}));
    pressKey(plot_, GDK_KEY_z, GDK_MOD1_MASK);
    EXPECT_EQ(view(), (Span{2000, 8000}));
    EXPECT_EQ(cropped(), (Span{kStart + 2000, kStart + 8000}));
    pressKey(plot_, GDK_KEY_x, GDK_MOD1_MASK);
    EXPECT_EQ(cropped(), (Span{kStart, kStart + 10000}));
    EXPECT_EQ(view(), (Span{2000, 8000})) << "the view stays";
    pressKey(plot_, GDK_KEY_Escape);
    pressKey(plot_, GDK_KEY_z, GDK_MOD1_MASK);
    EXPECT_EQ(cropped(), (Span{kStart + 2000, kStart + 8000})) << "the view without rulers";
}

TEST_F(SubPlotTest, DumpsTheChosenInterval) {
    showTwo();
    const auto dump = [this] {
        pressKey(plot_, GDK_KEY_a, GDK_CONTROL_MASK);
        return TestStore::messages();
    };
    EXPECT_EQ(dump(), Texts{"Couldn't dump data, no log files selected"});
    store_.logFiles.push_back(folder_ / "recording.bin");
    DialogAnswers answers;
    answers.expect(Gtk::RESPONSE_CANCEL, [](Gtk::Dialog& dialog) {
        EXPECT_EQ(dynamic_cast<Gtk::FileChooserDialog&>(dialog).get_current_name(), "trace.asc");
        return true;
    });
    EXPECT_EQ(dump(), Texts{});
    EXPECT_FALSE(store_.dumpToFile);
    plot_.takeRulers(kStart + 900, kStart + 40);
    answers.expectFile(folder_ / "out.asc");
    EXPECT_EQ(dump(), Texts{});
    EXPECT_EQ(answers.takeTexts(), Texts(2, "Select file to write ASC data to"));
    EXPECT_TRUE(store_.dumpToFile);
    EXPECT_EQ(store_.dumpPath, folder_ / "out.asc");
    EXPECT_EQ(store_.dumpFrom, kStart + 40);
    EXPECT_EQ(store_.dumpTo, kStart + 900);
    EXPECT_EQ(dump(), Texts{"Wait for dump to finish"});
    store_.dumpToFile = false;
    takeWarnings();  // the toolkit's own file chooser complains when it is driven
}

TEST_F(SubPlotTest, IsFoundByItsAccessibleName) {
    EXPECT_EQ(plot_.get_accessible()->get_name(), "Signal plot");
    EXPECT_EQ(plot_.get_accessible()->get_role(), Atk::ROLE_CHART);
    EXPECT_TRUE(plot_.get_can_focus());
    EXPECT_EQ(overview_.get_accessible()->get_name(), "Overview");
    EXPECT_FALSE(overview_.get_can_focus());
}

}  // namespace
}  // namespace trelis::test
