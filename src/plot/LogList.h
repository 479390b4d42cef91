// The tree of interfaces, messages and signals with a check box a row: what is to be plotted.
#pragma once

#include <gtkmm/cellrenderertext.h>
#include <gtkmm/cellrenderertoggle.h>
#include <gtkmm/treemodelfilter.h>
#include <gtkmm/treestore.h>
#include <gtkmm/treeview.h>

#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "plot/ListFilter.h"

namespace trelis {

class CanIface;
class Message;
class Settings;
class Signal;
class Store;

/// One view on the interfaces of a range of numbers. Rows of interfaces and messages are made at
/// once; the signals of a message get their rows when it is first opened, so that a model of a
/// million signals costs what is looked at. Main thread only.
class LogList : public Gtk::TreeView {
  public:
    struct ModelColumns : public Gtk::TreeModelColumnRecord {
        ModelColumns() {
            add(name);
            add(active);
            add(messageId);
            add(markup);
            add(expandMark);
            add(rowType);
            add(interfaceId);
            add(tooltip);
            add(visible);
        }
        Gtk::TreeModelColumn<Glib::ustring> name;     ///< plain; sort key and filter text
        Gtk::TreeModelColumn<bool> active;            ///< the check box
        Gtk::TreeModelColumn<unsigned> messageId;     ///< on message and signal rows
        Gtk::TreeModelColumn<Glib::ustring> markup;   ///< what the name column shows
        Gtk::TreeModelColumn<bool> expandMark;        ///< the row holds something selected
        Gtk::TreeModelColumn<unsigned> rowType;       ///< a RowType
        Gtk::TreeModelColumn<unsigned> interfaceId;   ///< on all rows
        Gtk::TreeModelColumn<Glib::ustring> tooltip;  ///< the comment, as markup; unset if none
        Gtk::TreeModelColumn<bool> visible;           ///< filter result
    };

    /// Names one row across a rebuild; parts of lower levels are empty.
    struct row_t {
        virtual ~row_t() = default;
        std::string interface;
        std::string message;
        std::string signal;
    };

    /// Shows interfaces from `first` up to but not including `last`.
    LogList(Store& store, const Settings& settings, std::uint32_t first, std::uint32_t last);

    /// Builds the tree anew from the store. With `keep`, open rows and the cursor stay.
    void rebuild(std::uint32_t first, std::uint32_t last, bool keep);
    /// Reads every check state from the signals again.
    void refreshChecks();
    /// Shows only what matches the text, see ListFilter; all of it for an empty text.
    void applyFilter(const Glib::ustring& text);
    /// Puts the cursor on the first signal that is shown.
    void selectFirstMatch();
    /// Opens the way to the signal's row and puts the cursor there; false if it is not in this
    /// list. A filter is dropped.
    bool selectSignal(const std::shared_ptr<Signal>& signal);
    /// Opens the rows that hold selected signals, or all.
    void expandSelected();
    void expandAll();
    /// Ends an expandAll that has not come to its end.
    void stopExpanding();
    void updateRowColor(const std::shared_ptr<Signal>& signal);
    /// Flips whether signals that their definition hides are listed, and rebuilds.
    void toggleHidden();

    [[nodiscard]] const ModelColumns& columns() const { return columns_; }

    /// A menu is wanted on an interface (whether it is the virtual one) or on empty space; on a
    /// message, with the first of its signals or none; on a signal.
    sigc::signal<void, bool> interfaceMenuWanted;
    sigc::signal<void, const std::shared_ptr<Signal>&> messageMenuWanted;
    sigc::signal<void, const std::shared_ptr<Signal>&> signalMenuWanted;
    /// The user pressed on a plotted signal: its row in the plot is to flash.
    sigc::signal<void, const std::shared_ptr<Signal>&> highlightWanted;

