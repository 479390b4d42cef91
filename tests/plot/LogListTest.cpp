#include "plot/LogList.h"

#include <gdk/gdkkeysyms.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/window.h>

#include <algorithm>

#include "model/CanIface.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/GuiTest.h"
#include "plot/WindowRig.h"
#include "support/TestStore.h"

namespace trelis {
namespace {

using test::TestStore;

TEST(ListFilter, TakesTheTextApartAtItsSlashes) {
    struct Case {
        const char* text;
        RowType level;
        const char* name;
        bool expected;
    };
    const Case cases[] = {
        {"wheel", RowType::kSignal, "FrontWHEELspeed", true},
        {"wheel", RowType::kSignal, "speed", false},
        {"wheel", RowType::kMessage, "anything", true},
        {"abs/", RowType::kMessage, "ABS_1", true},
        {"abs/", RowType::kMessage, "ESP", false},
        {"abs/", RowType::kSignal, "anything", true},
        {"abs/", RowType::kInterface, "anything", true},
        {"can/abs/speed", RowType::kInterface, "Can", true},
        {"can/abs/speed", RowType::kInterface, "Virt", false},
        {"can/abs/speed", RowType::kMessage, "esp", false},
        {"can/abs/speed", RowType::kSignal, "WheelSpeed", true},
        {"a/b/c/d", RowType::kSignal, "d", false},
        {"a/b/c/d", RowType::kInterface, "xa/b/c/dx", true},
        {"w*l", RowType::kSignal, "a_WHEEL_b", true},
        {"wh?el", RowType::kSignal, "wheel", true},
        {"wh?el", RowType::kSignal, "whel", false},
        {"[ae]", RowType::kSignal, "a", false},
        {"ÄRM", RowType::kSignal, "Wärme", true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ListFilter(c.text).matches(c.level, c.name), c.expected)
            << c.text << " on " << c.name;
}

std::shared_ptr<Signal> addSignal(const std::shared_ptr<Message>& message, const char* name) {
    auto signal = std::make_shared<Signal>(message, name);
    message->addSignal(name, signal);
    return signal;
}

class LogListTest : public testing::Test {
  protected:
    LogListTest() {
        const auto can = store_.addInterface("Can", 0);
        const auto abs = std::make_shared<Message>(2, "abs", can);
        can->addMessage(abs);
        abs->comment = "brakes & more";
        speed_ = addSignal(abs, "Speed");
        wheel_ = addSignal(abs, "frontWheel");
        secret_ = addSignal(abs, "secret");
        secret_->hidden = true;
        const auto engine = std::make_shared<Message>(1, "Engine", can);
        can->addMessage(engine);
        torque_ = addSignal(engine, "Torque");
        can->addMessage(std::make_shared<Message>(7, "Zero", can));
        const auto virt = store_.addInterface("Virt", 1024);
        const auto computed = std::make_shared<Message>(1, "Virtual", virt);
        virt->addMessage(computed);
        sum_ = addSignal(computed, "sum");
        statistics_ = store_.addInterface("ST_Can", 65536);
        list_ = std::make_unique<LogList>(store_, settings_, 0, 65536);
        window_.set_default_size(400, 500);
        scrolled_.add(*list_);
        window_.add(scrolled_);
    }

    /// The rows that the user could scroll to, a level of indentation a dot.
    std::vector<std::string> shownRows() {
        std::vector<std::string> rows;
        addRows(list_->get_model()->children(), "", rows);
        return rows;
    }
    void addRows(const Gtk::TreeModel::Children& children, const std::string& indent,
                 std::vector<std::string>& rows) {
        for (const auto& row : children) {
            const auto& columns = list_->columns();
            rows.push_back(indent + row.get_value(columns.name).raw() +
                           (row[columns.active] ? " x" : ""));
            if (list_->row_expanded(list_->get_model()->get_path(row)))
                addRows(row.children(), indent + ".", rows);
        }
    }
    Gtk::TreeModel::Path pathOf(const std::string& name) {
        Gtk::TreeModel::Path found;
        list_->get_model()->foreach_iter([&](const Gtk::TreeModel::iterator& row) {
            if (row->get_value(list_->columns().name).raw() != name) return false;
            found = list_->get_model()->get_path(row);
            return true;
        });
        return found;
    }
    /// Presses a button in the middle of a row's cell.
    void pressRow(const std::string& name, unsigned button, int columnIndex) {
        Gdk::Rectangle cell;
        list_->get_cell_area(pathOf(name), *list_->get_column(columnIndex), cell);
        clickRows(button, cell.get_x() + 15, cell.get_y() + cell.get_height() / 2);
    }
    /// A click at a place of the window that holds the rows.
    void clickRows(unsigned button, double x, double y) {
        for (const GdkEventType type : {GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE}) {
            GdkEvent* event = gdk_event_new(type);
            event->button.window = GDK_WINDOW(g_object_ref(list_->get_bin_window()->gobj()));
            event->button.time = GDK_CURRENT_TIME;
            event->button.x = x;
            event->button.y = y;
            event->button.button = button;
            GdkSeat* seat = gdk_display_get_default_seat(gdk_display_get_default());
            gdk_event_set_device(event, gdk_seat_get_pointer(seat));
            gtk_main_do_event(event);
            gdk_event_free(event);
        }
    }
    void show() { test::present(window_); }

    using Rows = std::vector<std::string>;

    test::Folder folder_;
    Settings settings_{SettingsPaths{folder_ / "settings", folder_ / "lists"}};
    TestStore store_;
    std::shared_ptr<Signal> speed_, wheel_, secret_, torque_, sum_;
    std::shared_ptr<CanIface> statistics_;
    std::unique_ptr<LogList> list_;
    Gtk::ScrolledWindow scrolled_;
    Gtk::Window window_;
};

TEST_F(LogListTest, ShowsTheModelSortedWithoutRegardToCase) {
    EXPECT_EQ(shownRows(), (Rows{"Can", "Virt"}));
    list_->expandAll();
    EXPECT_EQ(shownRows(), (Rows{"Can", ".abs", "..frontWheel", "..Speed", ".Engine", "..Torque",
                                 ".Zero", "Virt", ".Virtual", "..sum"}));
    // A click on the head turns the order round, also for rows that come later.
    list_->collapse_all();
    list_->get_column(0)->clicked();
    list_->expandAll();
    EXPECT_EQ(shownRows(), (Rows{"Virt", ".Virtual", "..sum", "Can", ".Zero", ".Engine", "..Torque",
                                 ".abs", "..Speed", "..frontWheel"}));
}

TEST_F(LogListTest, MakesSignalRowsWhenTheyAreLookedAt) {
    list_->expand_row(pathOf("Can"), false);
    EXPECT_TRUE(pathOf("Speed").empty());
    list_->expand_row(pathOf("abs"), false);
    EXPECT_EQ(shownRows(),
              (Rows{"Can", ".abs", "..frontWheel", "..Speed", ".Engine", ".Zero", "Virt"}));
    const auto row = *list_->get_model()->get_iter(pathOf("abs"));
    EXPECT_EQ(row.get_value(list_->columns().tooltip), "brakes &amp; more");
    // An interface that is opened with all below it.
    list_->expand_row(pathOf("Virt"), true);
    EXPECT_FALSE(pathOf("sum").empty());
}

TEST_F(LogListTest, ChecksFollowTheSelection) {
    speed_->setSelected(true);
    list_->expandAll();
    list_->refreshChecks();
    EXPECT_EQ(shownRows(), (Rows{"Can x", ".abs x", "..frontWheel", "..Speed x", ".Engine",
                                 "..Torque", ".Zero", "Virt", ".Virtual", "..sum"}));
    list_->collapse_all();
    list_->expandSelected();
    EXPECT_EQ(shownRows(),
              (Rows{"Can x", ".abs x", "..frontWheel", "..Speed x", ".Engine", ".Zero", "Virt"}));
    store_.clearSelection();
    list_->refreshChecks();
    EXPECT_EQ(shownRows(),
              (Rows{"Can", ".abs", "..frontWheel", "..Speed", ".Engine", ".Zero", "Virt"}));
}

TEST_F(LogListTest, ActivatingTogglesSignalsAndWholeMessages) {
    list_->expandAll();
    auto* name = list_->get_column(0);
    list_->row_activated(pathOf("Speed"), *name);
    EXPECT_TRUE(speed_->selected);
    list_->row_activated(pathOf("abs"), *name);  // some are on: all go off
    EXPECT_FALSE(speed_->selected);
    list_->row_activated(pathOf("abs"), *name);
    EXPECT_TRUE(speed_->selected && wheel_->selected);
    EXPECT_FALSE(secret_->selected);
    list_->row_activated(pathOf("Can"), *name);  // an interface is only cleared
    EXPECT_FALSE(speed_->selected || wheel_->selected);
    list_->row_activated(pathOf("Can"), *name);
    EXPECT_FALSE(speed_->selected || torque_->selected);

    store_.parsing = true;
    list_->row_activated(pathOf("Speed"), *name);
    EXPECT_FALSE(speed_->selected);
    EXPECT_EQ(TestStore::messages(), (Rows{"Wait for parse to complete"}));
    store_.parsing = false;
}

TEST_F(LogListTest, FiltersByLevelAndOpensTheMatches) {
    list_->expand_row(pathOf("Virt"), false);
    list_->applyFilter("WHEEL");
    EXPECT_EQ(shownRows(), (Rows{"Can", ".abs", "..frontWheel"}));
    EXPECT_TRUE(list_->get_column(0)->get_sort_indicator());
    list_->applyFilter("eng/");
    EXPECT_EQ(shownRows(), (Rows{"Can", ".Engine", "..Torque"}));
    list_->applyFilter("s");
    EXPECT_EQ(shownRows(), (Rows{"Can", ".abs", "..Speed", "Virt", ".Virtual", "..sum"}));
    list_->applyFilter("virt/virtual/s");
    EXPECT_EQ(shownRows(), (Rows{"Virt", ".Virtual", "..sum"}));
    list_->applyFilter("a/b/c/d");
    EXPECT_EQ(shownRows(), Rows{});
    list_->applyFilter("");
    EXPECT_EQ(shownRows(), (Rows{"Can", "Virt", ".Virtual"}));

    // Toggling works on filtered rows, and the check shows.
    list_->applyFilter("speed");
    list_->row_activated(pathOf("Speed"), *list_->get_column(0));
    EXPECT_TRUE(speed_->selected);
    EXPECT_EQ(shownRows(), (Rows{"Can x", ".abs x", "..Speed x"}));
    // What is checked where the filter hides it counts for the interface.
    list_->applyFilter("torque");
    list_->refreshChecks();
    EXPECT_EQ(shownRows(), (Rows{"Can x", ".Engine", "..Torque"}));
}

TEST_F(LogListTest, FindsSignalsAndFirstMatches) {
    EXPECT_TRUE(list_->selectSignal(torque_));
    EXPECT_EQ(list_->get_selection()->get_selected()->get_value(list_->columns().name), "Torque");
    EXPECT_FALSE(list_->selectSignal(secret_));
    list_->applyFilter("sp");
    list_->selectFirstMatch();
    EXPECT_EQ(list_->get_selection()->get_selected()->get_value(list_->columns().name), "Speed");
    EXPECT_TRUE(list_->selectSignal(torque_));  // drops the filter
    EXPECT_FALSE(pathOf("Virt").empty());
    static_cast<void>(TestStore::messages());
    EXPECT_FALSE(list_->selectSignal(nullptr));
    EXPECT_EQ(TestStore::messages(), (Rows{"sigPlotSelected called without any signal selected"}));
    LogList statistics(store_, settings_, 65536, 65537);
    EXPECT_FALSE(statistics.selectSignal(torque_));
}

TEST_F(LogListTest, RebuildKeepsWhatWasOpen) {
    list_->expand_row(pathOf("Can"), false);
    list_->expand_row(pathOf("abs"), false);
    list_->rebuild(0, 65536, true);
    EXPECT_EQ(shownRows(),
              (Rows{"Can", ".abs", "..frontWheel", "..Speed", ".Engine", ".Zero", "Virt"}));
    list_->toggleHidden();
    EXPECT_EQ(shownRows(), (Rows{"Can", ".abs", "..frontWheel", "..secret", "..Speed", ".Engine",
                                 ".Zero", "Virt"}));
    list_->rebuild(0, 65536, false);
    EXPECT_EQ(shownRows(), (Rows{"Can", "Virt"}));
    list_->applyFilter("wheel");
    store_.clearAll();
    list_->rebuild(0, 65536, true);
    EXPECT_EQ(shownRows(), Rows{});
}

TEST_F(LogListTest, MouseAndKeysReachTheRows) {
    show();
    list_->expandAll();
    test::pumpPending();
    std::vector<std::string> wanted;
    list_->signalMenuWanted.connect(
        [&](const std::shared_ptr<Signal>& signal) { wanted.push_back(signal->name); });
    list_->messageMenuWanted.connect([&](const std::shared_ptr<Signal>& signal) {
        wanted.push_back(signal ? "of " + signal->name : "of nothing");
    });
    list_->interfaceMenuWanted.connect(
        [&](bool isVirtual) { wanted.emplace_back(isVirtual ? "virtual" : "bus"); });
    list_->highlightWanted.connect(
        [&](const std::shared_ptr<Signal>& signal) { wanted.push_back("flash " + signal->name); });

    pressRow("Zero", 3, 0);
    pressRow("Speed", 3, 0);
    pressRow("abs", 3, 0);
    pressRow("Virt", 3, 0);
    pressRow("Can", 3, 0);
    list_->set_cursor(pathOf("Torque"));
    list_->grab_focus();
    test::pressKey(*list_, GDK_KEY_Menu);
    EXPECT_EQ(wanted, (Rows{"of nothing", "Speed", "of frontWheel", "virtual", "bus", "Torque"}));
    wanted.clear();

    pressRow("Speed", 1, 1);
    EXPECT_TRUE(speed_->selected);
    list_->set_cursor(pathOf("Torque"));
    test::pressKey(*list_, GDK_KEY_space);
    EXPECT_TRUE(torque_->selected);
    // Only a selected signal with data, among two, flashes.
    EXPECT_EQ(wanted, Rows{});
    pressRow("Speed", 1, 0);
    EXPECT_EQ(wanted, Rows{});
    speed_->addSample(1000, 1.0);
    pressRow("Speed", 1, 0);
    EXPECT_EQ(wanted, (Rows{"flash Speed"}));
}

TEST_F(LogListTest, ColoursFollowTheSignal) {
    std::string color = "#111122223333";
    store_.hooks.colorLookup = [&](const std::string&, const std::string&, const std::string&) {
        return color;
    };
    list_->rebuild(0, 65536, false);
    list_->expandAll();
    const auto markup = [&] {
        return list_->get_model()->get_iter(pathOf("Speed"))->get_value(list_->columns().markup);
    };
    EXPECT_EQ(markup(), "<span font=\"10.0\" foreground=\"#111122223333\">Speed</span>");
    color = "#ffff00000000";
    list_->updateRowColor(speed_);
    EXPECT_EQ(markup(), "<span font=\"10.0\" foreground=\"#ffff00000000\">Speed</span>");
}

// Rows of signals are made when they are looked at, so that the work is bound by what is shown.
TEST_F(LogListTest, ManySignalsCostWhatIsShown) {
    const auto big = store_.addInterface("Big", 1);
    for (std::uint32_t m = 0; m < 300; ++m) {
        const auto message = std::make_shared<Message>(m, "message" + std::to_string(m), big);
        big->addMessage(message);
        for (int s = 0; s < 100; ++s)
            addSignal(message, ("signal" + std::to_string(s)).c_str());
    }
    const auto rows = [this] {
        int count = 0;
        list_->get_model()->foreach_iter([&](const Gtk::TreeModel::iterator&) {
            ++count;
            return false;
        });
        return count;
    };
    list_->rebuild(0, 65536, false);
    EXPECT_LT(rows(), 1000);
    list_->applyFilter("signal");
    EXPECT_LT(rows(), 10000);
    list_->applyFilter("message299/signal7");
    list_->expand_all();
    EXPECT_EQ(rows(), 2 + 11);  // signal7 and signal70 to signal79
}

}  // namespace
}  // namespace trelis
