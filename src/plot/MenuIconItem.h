// A menu row with icon, label and hint.
#pragma once

#include <gdkmm/types.h>
#include <gtkmm/accellabel.h>
#include <gtkmm/box.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/menuitem.h>

#include <memory>
#include <string>

namespace trelis {

/// An icon that the theme lacks leaves its place empty. Main thread only.
class MenuIconItem : public Gtk::MenuItem {
  public:
    /// A row of a dropdown menu; `hint` is markup at the right end of the row, or empty.
    MenuIconItem(const std::string& icon, const Glib::ustring& text,
                 const Glib::ustring& hint = {});

    /// A row of the menu bar. `key`, 0 for none, is only shown: whoever handles it does so without
    /// this widget.
    MenuIconItem(const std::string& icon, const Glib::ustring& mnemonicText, unsigned key,
                 Gdk::ModifierType modifiers);

    /// Other text, with "_" before the mnemonic in a row of the menu bar.
    void setText(const Glib::ustring& text);
    void setMarkup(const Glib::ustring& markup);

  private:
    void pack(const std::string& icon);
    void refreshIcon();

    std::string iconName_;
    Gtk::Box box_{Gtk::ORIENTATION_HORIZONTAL, 8};
    Gtk::Image image_;
    std::unique_ptr<Gtk::Label> label_;  // a Gtk::AccelLabel in the menu bar
    Gtk::Label hint_;
    bool mnemonic_ = false;
};

}  // namespace trelis