  protected:
    bool on_button_press_event(GdkEventButton* event) override;
    bool on_key_press_event(GdkEventKey* event) override;
    void on_row_activated(const Gtk::TreeModel::Path& path, Gtk::TreeViewColumn* column) override;
    bool on_test_expand_row(const Gtk::TreeModel::iterator& iter,
                            const Gtk::TreeModel::Path& path) override;
    void on_row_expanded(const Gtk::TreeModel::iterator& iter,
                         const Gtk::TreeModel::Path& path) override;
    void on_row_collapsed(const Gtk::TreeModel::iterator& iter,
                          const Gtk::TreeModel::Path& path) override;

  private:
    using Row = Gtk::TreeModel::Row;
    using RowSet = std::set<std::pair<std::string, std::string>>;  // interface and message name
    struct RowValues;
    struct ListedMessage {
        std::shared_ptr<Message> message;
        bool visible;  ///< the filter shows it
        bool open;     ///< and opens it
    };

    void buildColumns();
    void tintSelection();
    void makeRoomFor(const std::string& name, RowType level);
    void sortByName();
    void fillModel();
    [[nodiscard]] std::vector<ListedMessage> listMessages(const CanIface& interface,
                                                          std::size_t& opened) const;
    void fillMessages(const Row& parent, std::vector<ListedMessage> messages);
    void refill();
    /// Gives a message row the rows of its signals, if it has none yet.
    void populate(const Row& messageRow);
    void insertRow(const Row* parent, const RowValues& values);
    [[nodiscard]] RowValues signalValues(const Signal& signal) const;
    [[nodiscard]] std::vector<std::shared_ptr<Signal>> listedSignals(const Message& message) const;
    [[nodiscard]] bool isListed(const Signal& signal) const;
    [[nodiscard]] Glib::ustring plainMarkup(const std::string& name) const;
    [[nodiscard]] Glib::ustring signalMarkup(const Signal& signal) const;

    /// Whether the filter shows the message or a signal in it.
    [[nodiscard]] bool isShown(const Message& message) const;
    void expandMatches();
    [[nodiscard]] std::list<row_t> expandedRows();
    void expandRows(const std::list<row_t>& rows);
    /// Opens a row of the tree store in the view, if it is shown.
    void openRow(const Row& row);
    bool expandSome();
    void showModel(const Glib::RefPtr<Gtk::TreeModel>& model);
    void refreshMarkup();
    void refreshMessage(const Row& row, bool active);

    [[nodiscard]] Row modelRow(const Gtk::TreeModel::iterator& viewIter) const;
    [[nodiscard]] Gtk::TreeModel::Path viewPath(const Row& row) const;
    [[nodiscard]] bool isPopulated(const Row& messageRow) const;
    [[nodiscard]] RowType typeOf(const Row& row) const;
    [[nodiscard]] std::string nameOf(const Row& row) const;
    [[nodiscard]] std::shared_ptr<Message> messageOf(const Row& row) const;
    [[nodiscard]] std::shared_ptr<Signal> signalOf(const Row& row) const;
    [[nodiscard]] Gtk::TreeModel::iterator findMessageRow(const Message& message) const;
    [[nodiscard]] Gtk::TreeModel::iterator findSignalRow(const Signal& signal) const;

    void toggleRow(const Row& row);
    void popupMenu(const Gtk::TreeModel::Path* path);
    bool popupMenuAtCursor();
    void putCursor(const Gtk::TreeModel::Path& path);

    Store& store_;
    const Settings& settings_;
    std::uint32_t firstInterface_;
    std::uint32_t lastInterface_;
    bool showHidden_ = false;

    ModelColumns columns_;
    Glib::RefPtr<Gtk::TreeStore> model_;
    Glib::RefPtr<Gtk::TreeModelFilter> filtered_;  // empty while all is shown
    ListFilter filter_;
    std::deque<Row> rowsToExpand_;  // message rows of model_ that expandAll has not come to
    sigc::connection expandTimer_;
    std::list<row_t> expandedBefore_;  // what was open when the first letter of a filter came

    Gtk::TreeViewColumn nameColumn_{"Name"};
    Gtk::CellRendererText nameCell_;
    Gtk::TreeViewColumn toggleColumn_;
    Gtk::CellRendererToggle toggleCell_;
    Gtk::SortType sortOrder_ = Gtk::SORT_ASCENDING;
};

}  // namespace trelis
