#include "plot/LogList.h"

#include <gdk/gdkkeysyms.h>
#include <gtkmm/scrolledwindow.h>

#include "model/CanIface.h"
#include "plot/WindowRig.h"
#include "support/Model.h"

namespace trelis {
namespace {

std::shared_ptr<Signal> addSignal(const std::shared_ptr<Message>& message,
                                  const std::string& name) {
    auto signal = std::make_shared<Signal>(message, name);
    message->addSignal(name, signal);
    return signal;
}

class LogListTest : public testing::Test {
  protected:
    LogListTest() {
        const auto abs = store_.addMessage(2, "abs");
        abs->comment = "brakes & more";
        speed_ = addSignal(abs, "Speed");
        wheel_ = addSignal(abs, "frontWheel");
        secret_ = addSignal(abs, "secret");
        secret_->hidden = true;
        torque_ = addSignal(store_.addMessage(1, "Engine"), "Torque");
        store_.addMessage(7, "Zero");
        const auto virt = store_.addInterface("Virt", 1024);
        const auto computed = std::make_shared<Message>(1, "Virtual", virt);
        virt->addMessage(computed);
        addSignal(computed, "Wärme");
        store_.addInterface("ST_Can", 65536);
        list_ = std::make_unique<LogList>(store_, settings_, 0, 65536);
        window_.set_default_size(400, 500);
        scrolled_.add(*list_);
        window_.add(scrolled_);
    }

