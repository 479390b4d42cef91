#include "plot/SubPlot.h"

#include <gdkmm/cursor.h>
#include <gtkmm/filechooserdialog.h>
#include <gtkmm/window.h>

#include <algorithm>
#include <limits>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Signal.h"
#include "plot/GtkColour.h"
#include "plot/PlotHost.h"
#include "plot/paint/TimeBox.h"

namespace trelis {
namespace {

constexpr int kStripPadding = 6;          ///< px of the time strip beside the font
constexpr unsigned kLiveRenderMs = 1000;  ///< a live plot renders at most this often
constexpr int kFlashMs = 1000;
constexpr unsigned kFlashStepMs = 50;
constexpr int kGridStep = 100;
constexpr double kGridWidth = 0.8;

}  // namespace

SubPlot::SubPlot(Store& store, TimeBox& timeBox, Settings& settings, PlotHost& host)
    : PlotArea(store, timeBox, settings, "Signal plot", kLiveRenderMs),
      host_(host),
      timeStrip_(settings.getFontSize() + kStripPadding),
      dumpFolder_(Glib::get_home_dir()) {
    set_size_request(kSmallest, kSmallest);
    add_events(Gdk::KEY_PRESS_MASK | Gdk::KEY_RELEASE_MASK);
    set_can_focus(true);
    connections_ = {
        timeBox_.timeChanged.connect(sigc::mem_fun(*this, &SubPlot::onTimeChanged)),
        store_.dataChanged.connect(sigc::mem_fun(*this, &SubPlot::onDataChanged)),
        store_.settingsChanged.connect([this] {
            timeStrip_ = settings_.getFontSize() + kStripPadding;
            render();
        }),
    };
}

SubPlot::~SubPlot() {
    repaintTimer_.disconnect();
    clearBusy();
}

TimeSpan SubPlot::view() const {
    return viewEnd_ == 0 ? bounds() : TimeSpan{viewStart_, viewEnd_};
}

int SubPlot::rowHeight(std::size_t rows) const {
    const int height = std::max(get_allocated_height() - timeStrip_, 0);
    return split_ && rows > 0 ? height / static_cast<int>(rows) : height;
}

// ---- when to render

void SubPlot::onTimeChanged() {
    viewStart_ = timeBox_.start;
    viewEnd_ = timeBox_.end;
    render();
}

void SubPlot::onDataChanged() {
    if (store_.liveMode)
        scheduleRender();
    else
        render();
}

void SubPlot::scheduleRepaint(unsigned delayMs) {
    if (repaintTimer_.connected()) return;
    const auto repaint = [this] {
        queue_draw();
        return false;
    };
    repaintTimer_ = Glib::signal_timeout().connect(repaint, delayMs);
}

std::optional<PictureLayout> SubPlot::layoutPicture(PictureRequest request) {
    split_ = request.split;
    request.view = {viewStart_, viewEnd_};
    request.strip = timeStrip_;
    return layoutView(request);
}

void SubPlot::onStarted() {
    if (busyMarked_) return;
    busyMarked_ = true;
    store_.busyUp();
}

void SubPlot::stopPainting() {
    PlotArea::stopPainting();
    lastRows_.clear();
    highlightSignal_.reset();
    clearBusy();
}

void SubPlot::clearBusy() {
    if (!busyMarked_) return;
    busyMarked_ = false;
    store_.busyDown();
}

// ---- drawing

bool SubPlot::on_draw(const Cairo::RefPtr<Cairo::Context>& cr) {
    drawBackground(cr, kGridStep, kGridWidth);
    if (!drawPicture(cr, view())) return true;
    drawHighlight(cr);
    drawRulers(cr);
    clearBusy();
    return true;
}

void SubPlot::highlightRow(const std::shared_ptr<Signal>& signal) {
    if (!signal || !settings_.getSplitView()) return;
    if (!(store_.liveMode ? signal->hasData.load() : signal->useCount > 0)) return;
    const auto selected = store_.selection();
    const auto found = std::find(selected.begin(), selected.end(), signal);
    if (found == selected.end()) return;
    highlightSignal_ = signal;
    highlightY_ = static_cast<int>(found - selected.begin()) * rowHeight(selected.size());
    highlightEnd_ = monotonicMs() + kFlashMs;
    queue_draw();
}

void SubPlot::drawHighlight(const Cairo::RefPtr<Cairo::Context>& cr) {
    if (highlightEnd_ == 0 || !highlightSignal_) return;
    const std::int64_t left = highlightEnd_ - monotonicMs();
    if (left <= 0) {
        highlightEnd_ = 0;
        highlightSignal_.reset();
        return;
    }
    const Colour colour = colourOf(highlightSignal_->color);
    constexpr double kFade = 0.0005;  // from 0.5 to 0 in a second
    cr->set_source_rgba(colour.red, colour.green, colour.blue, static_cast<double>(left) * kFade);
    cr->rectangle(0, highlightY_, get_allocated_width(), rowHeight(store_.selection().size()));
    cr->fill();
    scheduleRepaint(kFlashStepMs);
}

// ---- commands

bool SubPlot::hasBothRulers() const {
    return store_.leftRuler >= 0 && store_.rightRuler >= 0;
}

void SubPlot::crop() {
    if (hasBothRulers()) {
        const auto [low, high] = std::minmax({store_.leftRuler.load(), store_.rightRuler.load()});
        timeBox_.setInterval(static_cast<std::uint64_t>(low), static_cast<std::uint64_t>(high),
                             true);
    }
    if (timeBox_.isSet()) store_.setInterval(timeBox_.start, timeBox_.end);
}

void SubPlot::deleteRulers() {
    store_.leftRuler = -1;
    store_.rightRuler = -1;
    publishRulers();
}

void SubPlot::takeRulers(std::int64_t left, std::int64_t right) {
    store_.leftRuler = left;
    store_.rightRuler = right;
    queue_draw();
}

void SubPlot::publishRulers() {
    host_.rulersMoved(store_.leftRuler, store_.rightRuler);
    store_.rulersChanged.emit();
    queue_draw();
}

void SubPlot::copySignals() {
    if (store_.waitingForWork()) return;
    if (hasBothRulers()) {
        const auto [low, high] = std::minmax({store_.leftRuler.load(), store_.rightRuler.load()});
        host_.showSampleTable(static_cast<std::uint64_t>(low), static_cast<std::uint64_t>(high));
    } else {
        host_.showSampleTable(view().start, view().end);
    }
}

std::string SubPlot::chooseDumpFile() {
    Gtk::FileChooserDialog dialog("Select file to write ASC data to",
                                  Gtk::FILE_CHOOSER_ACTION_SAVE);
    if (auto* window = dynamic_cast<Gtk::Window*>(get_toplevel()))
        dialog.set_transient_for(*window);
    const auto ascFiles = Gtk::FileFilter::create();
    ascFiles->set_name("ASC-files");
    ascFiles->add_pattern("*.asc");
    ascFiles->add_pattern("*.ASC");
    dialog.add_filter(ascFiles);
    const auto allFiles = Gtk::FileFilter::create();
    allFiles->set_name("ALL");
    allFiles->add_pattern("*");
    dialog.add_filter(allFiles);
    dialog.add_button("_Cancel", Gtk::RESPONSE_CANCEL);
    dialog.add_button("Select", Gtk::RESPONSE_OK);
    dialog.set_default_response(Gtk::RESPONSE_OK);
    dialog.set_do_overwrite_confirmation(true);
    dialog.set_current_folder(dumpFolder_);
    dialog.set_current_name("trace.asc");
    if (dialog.run() != Gtk::RESPONSE_OK) return {};
    dumpFolder_ = dialog.get_current_folder();
    return dialog.get_filename();
}

void SubPlot::dumpToAsc() {
    if (store_.waitingForWork()) return;
    if (store_.liveMode || store_.csvMode || store_.ascMode) {
        report(Level::kInfo, "CAN dump is only possible when viewing data from log files");
        return;
    }
    if (!store_.hasLogFiles()) {
        report(Level::kInfo, "Couldn't dump data, no log files selected");
        return;
    }
    const std::string file = chooseDumpFile();
    if (file.empty()) return;
    TimeSpan span{timeBox_.start, timeBox_.end};
    if (hasBothRulers()) {
        const auto [low, high] = std::minmax({store_.leftRuler.load(), store_.rightRuler.load()});
        span = {static_cast<std::uint64_t>(low), static_cast<std::uint64_t>(high)};
    }
    if (span.end == 0) span = {0, std::numeric_limits<std::int64_t>::max()};
    store_.dumpLogsToFile(file, span.start, span.end);
}

}  // namespace trelis
