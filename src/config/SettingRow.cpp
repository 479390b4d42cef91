#include "config/SettingRow.h"

#include <glibmm/markup.h>

#include <cmath>

#include "app/diagnostics/Report.h"
#include "config/NumberText.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;
constexpr int kMargin = 12;

// The text of a colour in the form of the settings.
std::string colourText(const Gdk::RGBA& colour) {
    const auto channel = [](double value) {
        return static_cast<unsigned>(std::lround(value * 65535.0));
    };
    return format("#%04x%04x%04x", channel(colour.get_red()), channel(colour.get_green()),
                  channel(colour.get_blue()));
}

}  // namespace

void SettingRowText::apply() {
    if (isDirty()) storeText(entry_.get_text());
    show();
}

std::string SettingRowInt::storedText() const {
    return format("%d", slots_.get());
}

void SettingRowInt::storeText(const std::string& text) {
    if (const auto value = readInt(text)) storeIfTaken(slots_, *value);
}

std::string SettingRowDouble::storedText() const {
    return format("%f", slots_.get());
}

void SettingRowDouble::storeText(const std::string& text) {
    if (const auto value = readDouble(text)) storeIfTaken(slots_, *value);
}

void SettingRowColor::show() {
    button_.set_rgba(Gdk::RGBA(slots_.get()));
}

bool SettingRowColor::isDirty() const {
    return colourText(button_.get_rgba()) != colourText(Gdk::RGBA(slots_.get()));
}

void SettingRowColor::apply() {
    if (isDirty()) slots_.set(colourText(button_.get_rgba()));
}

SettingGrid::SettingGrid() {
    set_border_width(kMargin);
    set_column_spacing(kMargin);
    set_row_spacing(2);
}

void SettingGrid::addRow(SettingRow& row) {
    auto label = std::make_unique<Gtk::Label>(row.label() + ": ");
    label->set_halign(Gtk::ALIGN_START);
    auto description = std::make_unique<Gtk::Label>();
    description->set_markup("<small>" + Glib::Markup::escape_text(row.description()) + "</small>");
    description->set_halign(Gtk::ALIGN_START);
    description->set_margin_bottom(kSpacing);
    row.widget().set_hexpand(true);
    row.widget().get_accessible()->set_name(row.label());
    attach(*label, 0, lines_);
    attach(row.widget(), 1, lines_);
    attach(*description, 0, lines_ + 1, 2, 1);
    lines_ += 2;
    labels_.push_back(std::move(label));
    labels_.push_back(std::move(description));
}

}  // namespace trelis
