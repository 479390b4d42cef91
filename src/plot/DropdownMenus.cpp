#include "plot/DropdownMenus.h"

#include <glibmm/markup.h>
#include <gtkmm/separatormenuitem.h>

#include <initializer_list>
#include <span>
#include <utility>

#include "plot/MenuIconItem.h"

namespace trelis {
namespace {

using enum DropdownRow;

struct RowText {
    const char* icon;
    const char* text;
    const char* hint;      ///< in all menus
    const char* plotHint;  ///< in the plot menu: the key to hold for a click
};

// In the order of DropdownRow, without the separators.
constexpr std::array<RowText, 20> kRowTexts = {{
    {"", "", "", ""},
    {"edit-find", "Find in list", "", "F+&lt;left but&gt;"},
    {"edit-copy", "Copy name", "", ""},
    {"applications-graphics", "Change color", "", "C+&lt;left but&gt;"},
    {"", "Histogram", "", ""},
    {"", "Message rate", "", ""},
    {"document-page-setup", "Show stats", "", "S+&lt;left but&gt;"},
    {"list-remove", "Hide signal", "", "H+&lt;left but&gt;"},
    {"list-add", "Expand selected", "", ""},
    {"zoom-in", "Expand all", "", ""},
    {"zoom-out", "Collapse all", "", ""},
    {"edit-clear", "Uncheck all", "", ""},
    {"bookmark-new", "Store selected", "Alt+S", ""},
    {"", "Restore selected", "Alt+R", ""},
    {"zoom-fit-best", "Crop", "Alt+Z", ""},
    {"zoom-original", "Uncrop", "Alt+X", ""},
    {"document-properties", "Edit signal", "", ""},
    {"document-new", "New signal", "", ""},
    {"changes-allow", "Toggle hidden", "", ""},
    {"edit-delete", "Delete rulers", "Esc", ""},
}};

constexpr auto kPlotRows = {kTitle,       kSeparator1, kCrop,       kUncrop,      kDeleteRulers,
                            kSeparator2,  kFindInList, kCopyName,   kChangeColor, kHistogram,
                            kMessageRate, kShowStats,  kHideSignal, kSeparator3,  kEditSignal};
constexpr auto kSignalRows = {kCopyName,        kChangeColor, kHistogram,      kMessageRate,
                              kShowStats,       kSeparator1,  kExpandSelected, kExpandAll,
                              kCollapseAll,     kUncheckAll,  kSeparator2,     kStoreSelected,
                              kRestoreSelected, kEditSignal};
constexpr auto kMessageRows = {kMessageRate,   kSeparator1,      kExpandSelected, kExpandAll,
                               kCollapseAll,   kUncheckAll,      kToggleHidden,   kSeparator2,
                               kStoreSelected, kRestoreSelected, kNewSignal};
constexpr auto kInterfaceRows = {kExpandSelected, kExpandAll,       kCollapseAll,
                                 kUncheckAll,     kToggleHidden,    kSeparator2,
                                 kStoreSelected,  kRestoreSelected, kNewSignal};

constexpr int kSeparatorMargin = 10;  // px

std::size_t indexOf(DropdownMenu menu) {
    return static_cast<std::size_t>(menu);
}
std::size_t indexOf(DropdownRow row) {
    return static_cast<std::size_t>(row);
}

Glib::ustring hintMarkup(const char* hint) {
    if (*hint == '\0') return {};
    return Glib::ustring(" <span color=\"gray\" >") + hint + "</span>";
}

}  // namespace

DropdownMenus::DropdownMenus(std::function<void(DropdownRow)> activate)
    : activate_(std::move(activate)) {
    const auto fill = [this](DropdownMenu menu, std::initializer_list<DropdownRow> rows) {
        for (const DropdownRow row : rows)
            makeRow(menu, row);
    };
    fill(DropdownMenu::kPlot, kPlotRows);
    fill(DropdownMenu::kSignal, kSignalRows);
    fill(DropdownMenu::kMessage, kMessageRows);
    fill(DropdownMenu::kInterface, kInterfaceRows);
}

void DropdownMenus::makeRow(DropdownMenu menu, DropdownRow row) {
    auto& item = rows_[indexOf(row)][indexOf(menu)];
    if (row >= kSeparator1) {
        item = std::make_unique<Gtk::SeparatorMenuItem>();
        item->set_margin_top(kSeparatorMargin);
    } else {
        const RowText& text = kRowTexts[indexOf(row)];
        const bool plot = menu == DropdownMenu::kPlot && *text.plotHint != '\0';
        item = std::make_unique<MenuIconItem>(text.icon, text.text,
                                              hintMarkup(plot ? text.plotHint : text.hint));
        item->signal_activate().connect([this, row] { activate_(row); });
        item->set_sensitive(row != kTitle);
    }
    menus_[indexOf(menu)].append(*item);
}

void DropdownMenus::setTitle(const Glib::ustring& name) {
    if (auto* title = dynamic_cast<MenuIconItem*>(item(DropdownMenu::kPlot, kTitle)))
        title->setMarkup("<b>" + Glib::Markup::escape_text(name) + "</b>");
}

void DropdownMenus::setSensitive(DropdownRow row, bool sensitive) {
    for (const auto& item : rows_[indexOf(row)])
        if (item) item->set_sensitive(sensitive);
}

void DropdownMenus::showAll(DropdownMenu menu) {
    menus_[indexOf(menu)].show_all();
}

void DropdownMenus::hideRow(DropdownMenu menu, DropdownRow row) {
    if (auto* found = item(menu, row)) found->hide();
}

void DropdownMenus::popup(DropdownMenu menu) {
    menus_[indexOf(menu)].popup_at_pointer(nullptr);
}

Gtk::Menu& DropdownMenus::menu(DropdownMenu which) {
    return menus_[indexOf(which)];
}

Gtk::MenuItem* DropdownMenus::item(DropdownMenu menu, DropdownRow row) {
    return rows_[indexOf(row)][indexOf(menu)].get();
}

}  // namespace trelis
