#include "analysis/SampleRateDialogue.h"

#include <gtkmm/clipboard.h>

#include <algorithm>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"

namespace trelis {
namespace {

constexpr std::array<const char*, kIntervalScales.size()> kButtonTexts = {"1 ms", "10 ms", "1 s"};
constexpr int kDefaultWidth = 300;
constexpr int kScaleMargin = 10;
constexpr int kSpacing = 6;

}  // namespace

SampleRateDialogue::ScaleRow::ScaleRow(const IntervalScale& rule)
    : adjustment(Gtk::Adjustment::create(rule.value, rule.lower, rule.upper(), rule.step, rule.page,
                                         rule.step)),
      scale(adjustment) {}

SampleRateDialogue::SampleRateDialogue(Store& store, Settings& settings)
    : store_(store),
      settings_(settings),
      intervalMs_(static_cast<std::uint64_t>(kIntervalScales.front().value)),
      label_("Interval in ms:"),
      scales_{ScaleRow(kIntervalScales[0]), ScaleRow(kIntervalScales[1]),
              ScaleRow(kIntervalScales[2])},
      copyButton_("Copy") {
    set_title("Copy plot to clipboard");
    set_keep_above(true);
    set_default_size(kDefaultWidth, -1);
    grid_.set_border_width(kSpacing);
    grid_.set_row_spacing(kSpacing);
    grid_.set_column_spacing(kSpacing);
    grid_.set_column_homogeneous(true);

    const int columns = static_cast<int>(scales_.size()) + 1;
    label_.set_halign(Gtk::ALIGN_START);
    grid_.attach(label_, 0, 0, columns, 1);
    for (std::size_t i = 0; i < scales_.size(); ++i) {
        Gtk::Scale& scale = scales_[i].scale;
        scale.set_digits(0);
        scale.set_round_digits(0);
        scale.set_margin_start(kScaleMargin);
        scale.set_margin_end(kScaleMargin);
        scale.set_hexpand(true);
        scale.get_accessible()->set_name("Interval in ms");
        scale.set_no_show_all(true);
        grid_.attach(scale, 0, 1, columns, 1);
        scales_[i].adjustment->signal_value_changed().connect([this, i] { onScaleChanged(i); });

        scaleButtons_[i].set_label(kButtonTexts[i]);
        grid_.attach(scaleButtons_[i], static_cast<int>(i), 2);
        scaleButtons_[i].signal_clicked().connect([this, i] { chooseScale(i); });
    }
    grid_.attach(copyButton_, columns - 1, 2);
    copyButton_.signal_clicked().connect(sigc::mem_fun(*this, &SampleRateDialogue::copyTable));
    add(grid_);
    grid_.show_all();
    scales_[shownScale_].scale.show();
    copyButton_.grab_focus();
}

void SampleRateDialogue::show(std::uint64_t a, std::uint64_t b) {
    intervalStart_ = std::min(a, b);
    intervalEnd_ = std::max(a, b);
    present();
}

double SampleRateDialogue::scaleValue(std::size_t scale) const {
    return scales_.at(scale).adjustment->get_value();
}

void SampleRateDialogue::moveScale(std::size_t scale, double ms) {
    scales_.at(scale).adjustment->set_value(ms);
}

void SampleRateDialogue::onScaleChanged(std::size_t scale) {
    if (!setting_) setAll(kIntervalScales.at(scale).snap(scaleValue(scale)));
}

// Each scale clamps the value to its own range.
void SampleRateDialogue::setAll(double ms) {
    setting_ = true;
    for (const ScaleRow& row : scales_)
        row.adjustment->set_value(ms);
    setting_ = false;
    intervalMs_ = static_cast<std::uint64_t>(ms);
}

void SampleRateDialogue::chooseScale(std::size_t scale) {
    setAll(kIntervalScales.at(scale).snap(scaleValue(scale)));
    for (ScaleRow& row : scales_)
        row.scale.hide();
    scales_.at(scale).scale.show();
    shownScale_ = scale;
}

void SampleRateDialogue::copyTable() {
    const auto signals = signalsForTable(store_);
    const auto text = sampleTableText(signals, intervalStart_, intervalEnd_, intervalMs_,
                                      settings_.getDecimalComma());
    if (!text) {
        report(Level::kInfo, "The table would be too large, please choose a longer interval");
        return;
    }
    Gtk::Clipboard::get()->set_text(*text);
}

}  // namespace trelis
