#include "config/InputRow.h"

#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "app/diagnostics/Report.h"
#include "config/NumberText.h"

namespace trelis {
namespace {

constexpr int kLeastCompletion = 2;  // characters before a list of thousands is looked through

std::invalid_argument notANumber(const std::string& key, const std::string& text) {
    return std::invalid_argument("The value of '" + key + "' is not a number: " + text);
}

// The shortest text that reads back as the same number, without an exponent where that is not
// overlong: a getter of integers takes it too.
std::string numberText(double value) {
    constexpr double kPlainBelow = 1e15;
    constexpr double kPlainAbove = 1e-6;
    const double size = std::abs(value);
    const bool plain = size == 0 || (size < kPlainBelow && size > kPlainAbove);
    std::array<char, 64> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                   plain ? std::chars_format::fixed : std::chars_format::general)
                         .ptr;
    return {buffer.data(), end};
}

}  // namespace

// ---- InputRow

InputRow::InputRow(RowText text)
    : text_(std::move(text)), spellings_{text_.key}, label_(text_.key) {
    label_.set_xalign(0);
    label_.set_tooltip_text(text_.help);
}

void InputRow::describe(Gtk::Widget& widget) const {
    widget.set_tooltip_text(text_.help);
    widget.set_hexpand(true);
    widget.get_accessible()->set_name(text_.key);
}

void InputRow::place(Gtk::Grid& grid, int line) {
    grid.attach(label(), 0, line);
    grid.attach(widget(), 1, line);
    show();
}

void InputRow::show() {
    label().show();
    widget().show();
}

void InputRow::hide() {
    label().hide();
    widget().hide();
}

void InputRow::setAlternative(const std::string& key, bool first) {
    spellings_.insert(first ? spellings_.begin() : spellings_.end(), key);
}

void InputRow::load(const Glib::KeyFile& keyFile, const std::string& group) {
    for (const std::string& spelling : spellings_) {
        if (!keyFile.has_key(group, spelling)) continue;
        loadFrom(keyFile, group, spelling);
        return;
    }
    clear();
}

// ---- EntryBool

EntryBool::EntryBool(RowText text, bool defaultValue)
    : InputRow(std::move(text)), default_(defaultValue) {
    box_.append("No");
    box_.append("Yes");
    describe(box_);
    setValue(default_);
}

void EntryBool::loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                         const std::string& key) {
    setValue(keyFile.get_boolean(group, key));
}

void EntryBool::save(Glib::KeyFile& keyFile, const std::string& group) const {
    if (value() != default_) keyFile.set_boolean(group, key(), value());
}

// ---- EntryString

EntryString::EntryString(RowText rowText) : InputRow(std::move(rowText)) {
    entry_.set_placeholder_text(text().hint);
    describe(entry_);
}

void EntryString::loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                           const std::string& key) {
    setValue(keyFile.get_string(group, key));
}

void EntryString::save(Glib::KeyFile& keyFile, const std::string& group) const {
    if (const std::string text = value(); !text.empty()) keyFile.set_string(group, key(), text);
}

// ---- numbers

void EntryNumber::setValue(const std::string& value) {
    loadedText_.clear();
    loadedRaw_.clear();
    EntryString::setValue(value);
}

void EntryNumber::showLoaded(const std::string& shown, const std::string& raw) {
    EntryString::setValue(shown);
    loadedText_ = shown;
    loadedRaw_ = raw;
}

void EntryNumber::save(Glib::KeyFile& keyFile, const std::string& group) const {
    const std::string text = value();
    if (trimmed(text).empty()) return;
    const bool unchanged = !loadedText_.empty() && text == loadedText_;
    keyFile.set_value(group, key(), unchanged ? loadedRaw_ : readNumber(text));
}

void EntryInt::loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                        const std::string& key) {
    const std::string shown = format("%d", keyFile.get_integer(group, key));
    showLoaded(shown, shown);
}

std::string EntryInt::readNumber(const std::string& text) const {
    if (const auto value = readInt(text)) return std::to_string(*value);
    throw notANumber(key(), text);
}

void EntryFloat::loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                          const std::string& key) {
    showLoaded(format("%f", keyFile.get_double(group, key)), keyFile.get_value(group, key));
}

std::string EntryFloat::readNumber(const std::string& text) const {
    if (const auto value = readDouble(text)) return numberText(*value);
    throw notANumber(key(), text);
}

// ---- names

void EntryName::load(const Glib::KeyFile& /*keyFile*/, const std::string& group) {
    setValue(group);
}

void EntryName::save(Glib::KeyFile& /*keyFile*/, const std::string& /*group*/) const {}

void EntrySignal::setCompletion(const Glib::RefPtr<Gtk::ListStore>& model,
                                const SigListModCols& columns) {
    const auto completion = Gtk::EntryCompletion::create();
    completion->set_model(model);
    completion->set_text_column(columns.path);
    completion->set_minimum_key_length(kLeastCompletion);
    // Any part of the path will do: nobody types the bus first. The key comes folded.
    completion->set_match_func(
        [&columns](const Glib::ustring& typed, const Gtk::TreeModel::const_iterator& row) {
            const Glib::ustring path = (*row)[columns.path];
            return path.normalize().casefold().find(typed) != Glib::ustring::npos;
        });
    entry().set_completion(completion);
}

// ---- EntryDropDwn

EntryDropDwn::EntryDropDwn(RowText text, const std::vector<std::string>& choices)
    : InputRow(std::move(text)) {
    for (const std::string& choice : choices)
        box_.append(choice, choice);
    describe(box_);
    box_.set_active(0);
}

void EntryDropDwn::setValue(const std::string& value) {
    // A word that the list does not have, such as an older spelling, is kept.
    if (!box_.set_active_id(value)) {
        box_.append(value, value);
        box_.set_active_id(value);
    }
}

void EntryDropDwn::loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                            const std::string& key) {
    setValue(keyFile.get_string(group, key));
}

void EntryDropDwn::save(Glib::KeyFile& keyFile, const std::string& group) const {
    if (const std::string text = value(); !text.empty()) keyFile.set_string(group, key(), text);
}

}  // namespace trelis
