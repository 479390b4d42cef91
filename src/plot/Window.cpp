#include "plot/Window.h"

#include <atkmm/object.h>
#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/stylecontext.h>

#include <algorithm>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Frame.h"

namespace trelis {
namespace {

constexpr double kProgressUnit = 0.00392156862745098;  // of the bar; the Store counts to 255
constexpr unsigned kIndicatorMs = 1000;
constexpr unsigned kMessagesMs = 250;
constexpr unsigned kStillTicks = 3;  // seconds without news until a stream counts as silent
constexpr int kDefaultWidth = 1180;
constexpr int kDefaultHeight = 740;
constexpr int kTitleBar = 30;     // px; what a window manager may take of the height
constexpr int kAroundPlots = 64;  // px; title and menu bar
constexpr int kLeastPlots = 240;  // px; both plots on the smallest of screens

std::uint32_t statisticsEnd(const Store& store) {
    return std::max(kStatisticsOffset, store.highestInterface + 1);
}

void setName(Gtk::Widget& widget, const char* name) {
    widget.get_accessible()->set_name(name);
}

}  // namespace

Window::Window(Store& store, Settings& settings)
    : store_(store),
      settings_(settings),
      timeBox_(store),
      subPlot_(store, timeBox_, settings, *this),
      fullPlot_(store, timeBox_, settings),
      dataList_(store, settings, 0, kStatisticsOffset),
      statisticsList_(store, settings, kStatisticsOffset, statisticsEnd(store)),
      dropdowns_([this](DropdownRow row) { runDropdown(row); }) {
    set_title(store_.title);
    buildMenuBar();
    layOut();
    fitToScreen();
    loadCss();
    connectSources();
    spinner_.set_no_show_all(true);
    show_all_children();
    showGpsMenu();
    refreshSensitivity();
    updateProgress();
    subPlot_.grab_focus();
}

Window::~Window() {
    // The notebook switches pages while they leave it, when the search is gone.
    reloading_ = true;
}

std::unique_ptr<Window> createMainWindow(Store& store) {
    return std::make_unique<Window>(store, Settings::instance());
}

void Window::layOut() {
    const auto fillPage = [this](Gtk::ScrolledWindow& page, LogList& list, const char* title) {
        page.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_ALWAYS);
        page.set_vexpand(true);
        page.set_can_focus(false);
        list.set_can_focus(true);
        page.add(list);
        notebook_.append_page(page, title);
        setName(list, title);
    };
    fillPage(dataPage_, dataList_, "Data");
    fillPage(statisticsPage_, statisticsList_, "Statistics");
    notebook_.set_can_focus(true);

    searchEntry_.set_placeholder_text("Search");
    searchEntry_.set_tooltip_markup(
        "Filter out signals using special patterns like:\n\t- *\n\t- /\n\t- [aAe]");
    setName(searchEntry_, "Search");
    progressBar_.set_margin_top(1);
    progressBar_.set_fraction(1.0);
    progressBar_.set_can_focus(false);
    setName(progressBar_, "Progress");
    spinner_.set_can_focus(false);
    setName(spinner_, "Live data");

    grid_.set_can_focus(false);
    grid_.attach(notebook_, 0, 0, 3, 1);
    grid_.attach(searchEntry_, 0, 1, 3, 1);
    grid_.attach(progressBar_, 0, 2, 3, 1);
    grid_.attach(spinner_, 0, 2, 3, 1);

    vBox_.pack_start(menuBar_, Gtk::PACK_SHRINK);
    vBox_.pack_start(subPlot_, Gtk::PACK_EXPAND_WIDGET);
    vBox_.pack_start(separator_, Gtk::PACK_SHRINK);
    vBox_.pack_end(fullPlot_, Gtk::PACK_SHRINK);
    setName(subPlot_, "Signal plot");
    setName(fullPlot_, "Overview");
    subPlot_.set_can_focus(true);
    fullPlot_.set_can_focus(false);

    hBox_.pack_start(vBox_, Gtk::PACK_EXPAND_WIDGET);
    hBox_.pack_end(grid_, Gtk::PACK_SHRINK);
    add(hBox_);
}

// Of the monitor that shows the window, or will.
Gdk::Rectangle Window::workArea() {
    const auto display = get_display();
    const auto surface = get_window();
    auto monitor =
        surface ? display->get_monitor_at_window(surface) : display->get_primary_monitor();
    if (!monitor) monitor = display->get_monitor(0);
    Gdk::Rectangle area(0, 0, kDefaultWidth, kDefaultHeight);
    if (monitor) monitor->get_workarea(area);
    return area;
}

