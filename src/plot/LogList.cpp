#include "plot/LogList.h"

#include <gdk/gdkkeysyms.h>
#include <glibmm/main.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/stylecontext.h>
#include <gtkmm/treerowreference.h>

#include <algorithm>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "model/CanIface.h"
#include "model/Frame.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

// px; longer names end with dots
constexpr int kLeastNameWidth = 200;
constexpr int kMostNameWidth = 480;

}  // namespace

LogList::LogList(Store& store, const Settings& settings, std::uint32_t first, std::uint32_t last)
    : store_(store),
      settings_(settings),
      firstInterface_(first),
      lastInterface_(last),
      model_(Gtk::TreeStore::create(columns_)) {
    buildColumns();
    tintSelection();
    set_enable_search(false);
    set_search_column(-1);
    set_tooltip_column(columns_.tooltip.index());
    add_events(Gdk::BUTTON_PRESS_MASK | Gdk::KEY_PRESS_MASK);
    // The toolkit's own request for a menu, which comes with Shift-F10.
    signal_popup_menu().connect(sigc::mem_fun(*this, &LogList::popupMenuAtCursor));
    store_.settingsChanged.connect(sigc::mem_fun(*this, &LogList::refreshMarkup));
    rebuild(first, last, false);
}

// Names keep the colours of their signals in the selected row, too, so it is only tinted.
void LogList::tintSelection() {
    try {
        const auto provider = Gtk::CssProvider::create();
        provider->load_from_data(
            "treeview.view:selected { color: @theme_text_color;"
            " background-color: alpha(@theme_selected_bg_color, 0.3); }");
        get_style_context()->add_provider(provider, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    } catch (const Glib::Error&) {
        report(Level::kWarning, "Failed to load css");
    }
}

void LogList::buildColumns() {
    nameColumn_.pack_start(nameCell_);
    nameColumn_.add_attribute(nameCell_.property_markup(), columns_.markup);
    nameColumn_.set_clickable(true);
    nameColumn_.set_min_width(kLeastNameWidth);
    nameColumn_.set_sizing(Gtk::TREE_VIEW_COLUMN_FIXED);
    nameCell_.property_ellipsize() = Pango::ELLIPSIZE_END;
    nameColumn_.signal_clicked().connect(sigc::mem_fun(*this, &LogList::sortByName));
    append_column(nameColumn_);

    toggleCell_.set_fixed_size(40, -1);
    toggleCell_.set_alignment(0.02F, 0.5F);
    toggleCell_.property_activatable() = true;
    toggleColumn_.pack_start(toggleCell_);
    toggleColumn_.add_attribute(toggleCell_.property_active(), columns_.active);
    toggleColumn_.set_clickable(false);
    toggleColumn_.set_sizing(Gtk::TREE_VIEW_COLUMN_FIXED);
    append_column(toggleColumn_);
    // The view would measure each row, for seconds if there are many, to know how far it can
    // scroll. All are alike.
    set_fixed_height_mode(true);
    toggleCell_.signal_toggled().connect([this](const Glib::ustring& path) {
        const auto iter = get_model()->get_iter(path);
        if (iter) toggleRow(modelRow(iter));
    });

    model_->set_sort_func(columns_.name, [this](const Gtk::TreeModel::iterator& a,
                                                const Gtk::TreeModel::iterator& b) {
        return compareNames(nameOf(*a), nameOf(*b));
    });
    nameColumn_.clicked();
}

// The name column is as wide as the longest name needs that was listed so far.
void LogList::makeRoomFor(const std::string& name, RowType level) {
    constexpr int kIndent = 24;  // px a level, with the arrow
    const auto layout = create_pango_layout("");
    layout->set_markup(plainMarkup(name));
    int width = 0;
    int height = 0;
    layout->get_pixel_size(width, height);
    width += (static_cast<int>(level) + 1) * kIndent;
    width = std::clamp(width, kLeastNameWidth, kMostNameWidth);
    if (width > nameColumn_.get_fixed_width()) nameColumn_.set_fixed_width(width);
}

// The first click sorts, each further one turns the order round. The column's own sorting is not
// used, since a filtered model cannot be sorted.
void LogList::sortByName() {
    if (nameColumn_.get_sort_indicator())
        sortOrder_ = sortOrder_ == Gtk::SORT_ASCENDING ? Gtk::SORT_DESCENDING : Gtk::SORT_ASCENDING;
    nameColumn_.set_sort_indicator(true);
    nameColumn_.set_sort_order(sortOrder_);
    model_->set_sort_column(columns_.name, sortOrder_);
}

// ---- rows and what they stand for

LogList::Row LogList::modelRow(const Gtk::TreeModel::iterator& viewIter) const {
    if (!filtered_) return *viewIter;
    return *filtered_->convert_iter_to_child_iter(viewIter);
}

Gtk::TreeModel::Path LogList::viewPath(const Row& row) const {
    const auto path = model_->get_path(row);
    return filtered_ ? filtered_->convert_child_path_to_path(path) : path;
}

RowType LogList::typeOf(const Row& row) const {
    return static_cast<RowType>(static_cast<unsigned>(row[columns_.rowType]));
}

std::string LogList::nameOf(const Row& row) const {
    return row.get_value(columns_.name).raw();
}

std::shared_ptr<Message> LogList::messageOf(const Row& row) const {
    const auto interface = store_.findInterfaceByNumber(row[columns_.interfaceId]);
    return interface ? interface->findById(row[columns_.messageId]) : nullptr;
}

std::shared_ptr<Signal> LogList::signalOf(const Row& row) const {
    const auto message = messageOf(row);
    if (!message) return nullptr;
    const std::string name = nameOf(row);
    if (const auto found = message->signalsByName.find(name); found != message->signalsByName.end())
        return found->second;
    for (const auto& signal : message->signals)
        if (signal->name == name) return signal;
    return nullptr;
}

Gtk::TreeModel::iterator LogList::findMessageRow(const Message& message) const {
    if (!message.hasParent()) return {};
    const std::uint32_t number = message.parent()->number;
    for (const auto& interfaceRow : model_->children()) {
        if (interfaceRow[columns_.interfaceId] != number) continue;
        for (const auto& row : interfaceRow.children())
            if (row[columns_.messageId] == message.id) return row;
    }
    return {};
}

Gtk::TreeModel::iterator LogList::findSignalRow(const Signal& signal) const {
    const auto messageRow = findMessageRow(*signal.message);
    if (!messageRow) return {};
    for (const auto& row : messageRow->children())
        if (typeOf(row) == RowType::kSignal && nameOf(row) == signal.name) return row;
    return {};
}

void LogList::putCursor(const Gtk::TreeModel::Path& path) {
    expand_to_path(path);
    set_cursor(path);
    scroll_to_row(path, 0.3F);
}

bool LogList::selectSignal(const std::shared_ptr<Signal>& signal) {
    if (!signal) {
        report(Level::kError, "sigPlotSelected called without any signal selected");
        return false;
    }
    if (filtered_) applyFilter("");
    const auto messageRow = findMessageRow(*signal->message);
    if (!messageRow) return false;
    populate(*messageRow);
    const auto row = findSignalRow(*signal);
    if (!row) return false;
    putCursor(viewPath(*row));
    return true;
}

void LogList::selectFirstMatch() {
    for (const auto& interfaceRow : model_->children()) {
        for (const auto& messageRow : interfaceRow.children()) {
            if (filtered_ && !messageRow[columns_.visible]) continue;
            populate(messageRow);
            for (const auto& row : messageRow.children()) {
                if (filtered_ && !row[columns_.visible]) continue;
                putCursor(viewPath(row));
                grab_focus();
                return;
            }
        }
    }
}

void LogList::updateRowColor(const std::shared_ptr<Signal>& signal) {
    if (!signal) return;
    if (const auto row = findSignalRow(*signal)) (*row)[columns_.markup] = signalMarkup(*signal);
}

// ---- check boxes

void LogList::toggleRow(const Row& row) {
    if (store_.waitingForWork()) return;
    switch (typeOf(row)) {
        case RowType::kSignal:
            if (const auto signal = signalOf(row)) signal->setSelected(!signal->selected);
            break;
        case RowType::kMessage:
            if (const auto message = messageOf(row)) {
                const RecountBatch batch(store_);
                message->selectAll(message->selectedVisibleCount == 0);
            }
            break;
        case RowType::kInterface: {
            // Unchecking clears the interface; checking a whole bus at once is never meant.
            const auto interface = store_.findInterfaceByNumber(row[columns_.interfaceId]);
            if (!interface) break;
            const RecountBatch batch(store_);
            for (const auto& [id, message] : interface->messages)
                message->selectAll(false);
            break;
        }
        case RowType::kPlaceholder:
            break;
    }
    refreshChecks();
    store_.emitData();
}

void LogList::refreshMessage(const Row& row, bool active) {
    // With nothing selected before and now, no signal below can have changed.
    const bool before = row[columns_.active];
    if (before != active) {
        row[columns_.active] = active;
        row[columns_.expandMark] = active;
    }
    if ((!active && !before) || !isPopulated(row)) return;
    for (const auto& child : row.children()) {
        const auto signal = signalOf(child);
        const bool selected = signal && signal->selected;
        if (child[columns_.active] == selected) continue;
        child[columns_.active] = selected;
        child[columns_.expandMark] = selected;
    }
}

void LogList::refreshChecks() {
    for (const auto& interfaceRow : model_->children()) {
        for (const auto& row : interfaceRow.children()) {
            const auto message = messageOf(row);
            refreshMessage(row, message && message->selectedVisibleCount > 0);
        }
        const auto interface = store_.findInterfaceByNumber(interfaceRow[columns_.interfaceId]);
        const bool any = interface && interface->selectedVisibleCount > 0;
        if (interfaceRow[columns_.active] == any) continue;
        interfaceRow[columns_.active] = any;
        interfaceRow[columns_.expandMark] = any;
    }
}

// ---- mouse and keys

bool LogList::on_button_press_event(GdkEventButton* event) {
    Gtk::TreeModel::Path path;
    const bool onRow =
        event->window == get_bin_window()->gobj() &&
        get_path_at_pos(static_cast<int>(event->x), static_cast<int>(event->y), path);
    if (event->button == 3 && event->type == GDK_BUTTON_PRESS) {
        grab_focus();
        if (onRow)
            set_cursor(path);
        else
            get_selection()->unselect_all();
        popupMenu(onRow ? &path : nullptr);
        return true;
    }
    const bool handled = Gtk::TreeView::on_button_press_event(event);
    if (event->button != 1 || event->type != GDK_BUTTON_PRESS || !onRow) return handled;
    const Row row = modelRow(get_model()->get_iter(path));
    if (typeOf(row) != RowType::kSignal) return handled;
    const auto signal = signalOf(row);
    if (signal && signal->selected && signal->hasData && store_.selectedSignals.size() >= 2)
        highlightWanted.emit(signal);
    return handled;
}

bool LogList::on_key_press_event(GdkEventKey* event) {
    if (event->keyval == GDK_KEY_Menu) return popupMenuAtCursor();
    return Gtk::TreeView::on_key_press_event(event);
}

bool LogList::popupMenuAtCursor() {
    Gtk::TreeModel::Path path;
    Gtk::TreeViewColumn* column = nullptr;
    get_cursor(path, column);
    popupMenu(path.empty() ? nullptr : &path);
    return true;
}

void LogList::popupMenu(const Gtk::TreeModel::Path* path) {
    const auto iter = path != nullptr ? get_model()->get_iter(*path) : Gtk::TreeModel::iterator();
    if (!iter) {
        interfaceMenuWanted.emit(false);
        return;
    }
    const Row row = modelRow(iter);
    switch (typeOf(row)) {
        case RowType::kInterface:
            interfaceMenuWanted.emit(row[columns_.interfaceId] == kVirtualInterface);
            break;
        case RowType::kMessage: {
            const auto message = messageOf(row);
            const auto signals =
                message ? listedSignals(*message) : std::vector<std::shared_ptr<Signal>>();
            messageMenuWanted.emit(signals.empty() ? nullptr : signals.front());
            break;
        }
        case RowType::kSignal:
            if (!iter->parent())
                report(Level::kError, "signals should have parent rows");
            else if (const auto signal = signalOf(row))
                signalMenuWanted.emit(signal);
            break;
        case RowType::kPlaceholder:
            break;
    }
}

void LogList::on_row_activated(const Gtk::TreeModel::Path& path, Gtk::TreeViewColumn* column) {
    Gtk::TreeView::on_row_activated(path, column);
    const auto iter = get_model()->get_iter(path);
    if (!iter) {
        report(Level::kError, "row_activated with none valid path ");
        return;
    }
    toggleRow(modelRow(iter));
}

bool LogList::on_test_expand_row(const Gtk::TreeModel::iterator& iter,
                                 const Gtk::TreeModel::Path& path) {
    const Row row = modelRow(iter);
    if (typeOf(row) != RowType::kMessage || row.children().empty() || isPopulated(row))
        return Gtk::TreeView::on_test_expand_row(iter, path);
    if (!filtered_) {
        populate(row);
        return Gtk::TreeView::on_test_expand_row(iter, path);
    }
    // The view goes on with `iter`, which would not outlive a change of a filtered model: the row
    // is filled and opened as soon as the view is done.
    const Gtk::TreeRowReference reference(model_, model_->get_path(row));
    Glib::signal_idle().connect_once(sigc::track_obj(
        [this, reference] {
            if (!reference.is_valid()) return;
            const auto found = model_->get_iter(reference.get_path());
            populate(*found);
            expand_row(viewPath(*found), false);
        },
        *this));
    return true;
}

// Opening an interface with all below it asks for no message of its own.
void LogList::on_row_expanded(const Gtk::TreeModel::iterator& iter,
                              const Gtk::TreeModel::Path& path) {
    Gtk::TreeView::on_row_expanded(iter, path);
    if (!iter) {
        report(Level::kError, "row expanded/collapsed with none valid path");
        return;
    }
    if (typeOf(modelRow(iter)) != RowType::kInterface) return;
    std::vector<Row> open;
    Gtk::TreeModel::Path child = path;
    child.down();
    for (const auto& row : iter->children()) {
        if (row_expanded(child)) open.push_back(filtered_ ? modelRow(row) : row);
        child.next();
    }
    for (const Row& row : open)
        populate(row);
}

void LogList::on_row_collapsed(const Gtk::TreeModel::iterator& iter,
                               const Gtk::TreeModel::Path& path) {
    Gtk::TreeView::on_row_collapsed(iter, path);
    if (!iter) report(Level::kError, "row expanded/collapsed with none valid path");
}

}  // namespace trelis
