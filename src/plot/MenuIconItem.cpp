#include "plot/MenuIconItem.h"

#include <atkmm/object.h>
#include <gtkmm/icontheme.h>

#include <algorithm>

namespace trelis {
namespace {

constexpr int kIconSize = 16;  // px, as Gtk::ICON_SIZE_MENU

Glib::ustring withoutMnemonic(const Glib::ustring& text) {
    std::string plain = text.raw();
    std::erase(plain, '_');
    return plain;
}

}  // namespace

MenuIconItem::MenuIconItem(const std::string& icon, const Glib::ustring& text,
                           const Glib::ustring& hint)
    : label_(std::make_unique<Gtk::Label>(text)) {
    pack(icon);
    if (!hint.empty()) {
        hint_.set_markup(hint);
        box_.pack_end(hint_, Gtk::PACK_SHRINK);
    }
    get_accessible()->set_name(text);
}

MenuIconItem::MenuIconItem(const std::string& icon, const Glib::ustring& mnemonicText, unsigned key,
                           Gdk::ModifierType modifiers)
    : mnemonic_(true) {
    auto label = std::make_unique<Gtk::AccelLabel>(mnemonicText, true);
    if (key != 0) label->set_accel(key, modifiers);
    label_ = std::move(label);
    pack(icon);
    get_accessible()->set_name(withoutMnemonic(mnemonicText));
}

void MenuIconItem::pack(const std::string& icon) {
    iconName_ = icon;
    // Themes give some icons in larger sizes only.
    image_.set_pixel_size(kIconSize);
    image_.set_size_request(kIconSize, kIconSize);
    refreshIcon();
    Gtk::IconTheme::get_default()->signal_changed().connect(
        sigc::mem_fun(*this, &MenuIconItem::refreshIcon));
    label_->set_xalign(0.0F);
    box_.pack_start(image_, Gtk::PACK_SHRINK);
    box_.pack_start(*label_, Gtk::PACK_EXPAND_WIDGET);
    add(box_);
}

void MenuIconItem::refreshIcon() {
    if (!iconName_.empty() && Gtk::IconTheme::get_default()->has_icon(iconName_))
        image_.set_from_icon_name(iconName_, Gtk::ICON_SIZE_MENU);
    else
        image_.clear();
}

void MenuIconItem::setText(const Glib::ustring& text) {
    if (mnemonic_)
        label_->set_text_with_mnemonic(text);
    else
        label_->set_text(text);
    get_accessible()->set_name(mnemonic_ ? withoutMnemonic(text) : text);
}

void MenuIconItem::setMarkup(const Glib::ustring& markup) {
    label_->set_markup(markup);
    get_accessible()->set_name(label_->get_text());
}

}  // namespace trelis