// The plots ask for 400 and 200 pixels. A screen that is too low for both, such as a scaled one,
// would lose the search and the bar below its edge: there they share what it has.
void Window::fitToScreen() {
    const Gdk::Rectangle area = workArea();
    const int height = std::max(area.get_height() - kAroundPlots, kLeastPlots);
    const int overview = std::min(FullPlot::kHeight, height / 3);
    subPlot_.set_size_request(SubPlot::kSmallest, std::min(SubPlot::kSmallest, height - overview));
    fullPlot_.set_size_request(-1, overview);
    if (!get_realized())
        set_default_size(std::min(kDefaultWidth, area.get_width()),
                         std::min(kDefaultHeight, height + kAroundPlots - kTitleBar));
}

void Window::loadCss() {
    try {
        const auto provider = Gtk::CssProvider::create();
        provider->load_from_data("progress, trough { min-height: 15px; }");
        Gtk::StyleContext::add_provider_for_screen(get_screen(), provider,
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    } catch (const Glib::Error&) {
        report(Level::kWarning, "Failed to load css");
    }
}

void Window::connectSources() {
    store_.statusChanged.connect(sigc::mem_fun(*this, &Window::updateProgress));
    store_.reloadRequested.connect(sigc::mem_fun(*this, &Window::reloadCommand));
    Glib::signal_timeout().connect(sigc::mem_fun(*this, &Window::updateLiveIndicator),
                                   kIndicatorMs);
    Glib::signal_timeout().connect(sigc::mem_fun(*this, &Window::showPendingMessages), kMessagesMs);

    searchEntry_.signal_changed().connect(sigc::mem_fun(*this, &Window::applySearch));
    searchEntry_.signal_key_press_event().connect(
        [this](GdkEventKey* event) {
            const bool enter = event->keyval == GDK_KEY_Return || event->keyval == GDK_KEY_KP_Enter;
            if (!enter || searchEntry_.get_text().empty()) return false;
            shownList().selectFirstMatch();
            return true;
        },
        false);
    notebook_.signal_switch_page().connect([this](Gtk::Widget*, guint page) {
        if (reloading_) return;
        (page == 0 ? dataList_ : statisticsList_).applyFilter(searchEntry_.get_text());
    });

    get_screen()->signal_monitors_changed().connect(sigc::mem_fun(*this, &Window::fitToScreen));
    get_screen()->signal_size_changed().connect(sigc::mem_fun(*this, &Window::fitToScreen));
    property_scale_factor().signal_changed().connect(sigc::mem_fun(*this, &Window::fitToScreen));
    for (LogList* list : {&dataList_, &statisticsList_}) {
        list->interfaceMenuWanted.connect(sigc::mem_fun(*this, &Window::popupInterfaceMenu));
        list->messageMenuWanted.connect(sigc::mem_fun(*this, &Window::popupMessageMenu));
        list->signalMenuWanted.connect(sigc::mem_fun(*this, &Window::popupSignalMenu));
        list->highlightWanted.connect(sigc::mem_fun(subPlot_, &SubPlot::highlightRow));
    }
    drag_dest_set({Gtk::TargetEntry("text/uri-list")}, Gtk::DEST_DEFAULT_ALL, Gdk::ACTION_COPY);
}

void Window::setCommands(WindowCommands commands) {
    commands_ = std::move(commands);
    refreshSensitivity();
}

void Window::setTitleText(const std::string& text) {
    store_.title = text;
    set_title(text);
}

// ---- lists

LogList& Window::shownList() {
    return notebook_.get_current_page() == 1 ? statisticsList_ : dataList_;
}

void Window::applySearch() {
    shownList().applyFilter(searchEntry_.get_text());
}

void Window::refreshLists() {
    dataList_.refreshChecks();
    statisticsList_.refreshChecks();
}

void Window::rebuildLists(bool keep) {
    dataList_.rebuild(0, kStatisticsOffset, keep);
    statisticsList_.rebuild(kStatisticsOffset, statisticsEnd(store_), keep);
}

// ---- commands on the data

void Window::updateSignals() {
    if (store_.liveMode) return;
    if (!store_.hasLogFiles())
        report(Level::kInfo, "No log files selected");
    else if (store_.counts.selectedCount == 0)
        report(Level::kInfo, "Select at least one signal");
    else if (store_.dumpToFile)
        report(Level::kInfo, "Wait for dump to finish");
    else
        store_.requestParse();
}

void Window::reloadCommand() {
    if (store_.waitingForWork()) return;
    if (store_.liveMode && spinning_) {
        if (store_.dongleMode)
            startCan(store_.dongleChannel);
        else if (commands_.reconnectLive)
            commands_.reconnectLive();
    } else {
        reload(true);
    }
}

// ---- progress and live indicator

void Window::updateProgress() {
    if (const auto surface = get_window()) {
        if (!waitCursor_) {
            waitCursor_ = Gdk::Cursor::create(get_display(), "wait");
            defaultCursor_ = Gdk::Cursor::create(get_display(), "default");
        }
        surface->set_cursor(store_.isBusy() ? waitCursor_ : defaultCursor_);
    }
    if (!store_.liveMode)
        progressBar_.set_fraction(
            std::clamp(static_cast<double>(store_.progress) * kProgressUnit, 0.0, 1.0));
}

void Window::startIndicator() {
    spinner_.start();
    spinner_.set_tooltip_text("Receiving data from logger");
    spinning_ = true;
}

void Window::stopIndicator() {
    spinner_.stop();
    spinning_ = false;
}

bool Window::updateLiveIndicator() {
    if (!store_.liveMode) {
        if (!progressShown_) {
            progressBar_.show();
            spinner_.hide();
            progressShown_ = true;
        }
        if (spinning_) stopIndicator();
        return true;
    }
    const std::uint64_t counter = store_.framesRead;
    if (progressShown_) {
        progressBar_.hide();
        stopIndicator();
        spinner_.show();
        lastCounter_ = counter;
        stillTicks_ = kStillTicks;
        progressShown_ = false;
        return true;
    }
    if (counter == lastCounter_) {
        if (++stillTicks_ >= kStillTicks && spinning_) {
            stopIndicator();
            spinner_.set_tooltip_text("No data currently received from logger");
        }
        return true;
    }
    stillTicks_ = 0;
    lastCounter_ = counter;
    if (!spinning_) startIndicator();
    return true;
}

// ---- keys

bool Window::handleFunctionKey(unsigned key) {
    switch (key) {
        case GDK_KEY_F1:
            showHelp();
            return true;
        case GDK_KEY_F2:
            changeTitle();
            return true;
        case GDK_KEY_F5:
            updateSignals();
            return true;
        case GDK_KEY_F11:
            toggleFullscreen();
            return true;
        case GDK_KEY_F12:
            toggleList();
            return true;
        default:
            return false;
    }
}

bool Window::handleControlKey(unsigned key) {
    switch (key) {
        case GDK_KEY_d:
            selectLogDirectories();
            return true;
        case GDK_KEY_f:
            searchEntry_.grab_focus();
            return true;
        case GDK_KEY_l:
            selectVsdFile();
            return true;
        case GDK_KEY_n:
            if (commands_.openLiveDialog) commands_.openLiveDialog();
            return true;
        case GDK_KEY_o:
            selectFiles(Input::kRecordings);
            return true;
        case GDK_KEY_r:
            reloadCommand();
            return true;
        default:
            return false;
    }
}

bool Window::handleAltKey(unsigned key) {
    switch (key) {
        case GDK_KEY_r:
            restoreSelection();
            return true;
        case GDK_KEY_s:
            storeSelection();
            return true;
        default:
            return false;
    }
}

bool Window::on_key_press_event(GdkEventKey* event) {
    const unsigned modifiers = event->state & (GDK_SHIFT_MASK | GDK_CONTROL_MASK | GDK_MOD1_MASK);
    const unsigned key = gdk_keyval_to_lower(event->keyval);
    if (handleFunctionKey(key)) return true;
    if ((modifiers & GDK_CONTROL_MASK) != 0) {
        if (handleControlKey(key)) return true;
    } else if ((modifiers & GDK_MOD1_MASK) != 0) {
        if (handleAltKey(key)) return true;
    } else if (modifiers == 0 && key < 0x80) {
        // The event goes on: the plot sees it, and so does a text field.
        subPlot_.setKeyHeld(static_cast<char>(gdk_keyval_to_upper(key)), true);
    }
    return Gtk::Window::on_key_press_event(event);
}

bool Window::on_key_release_event(GdkEventKey* event) {
    const unsigned key = gdk_keyval_to_upper(event->keyval);
    if (key < 0x80) subPlot_.setKeyHeld(static_cast<char>(key), false);
    return Gtk::Window::on_key_release_event(event);
}

bool Window::on_focus_out_event(GdkEventFocus* event) {
    for (const char key : {'C', 'F', 'H', 'S'})
        subPlot_.setKeyHeld(key, false);
    return Gtk::Window::on_focus_out_event(event);
}

}  // namespace trelis
