// Window: the menu bar.
#include <gdk/gdkkeysyms.h>
#include <glibmm/convert.h>
#include <gtkmm/separatormenuitem.h>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/HelpFolder.h"
#include "config/settings/Settings.h"
#include "model/CanIface.h"
#include "model/Frame.h"
#include "plot/MenuIconItem.h"
#include "plot/Window.h"
#include "virtual/GPSTrack.h"
#include "virtual/VirtualMessage.h"

namespace trelis {

/// A row of the menu bar's menus; one without a label is a separator.
struct Window::MenuEntry {
    const char* label = nullptr;  ///< "_" before the mnemonic
    const char* icon = "";
    unsigned key = 0;  ///< shown key, 0 for none
    Gdk::ModifierType modifiers = Gdk::ModifierType(0);
    const char* tooltip = "";
    std::function<void()> action = {};
    std::function<bool()> available = {};  ///< empty: always
};

namespace {

constexpr auto kPlain = Gdk::ModifierType(0);
constexpr auto kControl = Gdk::CONTROL_MASK;
constexpr auto kAlt = Gdk::MOD1_MASK;

}  // namespace

Gtk::MenuItem& Window::addMenu(const char* label, const std::vector<MenuEntry>& entries) {
    auto* menu = Gtk::make_managed<Gtk::Menu>();
    for (const MenuEntry& entry : entries) {
        if (entry.label == nullptr) {
            menu->append(*Gtk::make_managed<Gtk::SeparatorMenuItem>());
            continue;
        }
        auto* item =
            Gtk::make_managed<MenuIconItem>(entry.icon, entry.label, entry.key, entry.modifiers);
        if (*entry.tooltip != '\0') item->set_tooltip_text(entry.tooltip);
        item->signal_activate().connect(entry.action);
        if (entry.available) optionalItems_.emplace_back(item, entry.available);
        menu->append(*item);
    }
    auto* top = Gtk::make_managed<Gtk::MenuItem>(label, true);
    top->set_submenu(*menu);
    menuBar_.append(*top);
    return *top;
}

void Window::buildMenuBar() {
    buildFileMenu();
    buildViewMenu();
    buildGpsMenu();
    buildListMenu();
    buildToolMenus();
}

void Window::buildFileMenu() {
    addMenu(
        "_File",
        {{"Load _VSD file", "document-open", GDK_KEY_l, kControl, "", [this] { selectVsdFile(); }},
         {"New VSD file", "document-new", 0, kPlain, "", [this] { newVsdFile(); }},
         {"Load DB_C file", "text-x-generic", 0, kPlain, "", [this] { selectDbcFile(); }},
         {},
         {"_Reload VSD/DBC file", "view-refresh", GDK_KEY_r, kControl,
          "Reload current VSD or DBC file.", [this] { reloadCommand(); }},
         {"_Edit loaded VSD/DBC", "document-properties", 0, kPlain, "",
          [this] { editLoadedFile(); }},
         {},
         {"_Open _log file(s)", "emblem-documents", GDK_KEY_o, kControl,
          "Open a selection of log files.", [this] { selectFiles(Input::kRecordings); }},
         {"Open log _directory", "folder-open", GDK_KEY_d, kControl,
          "Open an entire directory with log files.", [this] { selectLogDirectories(); }},
         {"Open _live connection", "network-wireless", GDK_KEY_n, kControl,
          "Connect to logger and view live data", [this] { commands_.openLiveDialog(); },
          [this] { return commands_.openLiveDialog != nullptr; }},
         {"Open _CSV table", "x-office-spreadsheet", 0, kPlain,
          "Open tables with a column of seconds and one for each signal.",
          [this] { selectFiles(Input::kTables); }},
         {"Open _ASC trace", "text-x-generic", 0, kPlain, "Open text traces of CAN frames.",
          [this] { selectFiles(Input::kTraces); }},
         {"Open CAN _interface", "network-wired", 0, kPlain,
          "View the frames of a CAN interface of this machine.", [this] { openCanInterface(); }},
         {},
         {"E_xit", "application-exit", GDK_KEY_F4, kAlt, "", [this] { hide(); }}});
}

void Window::buildViewMenu() {
    addMenu(
        "_View",
        {{"_Update signals", "view-refresh", GDK_KEY_F5, kPlain, "", [this] { updateSignals(); }},
         {},
         {"Toggle _full screen", "view-fullscreen", GDK_KEY_F11, kPlain, "",
          [this] { toggleFullscreen(); }},
         {"Show/_hide signal list", "zoom-out", GDK_KEY_F12, kPlain, "", [this] { toggleList(); }},
         {},
         {"_Split/unsplit signals", "object-flip-vertical", 0, kPlain,
          "Toggle between plotting signals on separate rows or plotting all signals together",
          [this] {
              settings_.setSplitView(!settings_.getSplitView());
              store_.requestRedraw();
          }},
         {"Toggle _time format", "document-open-recent", GDK_KEY_t, kPlain,
          "Toggle how time is shown on ruler",
          [this] {
              settings_.setPrettyTime(!settings_.getPrettyTime());
              subPlot_.queue_draw();
          }},
         {"Toggle delta _value", "applications-engineering", GDK_KEY_d, kPlain,
          "Toggle how values are shown on secondary ruler",
          [this] {
              settings_.setShowDelta(!settings_.getShowDelta());
              subPlot_.queue_draw();
          }},
         {"_Delete rulers", "edit-delete", GDK_KEY_Escape, kPlain, "",
          [this] { subPlot_.deleteRulers(); }},
         {},
         {"Cro_p", "zoom-fit-best", GDK_KEY_z, kAlt, "", [this] { subPlot_.crop(); }},
         {"_Uncrop", "zoom-original", GDK_KEY_x, kAlt, "", [this] { store_.clearInterval(); }}});
}

void Window::buildGpsMenu() {
    gpsMenu_ = &addMenu(
        "_GPS",
        {{"Export GPS data", "emblem-web", 0, kPlain, "Export GPS track to GPX-file",
          [this] { exportGps(); }},
         {"Plot GPS track (beta)", "", 0, kPlain, "Show GPS track as a plot in a separate window",
          [this] { plotGps(); }, [this] { return commands_.showGps != nullptr; }}});
    gpsMenu_->show_all();
    gpsMenu_->set_no_show_all(true);
}

void Window::buildListMenu() {
    addMenu(
        "Signal _list",
        {{"_Find signal", "edit-find", GDK_KEY_f, kControl,
          "Find signals by filtering the signal list", [this] { searchEntry_.grab_focus(); }},
         {},
         {"_Collapse all", "zoom-out", 0, kPlain, "Collapse all CAN interfaces",
          [this] { collapseAll(); }},
         {"Expand _selected", "list-add", 0, kPlain, "Expand all messages having selected signals",
          [this] { expandSelected(); }},
         {"Expand _all", "zoom-in", 0, kPlain, "Expand all signals for all messages",
          [this] { expandAll(); }},
         {"_Uncheck all", "edit-clear", 0, kPlain, "Uncheck all signals", [this] { uncheckAll(); }},
         {},
         {"_Store selected signals", "bookmark-new", GDK_KEY_s, kAlt,
          "Store currently selected signals in memory", [this] { storeSelection(); }},
         {"_Restore selected signals", "", GDK_KEY_r, kAlt, "Restore selected signals from memory",
          [this] { restoreSelection(); }},
         {},
         {"Store signals _to file", "starred", 0, kPlain, "Store selected signals to file",
          [this] { storeListFile(); }},
         {"Restore signals fr_om file", "user-bookmarks", 0, kPlain,
          "Restore selected signals from file", [this] { restoreListFile(); }}});
}

void Window::buildToolMenus() {
    addMenu("_Tools",
            {{"_Copy signals (Ctrl-C)", "edit-copy", GDK_KEY_c, kControl,
              "Copy signals in selected interval to clipboard", [this] { subPlot_.copySignals(); },
              [this] { return commands_.openSampleTable != nullptr; }},
             {"Export as _ASC", "document-send", GDK_KEY_a, kControl,
              "Create ASC file of selected time span.", [this] { subPlot_.dumpToAsc(); }}});
    addMenu("_Window",
            {{"_Change title", "tools-check-spelling", GDK_KEY_F2, kPlain, "",
              [this] { changeTitle(); }},
             {"_Preferences", "system-run", 0, kPlain, "", [this] { commands_.openPreferences(); },
              [this] { return commands_.openPreferences != nullptr; }}});
    addMenu(
        "_Help",
        {{"_Commands and controls", "help-about", GDK_KEY_F1, kPlain, "", [this] { showHelp(); }},
         {"_Open quick guide", "help-browser", 0, kPlain, "", [this] { openGuide(); }}});
}

void Window::refreshSensitivity() {
    for (const auto& [item, available] : optionalItems_)
        item->set_sensitive(available());
    dropdowns_.setSensitive(DropdownRow::kHistogram, commands_.openHistogram != nullptr);
    dropdowns_.setSensitive(DropdownRow::kShowStats, commands_.openStatistics != nullptr);
    dropdowns_.setSensitive(DropdownRow::kEditSignal, commands_.editSignal != nullptr);
    dropdowns_.setSensitive(DropdownRow::kNewSignal, commands_.newSignal != nullptr);
}

// ---- what the items do

void Window::toggleFullscreen() {
    fullscreen_ = !fullscreen_;
    if (fullscreen_)
        fullscreen();
    else
        unfullscreen();
}

void Window::toggleList() {
    listHidden_ = !listHidden_;
    grid_.set_visible(!listHidden_);
}

void Window::makeGpsTrack() {
    const auto interface = store_.findInterfaceByNumber(kLoggerInterface + kStatisticsOffset);
    if (!interface) return;
    for (const auto& [id, message] : interface->messages)
        if (const auto rates = std::dynamic_pointer_cast<VirtualMessage>(message))
            gpsTrack_ = GPSTrack::create(rates);
}

void Window::showGpsMenu() {
    makeGpsTrack();
    const bool wanted = gpsTrack_ && (store_.liveMode || store_.legacyGps || store_.quadWire);
    gpsMenu_->set_visible(wanted);
    if (!wanted) return;
    // A hidden signal is not selected: this user lets the next parse compute it.
    gpsTrack_->addUser(nullptr);
    store_.recount();
}

void Window::plotGps() {
    if (store_.parsing)
        report(Level::kInfo, "Wait for parse to complete");
    else if (gpsTrack_)
        commands_.showGps(gpsTrack_);
}

void Window::openGuide() {
    GError* error = nullptr;
    const std::string uri = Glib::filename_to_uri(helpPage("sigmira_quick_guide"));
    gtk_show_uri_on_window(gobj(), uri.c_str(), GDK_CURRENT_TIME, &error);
    if (error == nullptr) return;
    report(Level::kInfo, format("Couldn't open the quick guide: %s", error->message));
    g_error_free(error);
}

}  // namespace trelis
