#include <gdk/gdkkeysyms.h>
#include <gtkmm/accelgroup.h>
#include <gtkmm/clipboard.h>
#include <gtkmm/main.h>

#include "app/diagnostics/MessageLog.h"
#include "app/diagnostics/Report.h"
#include "plot/MenuIconItem.h"
#include "plot/WindowRig.h"

namespace trelis {
namespace {

using test::DialogAnswers;

// "label [key] tooltip" of every item, behind the name of a menu or "--" for a separator.
TEST_F(WindowTest, MenusHoldTheirItemsInOrder) {
    Texts found;
    for (const char* menu : {"File", "View", "GPS", "Signal list", "Tools", "Window", "Help"}) {
        std::string row = std::string(menu) + ": ";
        for (Gtk::Widget* child : probe_->menu(menu).get_submenu()->get_children()) {
            auto* item = dynamic_cast<MenuIconItem*>(child);
            if (item == nullptr) {
                row = "-- ";
                continue;
            }
            auto* label = test::findChild<Gtk::AccelLabel>(*item);
            guint key = 0;
            Gdk::ModifierType modifiers{};
            label->get_accel(key, modifiers);
            row += label->get_label();
            if (key != 0) row += " [" + Gtk::AccelGroup::get_label(key, modifiers) + "]";
            if (const auto tip = item->get_tooltip_text(); !tip.empty()) row += " " + tip.raw();
            found.push_back(std::exchange(row, ""));
        }
    }
    const Texts expected = {
        "File: Load _VSD file [Ctrl+L]",
        "New VSD file",
        "Load DB_C file",
        "-- _Reload VSD/DBC file [Ctrl+R] Reload current VSD or DBC file.",
        "_Edit loaded VSD/DBC",
        "-- _Open _log file(s) [Ctrl+O] Open a selection of log files.",
        "Open log _directory [Ctrl+D] Open an entire directory with log files.",
        "Open _live connection [Ctrl+N] Connect to logger and view live data",
        "Open _CSV table Open tables with a column of seconds and one for each signal.",
        "Open _ASC trace Open text traces of CAN frames.",
        "Open CAN _interface View the frames of a CAN interface of this machine.",
        "-- E_xit [Alt+F4]",
        "View: _Update signals [F5]",
        "-- Toggle _full screen [F11]",
        "Show/_hide signal list [F12]",
        "-- _Split/unsplit signals Toggle between plotting signals on separate rows or plotting "
        "all "
        "signals together",
        "Toggle _time format [T] Toggle how time is shown on ruler",
        "Toggle delta _value [D] Toggle how values are shown on secondary ruler",
        "_Delete rulers [Escape]",
        "-- Cro_p [Alt+Z]",
        "_Uncrop [Alt+X]",
        "GPS: Export GPS data Export GPS track to GPX-file",
        "Plot GPS track (beta) Show GPS track as a plot in a separate window",
        "Signal list: _Find signal [Ctrl+F] Find signals by filtering the signal list",
        "-- _Collapse all Collapse all CAN interfaces",
        "Expand _selected Expand all messages having selected signals",
        "Expand _all Expand all signals for all messages",
        "_Uncheck all Uncheck all signals",
        "-- _Store selected signals [Alt+S] Store currently selected signals in memory",
        "_Restore selected signals [Alt+R] Restore selected signals from memory",
        "-- Store signals _to file Store selected signals to file",
        "Restore signals fr_om file Restore selected signals from file",
        "Tools: _Copy signals (Ctrl-C) [Ctrl+C] Copy signals in selected interval to clipboard",
        "Export as _ASC [Ctrl+A] Create ASC file of selected time span.",
        "Window: _Change title [F2]",
        "_Preferences",
        "Help: _Commands and controls [F1]",
        "_Open quick guide"};
    EXPECT_EQ(found, expected);
}

TEST_F(WindowTest, ItemsOfAbsentToolWindowsAreInsensitive) {
    const auto* histogram =
        probe_->dropdowns().item(DropdownMenu::kSignal, DropdownRow::kHistogram);
    const auto& preferences = probe_->item("Window", "Preferences");
    EXPECT_FALSE(probe_->item("File", "Open live connection").get_sensitive());
    EXPECT_FALSE(probe_->item("Tools", "Copy signals (Ctrl-C)").get_sensitive());
    EXPECT_FALSE(preferences.get_sensitive() || histogram->get_sensitive());
    EXPECT_TRUE(probe_->item("File", "Open log file(s)").get_sensitive());
    int opened = 0;
    WindowCommands commands;
    commands.openPreferences = [&] { ++opened; };
    commands.openHistogram = [](const auto&) {};
    window_->setCommands(std::move(commands));
    EXPECT_TRUE(preferences.get_sensitive() && histogram->get_sensitive());
    probe_->choose("Window", "Preferences");
    EXPECT_EQ(opened, 1);
}

TEST_F(WindowTest, GpsMenuNeedsATrackAndALoggerThatSendsOne) {
    EXPECT_FALSE(probe_->menu("GPS").get_visible());
    store_.quadWire = true;
    window_->reload(true);
    EXPECT_TRUE(probe_->menu("GPS").get_visible());
    settings_.setVsdFile(kNoFile);
    window_->reload(true);  // no definitions, so no statistics of the logger
    EXPECT_FALSE(probe_->menu("GPS").get_visible());
    EXPECT_EQ(takeMessages(), Texts{"Could not reload, please select VSD/DBC file"});
}

TEST_F(WindowTest, UpdateTellsWhatIsMissing) {
    const auto update = [this] {
        test::pressKey(*window_, GDK_KEY_F5);
        return takeMessages();
    };
    EXPECT_EQ(update(), Texts{"No log files selected"});
    addSampleLogs();
    EXPECT_EQ(update(), Texts{"Select at least one signal"});
    signal(kSpeed)->setSelected(true);
    store_.dumpToFile = true;
    probe_->choose("View", "Update signals");
    EXPECT_EQ(takeMessages(), Texts{"Wait for dump to finish"});
    store_.dumpToFile = false;
    store_.startWorker();
    update();
    waitIdle();
    EXPECT_TRUE(signal(kSpeed)->hasData && window_->timeBox().isSet());
    store_.liveMode = true;
    update();
    EXPECT_FALSE(store_.parsing);
    store_.liveMode = false;
}

TEST_F(WindowTest, KeysDriveTheWindow) {
    test::pressKey(*window_, GDK_KEY_F12);
    EXPECT_FALSE(probe_->grid().get_visible());
    test::pressKey(*window_, GDK_KEY_F12);
    EXPECT_TRUE(probe_->grid().get_visible());
    test::pressKey(*window_, GDK_KEY_F, GDK_CONTROL_MASK);
    EXPECT_TRUE(probe_->search().has_focus());

    signal(kSpeed)->setSelected(true);
    test::pressKey(*window_, GDK_KEY_s, GDK_MOD1_MASK);
    probe_->choose("Signal list", "Uncheck all");
    EXPECT_FALSE(signal(kSpeed)->selected);
    store_.parsing = true;
    test::pressKey(*window_, GDK_KEY_R, GDK_CONTROL_MASK);
    test::pressKey(*window_, GDK_KEY_r, GDK_MOD1_MASK);
    store_.parsing = false;
    EXPECT_EQ(takeMessages(), Texts{"Wait for parse to complete"});
    EXPECT_FALSE(signal(kSpeed)->selected);
    test::pressKey(*window_, GDK_KEY_r, GDK_MOD1_MASK);
    EXPECT_TRUE(signal(kSpeed)->selected);
}

// The letters mark row actions of the plot, and typing still reaches the search.
TEST_F(WindowTest, HeldLettersTurnThePointerIntoACross) {
    const auto cross = [this] {
        const auto cursor = window_->subPlot().get_window()->get_cursor();
        return cursor && cursor == Gdk::Cursor::create(window_->get_display(), "crosshair");
    };
    EXPECT_FALSE(cross());
    test::pressKey(*window_, GDK_KEY_c);
    EXPECT_TRUE(cross());
    test::releaseKey(*window_, GDK_KEY_c);
    EXPECT_FALSE(cross());
    test::pressKey(*window_, GDK_KEY_c, GDK_SHIFT_MASK);
    EXPECT_FALSE(cross());
    probe_->search().grab_focus();
    test::pressKey(*window_, GDK_KEY_s);
    test::releaseKey(*window_, GDK_KEY_s);
    EXPECT_EQ(probe_->search().get_text(), "s");
}

TEST_F(WindowTest, SearchFiltersThePageThatIsShown) {
    probe_->search().set_text("powertrain/engine/enginespeed");
    const auto interfaces = [](LogList& list) { return list.get_model()->children().size(); };
    EXPECT_EQ(interfaces(probe_->dataList()), 1U);
    EXPECT_EQ(interfaces(probe_->statisticsList()), 3U);
    probe_->search().grab_focus();
    test::pressKey(*window_, GDK_KEY_Return);
    const auto cursor = probe_->dataList().get_selection()->get_selected();
    ASSERT_TRUE(cursor);
    EXPECT_EQ(cursor->get_value(probe_->dataList().columns().name), "EngineSpeed");
    probe_->notebook().set_current_page(1);
    EXPECT_EQ(interfaces(probe_->statisticsList()), 0U);

    window_->findInList(signal(kSpeed));
    EXPECT_EQ(probe_->search().get_text(), "");
    EXPECT_EQ(probe_->notebook().get_current_page(), 0);
}

TEST_F(WindowTest, ProgressAndBusyShow) {
    store_.progress = 51;
    store_.emitStatus();
    test::pumpPending();
    EXPECT_DOUBLE_EQ(probe_->bar().get_fraction(), 51 * 0.00392156862745098);
    const auto idle = window_->get_window()->get_cursor();
    store_.busyUp();
    test::pumpPending();
    EXPECT_NE(window_->get_window()->get_cursor(), idle);
    store_.busyDown();
    test::pumpPending();
    EXPECT_EQ(window_->get_window()->get_cursor(), idle);
}

TEST_F(WindowTest, TheSpinnerAndReloadsFollowTheStream) {
    int reconnected = 0;
    WindowCommands commands;
    commands.reconnectLive = [&] { ++reconnected; };
    window_->setCommands(std::move(commands));
    auto& spinner = probe_->spinner();
    const auto tick = [&](std::uint64_t framesRead) -> std::string {
        store_.framesRead = framesRead;
        probe_->tick();
        EXPECT_NE(spinner.get_visible(), probe_->bar().get_visible());
        if (!spinner.get_visible()) return "hidden";
        return window_->isSpinning() ? "turning" : "still";
    };
    EXPECT_EQ(tick(100), "hidden");
    store_.liveMode = true;
    EXPECT_EQ(tick(100), "still");
    EXPECT_EQ(tick(100), "still") << "nothing came since the connection";
    EXPECT_EQ(tick(101), "turning");
    EXPECT_EQ(spinner.get_tooltip_text(), "Receiving data from logger");
    EXPECT_EQ(tick(101), "turning");
    EXPECT_EQ(tick(101), "turning");
    window_->reloadCommand();
    EXPECT_EQ(reconnected, 1);
    EXPECT_TRUE(store_.liveMode);
    EXPECT_EQ(tick(101), "still");
    EXPECT_EQ(spinner.get_tooltip_text(), "No data currently received from logger");
    window_->reloadCommand();
    EXPECT_EQ(reconnected, 1) << "nothing comes any more: the connection is given up";
    EXPECT_EQ(tick(101), "hidden");
}

TEST_F(WindowTest, MessagesWaitForTheFirstLookAndThenComeOneByOne) {
    static Texts shown;
    shown.clear();
    MessageLog::instance().setPresenter(
        [](void*, const std::string& markup) { shown.push_back(markup); });
    report(Level::kInfo, "early");
    report(Level::kWarning, "a < b");
    probe_->showMessages();  // the window does not run yet
    EXPECT_TRUE(shown.empty());
    store_.guiRunning = true;
    probe_->showMessages();
    EXPECT_EQ(shown, Texts{"<span color='#ce7e00' weight='bold'>a &lt; b</span>\n"});
    DialogAnswers answers;
    for (const Level level : {Level::kInfo, Level::kWarning, Level::kError}) {
        answers.expect(Gtk::RESPONSE_OK);
        report(level, "told");
    }
    probe_->showMessages();
    EXPECT_EQ(answers.takeTexts(), (Texts{"|Information|told", "|Warning|told", "|Error|told"}));
    MessageLog::instance().setPresenter(nullptr);
}

TEST_F(WindowTest, HelpAndTitleDialogs) {
    DialogAnswers answers;
    answers.expect(Gtk::RESPONSE_OK);
    test::pressKey(*window_, GDK_KEY_F1);
    const std::string help = answers.takeTexts().at(0);
    EXPECT_TRUE(help.starts_with("|Commands and controls|")) << help;
    EXPECT_NE(help.find("<b>Alt-Z</b>   crop selected area\n"), std::string::npos);

    for (const int response : {int{Gtk::RESPONSE_CANCEL}, -5}) {
        EXPECT_EQ(window_->get_title(), "Signal Plot");
        answers.expect(response, [](Gtk::Dialog& dialog) {
            auto* entry = test::findChild<Gtk::Entry>(dialog);
            EXPECT_EQ(entry->get_text(), "Signal Plot");
            entry->set_text("Test drive");
            return true;
        });
        test::pressKey(*window_, GDK_KEY_F2);
    }
    EXPECT_EQ(window_->get_title(), "Test drive");
    EXPECT_EQ(store_.title, "Test drive");
}

TEST_F(WindowTest, MenusHideWhatDoesNotFitTheRow) {
    using enum DropdownMenu;
    const auto rows = [this](DropdownMenu menu, const auto& popup, const auto& row) {
        whilePressed([&] { (*window_.*popup)(row); });
        std::string shown;
        for (std::size_t i = 0; i < kDropdownRows; ++i)
            if (auto* item = probe_->dropdowns().item(menu, static_cast<DropdownRow>(i));
                item != nullptr && item->get_visible())
                shown += std::to_string(i) + " ";
        probe_->dropdowns().menu(menu).popdown();
        test::pumpPending();
        return shown;
    };
    const auto bus = signal(kSpeed);
    const auto computed = signal("Virt.Engine.TorqueCalm");
    constexpr auto kOnMessage = &Window::popupMessageMenu;
    constexpr auto kOnInterface = &Window::popupInterfaceMenu;
    EXPECT_EQ(rows(kPlot, &Window::popupPlotMenu, bus), "0 1 2 3 4 5 6 7 14 15 19 20 21 ");
    EXPECT_EQ(rows(kPlot, &Window::popupPlotMenu, computed), "0 1 2 3 4 6 7 14 15 16 19 20 21 22 ");
    EXPECT_EQ(rows(kSignal, &Window::popupSignalMenu, bus), "2 3 4 5 6 8 9 10 11 12 13 20 21 ");
    EXPECT_EQ(rows(kMessage, kOnMessage, bus), "5 8 9 10 11 12 13 20 21 ");
    EXPECT_EQ(rows(kMessage, kOnMessage, computed), "8 9 10 11 12 13 17 18 21 ");
    EXPECT_EQ(probe_->dropdownSignal(), computed);
    EXPECT_EQ(rows(kInterface, kOnInterface, true), "8 9 10 11 12 13 17 18 21 ");
    EXPECT_EQ(rows(kInterface, kOnInterface, false), "8 9 10 11 12 13 21 ");
    EXPECT_EQ(probe_->dropdownSignal(), nullptr);
}

TEST_F(WindowTest, RowActionsActOnTheirSignal) {
    const auto speed = signal(kSpeed);
    speed->setSelected(true);
    std::shared_ptr<Signal> opened;
    WindowCommands commands;
    commands.openHistogram = [&](const auto& wanted) { opened = wanted; };
    window_->setCommands(std::move(commands));
    const auto run = [this, &speed](DropdownRow row) {
        whilePressed([&] { window_->popupPlotMenu(speed); });
        probe_->dropdowns().menu(DropdownMenu::kPlot).popdown();
        probe_->dropdowns().item(DropdownMenu::kPlot, row)->activate();
        test::pumpPending();
    };
    run(DropdownRow::kHistogram);
    EXPECT_EQ(opened, speed);
    run(DropdownRow::kCopyName);
    EXPECT_EQ(Gtk::Clipboard::get(GDK_SELECTION_CLIPBOARD)->wait_for_text(), "EngineSpeed");
    run(DropdownRow::kMessageRate);
    EXPECT_EQ(probe_->notebook().get_current_page(), 1);
    EXPECT_EQ(probe_->dropdownSignal()->fullName, "ST_Powertrain.MsgRate.EngineData");
    run(DropdownRow::kHideSignal);
    EXPECT_FALSE(speed->selected);

    DialogAnswers answers;
    answers.expect(Gtk::RESPONSE_OK, [](Gtk::Dialog& dialog) {
        dynamic_cast<Gtk::ColorChooserDialog&>(dialog).set_rgba(Gdk::RGBA("#00ff80"));
        return true;
    });
    run(DropdownRow::kChangeColor);
    EXPECT_EQ(speed->color, "#0000ffff8080");
    EXPECT_EQ(settings_.getSignalColor("Powertrain", "EngineData", "EngineSpeed"), speed->color);
    EXPECT_EQ(answers.takeTexts(), (Texts{"Select line color"}));
}

}  // namespace
}  // namespace trelis
