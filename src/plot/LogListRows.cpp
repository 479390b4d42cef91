// LogList: how rows are made, filtered and opened.
#include <glibmm/main.h>
#include <gtk/gtk.h>

#include <algorithm>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/CanIface.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/LogList.h"

namespace trelis {
namespace {

/// Signals that a filter opens by itself; further messages that hold a match stay closed.
constexpr std::size_t kMostOpenedRows = 2000;
/// Signals that one turn of the main loop opens.
constexpr std::size_t kRowsATurn = 1000;

Glib::ustring escaped(const std::string& text) {
    return Glib::convert_return_gchar_ptr_to_ustring(
        g_markup_escape_text(text.c_str(), static_cast<gssize>(text.size())));
}

// Of items that are not none.
template <class Items, class Name>
const std::string& longestName(const Items& items, const Name& nameOf) {
    return nameOf(*std::ranges::max_element(
        items, {}, [&nameOf](const auto& item) { return nameOf(item).size(); }));
}

}  // namespace

struct LogList::RowValues {
    std::string name;
    bool active = false;
    std::uint32_t messageId = 0;
    Glib::ustring markup;
    RowType type = RowType::kInterface;
    std::uint32_t interfaceId = 0;
    std::string comment;
    bool visible = true;
};

Glib::ustring LogList::plainMarkup(const std::string& name) const {
    return "<span font=\"" + escaped(settings_.getListFont()) + "\">" + escaped(name) + "</span>";
}

Glib::ustring LogList::signalMarkup(const Signal& signal) const {
    const Message& message = *signal.message;
    const std::string interface = message.hasParent() ? message.parent()->name : "Can";
    const std::string color = store_.colorOf(interface, message.name, signal.name);
    return "<span font=\"" + escaped(settings_.getListFont()) + "\" foreground=\"" +
           escaped(color) + "\">" + escaped(signal.name) + "</span>";
}

bool LogList::isListed(const Signal& signal) const {
    return !signal.internalOnly && (showHidden_ || !signal.hidden);
}

std::vector<std::shared_ptr<Signal>> LogList::listedSignals(const Message& message) const {
    std::vector<std::shared_ptr<Signal>> listed;
    listed.reserve(message.signals.size());
    for (const auto& signal : message.signals)
        if (isListed(*signal)) listed.push_back(signal);
    std::stable_sort(listed.begin(), listed.end(), [](const auto& a, const auto& b) {
        return compareNames(a->name, b->name) < 0;
    });
    return listed;
}

LogList::RowValues LogList::signalValues(const Signal& signal) const {
    const Message& message = *signal.message;
    return {.name = signal.name,
            .active = signal.selected,
            .messageId = message.id,
            .markup = signalMarkup(signal),
            .type = RowType::kSignal,
            .interfaceId = message.hasParent() ? message.parent()->number : 0,
            .comment = signal.comment,
            .visible = filter_.isEmpty() || filter_.matches(RowType::kSignal, signal.name)};
}

// One call a row, where setting the columns one by one would tell every view of each. The first
// place is the only one that a tree store finds without walking the siblings.
void LogList::insertRow(const Row* parent, const RowValues& values) {
    GtkTreeIter iter;
    auto* parentIter = parent != nullptr ? const_cast<GtkTreeIter*>(parent->gobj()) : nullptr;
    const Glib::ustring tooltip = escaped(values.comment);
    gtk_tree_store_insert_with_values(
        model_->gobj(), &iter, parentIter, 0, columns_.name.index(), values.name.c_str(),
        columns_.active.index(), static_cast<gboolean>(values.active), columns_.messageId.index(),
        values.messageId, columns_.markup.index(), values.markup.c_str(),
        columns_.expandMark.index(), static_cast<gboolean>(values.active), columns_.rowType.index(),
        static_cast<guint>(values.type), columns_.interfaceId.index(), values.interfaceId,
        columns_.tooltip.index(), tooltip.empty() ? nullptr : tooltip.c_str(),
        columns_.visible.index(), static_cast<gboolean>(values.visible), -1);
}

// What a filter shows of an interface, and which of its messages the filter opens.
std::vector<LogList::ListedMessage> LogList::listMessages(const CanIface& interface,
                                                          std::size_t& opened) const {
    std::vector<ListedMessage> listed;
    const bool shown = filter_.matches(RowType::kInterface, interface.name);
    for (const auto& [id, message] : interface.messages)
        listed.push_back({message, shown && isShown(*message), false});
    std::ranges::stable_sort(listed, [](const auto& a, const auto& b) {
        return compareNames(a.message->name, b.message->name) < 0;
    });
    if (filter_.isEmpty()) return listed;
    for (ListedMessage& one : listed) {
        one.open = one.visible && opened < kMostOpenedRows;
        if (one.open) opened += one.message->signals.size();
    }
    return listed;
}

// The first place is the only one that a tree store finds at once, so rows are made from the last
// to the first, and each message gets what is below it before the next one comes. What a filter
// hides gets none.
void LogList::fillMessages(const Row& parent, std::vector<ListedMessage> messages) {
    if (messages.empty()) return;
    const std::uint32_t number = parent[columns_.interfaceId];
    makeRoomFor(longestName(
                    messages, [](const ListedMessage& one) -> auto& { return one.message->name; }),
                RowType::kMessage);
    if (sortOrder_ == Gtk::SORT_ASCENDING) std::ranges::reverse(messages);
    for (const auto& [message, visible, open] : messages) {
        if (!visible) continue;
        insertRow(&parent, {.name = message->name,
                            .active = message->selectedVisibleCount > 0,
                            .messageId = message->id,
                            .markup = plainMarkup(message->name),
                            .type = RowType::kMessage,
                            .interfaceId = number,
                            .comment = message->comment});
        if (!std::ranges::any_of(message->signals,
                                 [this](const auto& signal) { return isListed(*signal); }))
            continue;
        // The sorted place may be another than the first among equal names.
        const Row first = *parent.children().begin();
        const Row row =
            first[columns_.messageId] == message->id ? first : *findMessageRow(*message);
        insertRow(&row, {.name = "",
                         .messageId = message->id,
                         .markup = "",
                         .type = RowType::kPlaceholder,
                         .interfaceId = number,
                         .comment = ""});
        if (open) populate(row);
    }
}

void LogList::fillModel() {
    model_->clear();
    std::size_t opened = 0;
    for (const auto& [number, interface] : store_.interfaces) {
        if (number < firstInterface_ || number >= lastInterface_) continue;
        auto messages = listMessages(*interface, opened);
        insertRow(nullptr, {.name = interface->name,
                            .active = interface->selectedVisibleCount > 0,
                            .markup = plainMarkup(interface->name),
                            .type = RowType::kInterface,
                            .interfaceId = number,
                            .comment = "",
                            .visible = std::ranges::any_of(messages, &ListedMessage::visible)});
        for (const auto& row : model_->children())
            if (row[columns_.interfaceId] == number) fillMessages(row, std::move(messages));
    }
}

bool LogList::isPopulated(const Row& messageRow) const {
    const auto children = messageRow.children();
    return !children.empty() && typeOf(*children.begin()) != RowType::kPlaceholder;
}

// The placeholder turns into the first signal that the filter lets through: a row that a view knows
// is never taken from it while it is being opened.
void LogList::populate(const Row& messageRow) {
    if (messageRow.children().empty() || isPopulated(messageRow)) return;
    const auto message = messageOf(messageRow);
    auto signals = message ? listedSignals(*message) : std::vector<std::shared_ptr<Signal>>();
    if (signals.empty()) return;
    makeRoomFor(longestName(
                    signals, [](const auto& signal) -> auto& { return signal->name; }),
                RowType::kSignal);
    if (sortOrder_ == Gtk::SORT_ASCENDING) std::reverse(signals.begin(), signals.end());
    const auto shown = std::find_if(signals.rbegin(), signals.rend(), [this](const auto& signal) {
        return filter_.isEmpty() || filter_.matches(RowType::kSignal, signal->name);
    });
    const auto first = shown == signals.rend() ? signals.back() : *shown;
    const Row placeholder = *messageRow.children().begin();
    const RowValues values = signalValues(*first);
    const Glib::ustring tooltip = escaped(values.comment);
    gtk_tree_store_set(
        model_->gobj(), const_cast<GtkTreeIter*>(placeholder.gobj()), columns_.rowType.index(),
        static_cast<guint>(values.type), columns_.name.index(), values.name.c_str(),
        columns_.active.index(), static_cast<gboolean>(values.active), columns_.markup.index(),
        values.markup.c_str(), columns_.expandMark.index(), static_cast<gboolean>(values.active),
        columns_.tooltip.index(), tooltip.empty() ? nullptr : tooltip.c_str(),
        columns_.visible.index(), static_cast<gboolean>(values.visible), -1);
    for (const auto& signal : signals)
        if (signal != first) insertRow(&messageRow, signalValues(*signal));
}

// ---- rebuild

void LogList::showModel(const Glib::RefPtr<Gtk::TreeModel>& model) {
    set_model(model);
    // A new model lets the view look for a search column of its own, and forget the order.
    set_search_column(-1);
    nameColumn_.set_sort_indicator(true);
    nameColumn_.set_sort_order(sortOrder_);
}

std::list<LogList::row_t> LogList::expandedRows() {
    std::list<row_t> rows;
    if (!get_model()) return rows;
    map_expanded_rows([&](Gtk::TreeView*, const Gtk::TreeModel::Path& path) {
        const Row row = modelRow(get_model()->get_iter(path));
        row_t entry;
        if (typeOf(row) == RowType::kInterface) {
            entry.interface = nameOf(row);
        } else {
            entry.interface = nameOf(*row.parent());
            entry.message = nameOf(row);
        }
        rows.push_back(entry);
    });
    return rows;
}

void LogList::expandRows(const std::list<row_t>& rows) {
    RowSet names;
    for (const auto& row : rows)
        names.emplace(row.interface, row.message);
    for (const auto& interfaceRow : model_->children()) {
        const std::string interface = nameOf(interfaceRow);
        if (!names.contains({interface, ""})) continue;
        openRow(interfaceRow);
        for (const auto& row : interfaceRow.children())
            if (names.contains({interface, nameOf(row)})) openRow(row);
    }
}

void LogList::rebuild(std::uint32_t first, std::uint32_t last, bool keep) {
    const auto open = keep ? expandedRows() : std::list<row_t>();
    std::shared_ptr<Signal> current;
    if (const auto selected =
            get_model() ? get_selection()->get_selected() : Gtk::TreeModel::iterator();
        keep && selected && typeOf(modelRow(selected)) == RowType::kSignal)
        current = signalOf(modelRow(selected));
    stopExpanding();
    firstInterface_ = first;
    lastInterface_ = last;
    refill();
    if (!filter_.isEmpty()) return;
    expandRows(open);
    if (!current) return;
    const auto messageRow = findMessageRow(*current->message);
    if (!messageRow) return;
    populate(*messageRow);
    if (const auto row = findSignalRow(*current)) putCursor(viewPath(*row));
}

// Makes all rows anew, with the view taken off: to change the rows that are there would take the
// square of their number.
void LogList::refill() {
    unset_model();
    filtered_.reset();
    fillModel();
    if (filter_.isEmpty()) {
        showModel(model_);
        return;
    }
    filtered_ = Gtk::TreeModelFilter::create(model_);
    filtered_->set_visible_column(columns_.visible);
    showModel(filtered_);
    expandMatches();
}

void LogList::toggleHidden() {
    showHidden_ = !showHidden_;
    rebuild(firstInterface_, lastInterface_, true);
}

void LogList::refreshMarkup() {
    // Another font has another height.
    set_fixed_height_mode(false);
    set_fixed_height_mode(true);
    for (const auto& interfaceRow : model_->children()) {
        interfaceRow[columns_.markup] = plainMarkup(nameOf(interfaceRow));
        for (const auto& row : interfaceRow.children()) {
            row[columns_.markup] = plainMarkup(nameOf(row));
            if (!isPopulated(row)) continue;
            for (const auto& child : row.children())
                if (const auto signal = signalOf(child))
                    child[columns_.markup] = signalMarkup(*signal);
        }
    }
}

// ---- filter

bool LogList::isShown(const Message& message) const {
    return filter_.isEmpty() ||
           (filter_.matches(RowType::kMessage, message.name) &&
            std::ranges::any_of(message.signals, [this](const auto& signal) {
                return isListed(*signal) && filter_.matches(RowType::kSignal, signal->name);
            }));
}

// Paths are counted: a tree store would find each by a walk over its siblings.
void LogList::expandMatches() {
    const auto open = [this](const Gtk::TreeModel::Path& path) {
        const auto shown = filtered_->convert_child_path_to_path(path);
        if (!shown.empty()) expand_row(shown, false);
    };
    Gtk::TreeModel::Path path("0");
    for (const auto& interfaceRow : model_->children()) {
        open(path);
        path.down();
        for (const auto& row : interfaceRow.children()) {
            if (row[columns_.visible] && isPopulated(row)) open(path);
            path.next();
        }
        path.up();
        path.next();
    }
}

void LogList::applyFilter(const Glib::ustring& text) {
    if (filter_.text() == text.raw()) {
        if (text.empty()) refreshChecks();
        return;
    }
    if (filter_.isEmpty()) expandedBefore_ = expandedRows();
    stopExpanding();
    filter_ = ListFilter(text.raw());
    refill();
    if (filter_.isEmpty()) expandRows(expandedBefore_);
}

// ---- opening

// Only rows of the tree store are walked while rows are made: those of a filtered model lose their
// meaning with each change.
void LogList::openRow(const Row& row) {
    if (typeOf(row) == RowType::kMessage) populate(row);
    if (const auto path = viewPath(row); !path.empty()) expand_row(path, false);
}

void LogList::expandSelected() {
    for (const auto& interfaceRow : model_->children()) {
        if (!interfaceRow[columns_.expandMark]) continue;
        openRow(interfaceRow);
        for (const auto& row : interfaceRow.children())
            if (row[columns_.expandMark]) openRow(row);
    }
}

// A few rows at a time, so that the window stays usable while a large model opens.
void LogList::expandAll() {
    stopExpanding();
    for (const auto& interfaceRow : model_->children()) {
        if (filtered_ && !interfaceRow[columns_.visible]) continue;
        openRow(interfaceRow);
        for (const auto& row : interfaceRow.children())
            if (!filtered_ || row[columns_.visible]) rowsToExpand_.push_back(row);
    }
    if (expandSome())
        expandTimer_ = Glib::signal_idle().connect(sigc::mem_fun(*this, &LogList::expandSome));
}

void LogList::stopExpanding() {
    expandTimer_.disconnect();
    rowsToExpand_.clear();
}

bool LogList::expandSome() {
    std::size_t opened = 0;
    while (!rowsToExpand_.empty() && opened < kRowsATurn) {
        const Row row = rowsToExpand_.front();
        rowsToExpand_.pop_front();
        openRow(row);
        opened += row.children().size();
    }
    return !rowsToExpand_.empty();
}

}  // namespace trelis
