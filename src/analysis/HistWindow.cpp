#include "analysis/HistWindow.h"

#include <gtkmm/clipboard.h>

#include "model/Signal.h"

namespace trelis {
namespace {

constexpr double kFewestBins = 2;
constexpr double kMostBins = 110;
constexpr double kPage = 10;
constexpr int kSpacing = 6;

}  // namespace

HistWindow::HistWindow(const AnalysisContext& context, const std::shared_ptr<Signal>& signal)
    : histogram_(context, signal),
      bins_(Gtk::Adjustment::create(Histogram::kFirstBinCount, kFewestBins, kMostBins, 1, kPage,
                                    kPage)),
      scale_(bins_),
      copyButton_("Copy") {
    set_title(signal->name);
    set_keep_above(true);
    set_default_size(480, 320);
    scale_.set_digits(0);
    scale_.set_tooltip_text("Number of bins");
    scale_.get_accessible()->set_name("Number of bins");
    copyButton_.set_tooltip_text("Copy the table to the clipboard");
    controls_.set_spacing(kSpacing);
    controls_.set_border_width(kSpacing);
    controls_.pack_start(scale_);
    controls_.pack_start(copyButton_, Gtk::PACK_SHRINK);
    box_.pack_start(histogram_);
    box_.pack_start(controls_, Gtk::PACK_SHRINK);
    add(box_);
    box_.show_all();

    bins_->signal_value_changed().connect(
        [this] { histogram_.setBinCount(static_cast<std::size_t>(bins_->get_value())); });
    copyButton_.signal_clicked().connect(sigc::mem_fun(*this, &HistWindow::copyTable));
}

void HistWindow::copyTable() {
    Gtk::Clipboard::get()->set_text(histogram_.tableText());
}

}  // namespace trelis
