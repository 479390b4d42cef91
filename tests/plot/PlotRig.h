// Both plots in a window, on a model made by hand.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/window.h>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/CanIface.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/FullPlot.h"
#include "plot/GuiTest.h"
#include "plot/PlotHost.h"
#include "plot/SubPlot.h"
#include "plot/paint/TimeBox.h"

namespace trelis::test {

/// Notes what the plot asks of its window.
struct RecordingHost : PlotHost {
    void popupPlotMenu(const std::shared_ptr<Signal>& signal) override { note("menu", signal); }
    void hideSignal(const std::shared_ptr<Signal>& signal) override { note("hide", signal); }
    void changeColor(const std::shared_ptr<Signal>& signal) override { note("colour", signal); }
    void findInList(const std::shared_ptr<Signal>& signal) override { note("find", signal); }
    void showStats(const std::shared_ptr<Signal>& signal) override { note("stats", signal); }
    void showSampleTable(std::uint64_t from, std::uint64_t to) override {
        calls.push_back("table " + std::to_string(from) + " " + std::to_string(to));
    }
    void rulersMoved(std::int64_t left, std::int64_t right) override {
        rulers.push_back(std::to_string(left) + " " + std::to_string(right));
    }
    void note(const std::string& what, const std::shared_ptr<Signal>& signal) {
        calls.push_back(what + " " + signal->name);
    }

    std::vector<std::string> calls, rulers;
};

class PlotRig : public testing::Test {
  protected:
    static constexpr std::uint64_t kStart = 1000000;  ///< ms; first sample of all signals
    static constexpr int kWidth = 800;
    static constexpr int kHeight = 416;  ///< with a time strip of 16 px
    static constexpr std::uint32_t kRed = 0xFF0000;
    static constexpr std::uint32_t kBlue = 0x0000FF;
    using Span = std::pair<std::uint64_t, std::uint64_t>;

    PlotRig() {
        message_->parent()->addMessage(message_);
        plot_.set_size_request(kWidth, kHeight);
        box_.pack_start(plot_);
        box_.pack_end(overview_, Gtk::PACK_SHRINK);
        window_.add(box_);
    }

    std::shared_ptr<Signal> addSignal(const std::string& name, const std::string& colour) {
        auto signal = std::make_shared<Signal>(message_, name);
        signal->color = colour;
        signal->unit = "V";
        message_->addSignal(name, signal);
        signal->setSelected(true);
        return signal;
    }
    /// A sample every 10 ms for ten seconds, values going from 0 up to 9.
    void fillStairs(Signal& signal) {
        for (std::uint64_t i = 0; i <= 1000; ++i)
            signal.addSample(kStart + i * 10, static_cast<double>(i / 100 % 10));
    }
    /// Shows the signals until a time.
    void show(std::uint64_t end) {
        store_.firstTime = store_.parseFirstTime = store_.intervalStart = kStart;
        store_.lastTime = store_.parseLastTime = store_.intervalEnd = kStart + end;
        present(window_);
        store_.emitData();
        settle();
    }
    /// Shows two signals of ten seconds, red above blue. The plot has the focus.
    void showTwo() {
        upper_ = addSignal("Upper", "#ffff00000000");
        lower_ = addSignal("Lower", "#00000000ffff");
        fillStairs(*upper_);
        fillStairs(*lower_);
        show(10000);
        plot_.grab_focus();
    }
    void setView(std::uint64_t start, std::uint64_t end) {
        timeBox_.setInterval(kStart + start, kStart + end, false);
        settle();
    }
    /// Waits until the plots show what they should.
    void settle() {
        pumpPending();
        EXPECT_TRUE(pump([this] { return !plot_.isPainting() && !overview_.isPainting(); }));
        pumpPending();
    }
    Span view() {
        settle();
        return {timeBox_.start - kStart, timeBox_.end - kStart};
    }

    Folder folder_;
    Settings settings_{{folder_ / "settings", folder_ / "lists"}};
    Store store_;
    TimeBox timeBox_{store_};
    RecordingHost host_;
    SubPlot plot_{store_, timeBox_, settings_, host_};
    FullPlot overview_{store_, timeBox_, settings_};
    Gtk::Box box_{Gtk::ORIENTATION_VERTICAL};
    Gtk::Window window_;
    std::shared_ptr<Message> message_ =
        std::make_shared<Message>(1, "Message", store_.addInterface("Can", 0));
    std::shared_ptr<Signal> upper_, lower_;
};

}  // namespace trelis::test
