// Both plots in a window, on a model made by hand.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/window.h>

#include <memory>
#include <string>
#include <vector>

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
class RecordingHost : public PlotHost {
  public:
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

    std::vector<std::string> calls;
    std::vector<std::string> rulers;

  private:
    void note(const std::string& what, const std::shared_ptr<Signal>& signal) {
        calls.push_back(what + " " + signal->name);
    }
};

class PlotRig : public testing::Test {
  protected:
    static constexpr std::uint64_t kStart = 1000000;  ///< ms; first sample of all signals
    static constexpr int kWidth = 800;
    static constexpr int kHeight = 416;  ///< with a time strip of 16 px

    PlotRig()
        : settings_({folder_ / "settings", folder_ / "lists"}),
          timeBox_(store_),
          plot_(store_, timeBox_, settings_, host_),
          overview_(store_, timeBox_, settings_),
          box_(Gtk::ORIENTATION_VERTICAL) {
        interface_ = store_.addInterface("Can", 0);
        message_ = std::make_shared<Message>(1, "Message", interface_);
        interface_->addMessage(message_);
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
    /// The data of the span that all signals have together is there.
    void tellData(std::uint64_t end) {
        store_.firstTime = store_.parseFirstTime = store_.intervalStart = kStart;
        store_.lastTime = store_.parseLastTime = store_.intervalEnd = end;
        store_.emitData();
    }
    /// Shows two signals of ten seconds, red above blue.
    void showTwo() {
        upper_ = addSignal("Upper", "#ffff00000000");
        lower_ = addSignal("Lower", "#00000000ffff");
        fillStairs(*upper_);
        fillStairs(*lower_);
        present(window_);
        tellData(kStart + 10000);
        settle();
    }
    /// Waits until the plots show what they should.
    void settle() {
        pumpPending();
        EXPECT_TRUE(pump([this] { return !plot_.isPainting() && !overview_.isPainting(); }));
        pumpPending();
    }
    [[nodiscard]] std::pair<std::uint64_t, std::uint64_t> view() {
        settle();
        return {timeBox_.start - kStart, timeBox_.end - kStart};
    }

    Folder folder_;
    Settings settings_;
    Store store_;
    TimeBox timeBox_;
    RecordingHost host_;
    SubPlot plot_;
    FullPlot overview_;
    Gtk::Box box_;
    Gtk::Window window_;
    std::shared_ptr<CanIface> interface_;
    std::shared_ptr<Message> message_;
    std::shared_ptr<Signal> upper_;
    std::shared_ptr<Signal> lower_;
};

}  // namespace trelis::test