    /// The rows that the user could scroll to: a dot a level of indentation, "+" if checked.
    std::string shownRows() {
        std::string rows;
        addRows(list_->get_model()->children(), " ", rows);
        return rows.substr(std::min<std::size_t>(1, rows.size()));
    }
    void addRows(const Gtk::TreeModel::Children& children, const std::string& indent,
                 std::string& rows) {
        for (const auto& row : children) {
            rows += indent + row.get_value(list_->columns().name).raw();
            if (row[list_->columns().active]) rows += "+";
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
    void open(const std::string& name) { list_->expand_row(pathOf(name), false); }
    void activate(const std::string& name) {
        list_->row_activated(pathOf(name), *list_->get_column(0));
    }
    std::string cursor() {
        return list_->get_selection()->get_selected()->get_value(list_->columns().name);
    }
    void clickRow(const std::string& name, unsigned button, int column = 0) {
        Gdk::Rectangle cell;
        list_->get_cell_area(pathOf(name), *list_->get_column(column), cell);
        test::click(list_->get_bin_window(), button, cell.get_x() + 15,
                    cell.get_y() + cell.get_height() / 2);
    }

    test::Folder folder_;
    Settings settings_{SettingsPaths{folder_ / "settings", folder_ / "lists"}};
    test::BusStore store_;
    std::shared_ptr<Signal> speed_, wheel_, secret_, torque_;
    std::unique_ptr<LogList> list_;
    Gtk::ScrolledWindow scrolled_;
    Gtk::Window window_;
};

TEST_F(LogListTest, ShowsTheModelSortedAndItsSignalsWhenLookedAt) {
    EXPECT_EQ(shownRows(), "Can Virt");
    open("Can");
    EXPECT_TRUE(pathOf("Speed").empty());
    open("abs");
    EXPECT_EQ(shownRows(), "Can .abs ..frontWheel ..Speed .Engine .Zero Virt");
    EXPECT_EQ(list_->get_model()->get_iter(pathOf("abs"))->get_value(list_->columns().tooltip),
              "brakes &amp; more");
    list_->expand_row(pathOf("Virt"), true);
    EXPECT_FALSE(pathOf("Wärme").empty());
    // A click on the head turns the order round, also for rows that come later.
    list_->collapse_all();
    list_->get_column(0)->clicked();
    list_->expandAll();
    EXPECT_EQ(shownRows(),
              "Virt .Virtual ..Wärme Can .Zero .Engine ..Torque .abs ..Speed ..frontWheel");
}

TEST_F(LogListTest, ChecksFollowTheSelection) {
    speed_->setSelected(true);
    list_->expandAll();
    list_->refreshChecks();
    EXPECT_EQ(shownRows(),
              "Can+ .abs+ ..frontWheel ..Speed+ .Engine ..Torque .Zero Virt .Virtual ..Wärme");
    list_->collapse_all();
    list_->expandSelected();
    EXPECT_EQ(shownRows(), "Can+ .abs+ ..frontWheel ..Speed+ .Engine .Zero Virt");
    store_.clearSelection();
    list_->refreshChecks();
    EXPECT_EQ(shownRows(), "Can .abs ..frontWheel ..Speed .Engine .Zero Virt");
}

TEST_F(LogListTest, ActivatingTogglesSignalsAndWholeMessages) {
    list_->expandAll();
    activate("Speed");
    EXPECT_TRUE(speed_->selected);
    activate("abs");  // some are on: all go off
    EXPECT_FALSE(speed_->selected);
    activate("abs");
    EXPECT_TRUE(speed_->selected && wheel_->selected);
    EXPECT_FALSE(secret_->selected);
    activate("Can");  // an interface is only cleared
    EXPECT_FALSE(speed_->selected || wheel_->selected);
    activate("Can");
    EXPECT_FALSE(speed_->selected || torque_->selected);

    store_.parsing = true;
    activate("Speed");
    store_.parsing = false;
    EXPECT_FALSE(speed_->selected);
    EXPECT_EQ(store_.messages(), Texts{"Wait for parse to complete"});
}

TEST_F(LogListTest, FiltersByLevelAndOpensTheMatches) {
    open("Virt");
    const std::pair<const char*, const char*> cases[] = {
        {"WHEEL", "Can .abs ..frontWheel"},
        {"eng/", "Can .Engine ..Torque"},
        {"e", "Can .abs ..frontWheel ..Speed .Engine ..Torque Virt .Virtual ..Wärme"},
        {"virt/virtual/w", "Virt .Virtual ..Wärme"},
        {"can/virtual/w", ""},
        {"a/b/c/d", ""},
        {"w*l", "Can .abs ..frontWheel"},
        {"wh?el", "Can .abs ..frontWheel"},
        {"wh?l", ""},
        {"[ae]", ""},
        {"ÄRM", "Virt .Virtual ..Wärme"},
        {"", "Can Virt .Virtual"},
    };
    for (const auto& [text, rows] : cases) {
        list_->applyFilter(text);
        EXPECT_EQ(shownRows(), rows) << text;
        EXPECT_TRUE(list_->get_column(0)->get_sort_indicator());
    }
    // Toggling works on filtered rows, and the check shows.
    list_->applyFilter("speed");
    activate("Speed");
    EXPECT_EQ(shownRows(), "Can+ .abs+ ..Speed+");
    // What is checked where the filter hides it counts for the interface.
    list_->applyFilter("torque");
    list_->refreshChecks();
    EXPECT_EQ(shownRows(), "Can+ .Engine ..Torque");
}

TEST_F(LogListTest, FindsSignalsAndFirstMatches) {
    EXPECT_TRUE(list_->selectSignal(torque_));
    EXPECT_EQ(cursor(), "Torque");
    EXPECT_FALSE(list_->selectSignal(secret_));
    list_->applyFilter("sp");
    list_->selectFirstMatch();
    EXPECT_EQ(cursor(), "Speed");
    EXPECT_TRUE(list_->selectSignal(torque_));
    EXPECT_FALSE(pathOf("Virt").empty()) << "the filter is dropped";
    EXPECT_FALSE(list_->selectSignal(nullptr));
    EXPECT_EQ(store_.messages(), Texts{"sigPlotSelected called without any signal selected"});
    EXPECT_FALSE(LogList(store_, settings_, 65536, 65537).selectSignal(torque_));
}

TEST_F(LogListTest, RebuildKeepsWhatWasOpen) {
    open("Can");
    open("abs");
    list_->toggleHidden();
    EXPECT_EQ(shownRows(), "Can .abs ..frontWheel ..secret ..Speed .Engine .Zero Virt");
    list_->rebuild(0, 65536, false);
    EXPECT_EQ(shownRows(), "Can Virt");
    list_->applyFilter("wheel");
    store_.clearAll();
    list_->rebuild(0, 65536, true);
    EXPECT_EQ(shownRows(), "");
}

TEST_F(LogListTest, MouseAndKeysReachTheRows) {
    test::present(window_);
    list_->expandAll();
    test::pumpPending();
    std::string wanted;
    list_->signalMenuWanted.connect([&](const auto& signal) { wanted += signal->name + " "; });
    list_->messageMenuWanted.connect(
        [&](const auto& signal) { wanted += "of:" + (signal ? signal->name : "nothing") + " "; });
    list_->interfaceMenuWanted.connect(
        [&](bool isVirtual) { wanted += isVirtual ? "virtual " : "bus "; });
    list_->highlightWanted.connect([&](const auto& signal) { wanted += "flash:" + signal->name; });

    for (const char* name : {"Zero", "Speed", "abs", "Virt", "Can"})
        clickRow(name, 3);
    list_->set_cursor(pathOf("Torque"));
    list_->grab_focus();
    test::pressKey(*list_, GDK_KEY_Menu);
    EXPECT_EQ(std::exchange(wanted, ""), "of:nothing Speed of:frontWheel virtual bus Torque ");

    clickRow("Speed", 1, 1);
    EXPECT_TRUE(speed_->selected);
    list_->set_cursor(pathOf("Torque"));
    test::pressKey(*list_, GDK_KEY_space);
    EXPECT_TRUE(torque_->selected);
    clickRow("Speed", 1);
    EXPECT_EQ(wanted, "") << "only a selected signal with data, among two, flashes";
    speed_->addSample(1000, 1.0);
    clickRow("Speed", 1);
    EXPECT_EQ(wanted, "flash:Speed");
}

TEST_F(LogListTest, ColoursFollowTheSignal) {
    std::string color = "#111122223333";
    store_.hooks.colorLookup = [&](const auto&, const auto&, const auto&) { return color; };
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
    for (std::uint32_t m = 100; m < 400; ++m) {
        const auto message = store_.addMessage(m, "message" + std::to_string(m));
        for (int s = 0; s < 100; ++s)
            addSignal(message, "signal" + std::to_string(s));
    }
    const auto rows = [this](const char* filter) {
        list_->applyFilter(filter);
        int count = 0;
        list_->get_model()->foreach_iter([&](const Gtk::TreeModel::iterator&) {
            ++count;
            return false;
        });
        return count;
    };
    list_->rebuild(0, 65536, false);
    EXPECT_LT(rows(""), 1000);
    EXPECT_LT(rows("signal"), 10000);
    EXPECT_EQ(rows("message299/signal7"), 2 + 11);  // signal7 and signal70 to signal79
}

}  // namespace
}  // namespace trelis
