#include "analysis/StatWindow.h"

#include <glibmm/markup.h>
#include <gtkmm/clipboard.h>

#include <mutex>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Signal.h"
#include "plot/paint/TimeBox.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;
constexpr int kColumnSpacing = 18;
constexpr std::size_t kRulerRows = 2;  // their unit column is a time, which is not set bold

Glib::ustring bold(const std::string& text) {
    return "<b>" + Glib::Markup::escape_text(text) + "</b>";
}

}  // namespace

StatWindow::StatWindow(const AnalysisContext& context, std::shared_ptr<Signal> signal)
    : context_(context),
      signal_(std::move(signal)),
      unitLabel_("Integral over"),
      copyButton_("Copy") {
    set_title(signal_->name + " Statistics");

    grid_.set_border_width(2 * kSpacing);
    grid_.set_row_spacing(kSpacing);
    grid_.set_column_spacing(kColumnSpacing);
    for (std::size_t i = 0; i < labels_.size(); ++i) {
        RowLabels& row = labels_[i];
        row.name.set_halign(Gtk::ALIGN_START);
        row.value.set_halign(Gtk::ALIGN_END);
        row.value.set_hexpand(true);
        row.value.set_selectable(true);
        row.unit.set_halign(Gtk::ALIGN_START);
        const int line = static_cast<int>(i);
        grid_.attach(row.name, 0, line);
        grid_.attach(row.value, 1, line);
        grid_.attach(row.unit, 2, line);
    }

    for (const char* name : kIntegralUnitNames)
        unitChoice_.append(name);
    unitChoice_.set_active(static_cast<int>(integralUnit_));
    unitChoice_.set_tooltip_text("Time unit of the integral");
    unitLabel_.set_mnemonic_widget(unitChoice_);
    copyButton_.set_tooltip_text("Copy the table to the clipboard");
    controls_.set_border_width(kSpacing);
    controls_.set_spacing(kSpacing);
    controls_.pack_start(unitLabel_, Gtk::PACK_SHRINK);
    controls_.pack_start(unitChoice_, Gtk::PACK_SHRINK);
    controls_.pack_end(copyButton_, Gtk::PACK_SHRINK);
    box_.pack_start(grid_);
    box_.pack_start(controls_, Gtk::PACK_SHRINK);
    add(box_);
    box_.show_all();
    copyButton_.grab_focus();

    unitChoice_.signal_changed().connect([this] {
        setIntegralUnit(static_cast<IntegralUnit>(unitChoice_.get_active_row_number()));
    });
    copyButton_.signal_clicked().connect(sigc::mem_fun(*this, &StatWindow::copyTable));
    const auto onNews = sigc::mem_fun(*this, &StatWindow::refresh);
    context_.timeBox.timeChanged.connect(onNews);
    context_.store.rulersChanged.connect(onNews);
    context_.store.dataChanged.connect(onNews);
    refresh();
}

void StatWindow::setIntegralUnit(IntegralUnit unit) {
    if (unit == integralUnit_) return;
    integralUnit_ = unit;
    unitChoice_.set_active(static_cast<int>(unit));
    refresh();
}

void StatWindow::refresh() {
    const TimeRange view{context_.timeBox.start, context_.timeBox.end};
    const Rulers rulers{context_.store.leftRuler, context_.store.rightRuler};
    SignalStatistics figures;
    {
        const std::lock_guard lock(*signal_->mutex);
        figures =
            computeStatistics(signal_->samples().view(), view, displayLimits(*signal_), rulers);
    }
    text_ = statisticsText(context_.store, figures, view, rulers, signal_->unit, integralUnit_,
                           context_.settings.getDecimalComma());
    for (std::size_t i = 0; i < labels_.size(); ++i)
        showRow(i);
}

void StatWindow::showRow(std::size_t index) {
    RowLabels& labels = labels_.at(index);
    const StatisticsRow& row = text_.rows.at(index);
    labels.name.set_markup(bold(row.name));
    labels.value.set_text(row.value);
    if (index < kRulerRows)
        labels.unit.set_text(row.unit);
    else
        labels.unit.set_markup(bold(row.unit));
}

void StatWindow::copyTable() {
    Gtk::Clipboard::get()->set_text(statisticsTable(text_, signal_->name));
}

}  // namespace trelis
