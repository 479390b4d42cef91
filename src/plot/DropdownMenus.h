// The four menus that open on a plot row and on the rows of the signal list.
#pragma once

#include <gtkmm/menu.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>

namespace trelis {

/// Which menu: that of a plot row, or that of a row of the signal list.
enum class DropdownMenu : std::size_t { kPlot, kSignal, kMessage, kInterface };

/// Rows of the menus. Each menu holds some of them; the last three are separators.
enum class DropdownRow : std::size_t {
    kTitle,
    kFindInList,
    kCopyName,
    kChangeColor,
    kHistogram,
    kMessageRate,
    kShowStats,
    kHideSignal,
    kExpandSelected,
    kExpandAll,
    kCollapseAll,
    kUncheckAll,
    kStoreSelected,
    kRestoreSelected,
    kCrop,
    kUncrop,
    kEditSignal,
    kNewSignal,
    kToggleHidden,
    kDeleteRulers,
    kSeparator1,
    kSeparator2,
    kSeparator3,
};
inline constexpr std::size_t kDropdownRows = 23;
inline constexpr std::size_t kDropdownMenus = 4;

/// Owns the menus and their rows: a widget sits in one menu only, so each menu has its own widget
/// for each action. Main thread only.
class DropdownMenus {
  public:
    /// `activate` is told the row that the user chose.
    explicit DropdownMenus(std::function<void(DropdownRow)> activate);

    /// The title row of the plot menu shows this name.
    void setTitle(const Glib::ustring& name);
    /// Rows that a menu lacks are passed over; so they are by the next two.
    void setSensitive(DropdownRow row, bool sensitive);
    /// Shows all rows of a menu, before some are hidden.
    void showAll(DropdownMenu menu);
    void hideRow(DropdownMenu menu, DropdownRow row);
    /// Opens the menu at the pointer.
    void popup(DropdownMenu menu);

    [[nodiscard]] Gtk::Menu& menu(DropdownMenu which);
    /// Null if the menu lacks the row.
    [[nodiscard]] Gtk::MenuItem* item(DropdownMenu menu, DropdownRow row);

  private:
    void makeRow(DropdownMenu menu, DropdownRow row);

    std::function<void(DropdownRow)> activate_;
    std::array<std::array<std::unique_ptr<Gtk::MenuItem>, kDropdownMenus>, kDropdownRows> rows_;
    std::array<Gtk::Menu, kDropdownMenus> menus_;
};

}  // namespace trelis
