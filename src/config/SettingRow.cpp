#include "config/SettingRow.h"

#include <glibmm/markup.h>

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;
constexpr int kMargin = 12;

std::string_view trimmed(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<int> readInt(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<double> readDouble(std::string_view text) {
    std::string dotted(trimmed(text));
    if (const auto comma = dotted.find(','); comma != std::string::npos) dotted[comma] = '.';
    const char* const first = dotted.data() + (dotted.starts_with('+') ? 1 : 0);
    const char* const last = dotted.data() + dotted.size();
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last || !std::isfinite(value)) return std::nullopt;
    return value;
}

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
    if (const auto value = readInt(text)) slots_.set(*value);
}

std::string SettingRowDouble::storedText() const {
    return format("%f", slots_.get());
}

void SettingRowDouble::storeText(const std::string& text) {
    if (const auto value = readDouble(text)) slots_.set(*value);
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
