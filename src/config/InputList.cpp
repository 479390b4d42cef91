#include "config/InputList.h"

#include <algorithm>
#include <utility>

#include "config/Method.h"
#include "config/VsdGroup.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;

}  // namespace

InputList::InputList(Glib::RefPtr<Gtk::ListStore> paths, const SigListModCols& columns,
                     Glib::RefPtr<Gtk::SizeGroup> labels)
    : Gtk::Frame("Inputs"),
      paths_(std::move(paths)),
      columns_(columns),
      labels_(std::move(labels)),
      countLabel_("Number of inputs") {
    grid_.set_row_spacing(kSpacing);
    grid_.set_column_spacing(2 * kSpacing);
    count_.set_range(1, 1);
    count_.set_increments(1, 1);
    count_.set_numeric(true);
    count_.set_tooltip_text("Select number input signals to use");
    count_.signal_value_changed().connect(
        [this] { setCount(static_cast<std::size_t>(count_.get_value_as_int())); });
    countLabel_.set_xalign(0);
    count_.get_accessible()->set_name(countLabel_.get_text());
    labels_->add_widget(countLabel_);
    countLine_.set_spacing(2 * kSpacing);
    countLine_.pack_start(countLabel_, Gtk::PACK_SHRINK);
    countLine_.pack_start(count_, Gtk::PACK_SHRINK);
    box_.set_border_width(kSpacing);
    box_.set_spacing(kSpacing);
    box_.pack_start(countLine_, Gtk::PACK_SHRINK);
    box_.pack_start(grid_, Gtk::PACK_SHRINK);
    add(box_);
}

void InputList::limit(std::size_t most, std::size_t loaded) {
    most = std::max(most, loaded);
    set_visible(most > 0);
    set_no_show_all(most == 0);
    count_.set_range(most > 0 ? 1 : 0, static_cast<double>(most));
    count_.set_sensitive(most > 1);
    if (loaded > 0) count_.set_value(static_cast<double>(loaded));
    setCount(static_cast<std::size_t>(count_.get_value_as_int()));
}

void InputList::load(const Glib::KeyFile& keyFile, const std::string& group, const Method& method) {
    rows_.clear();
    std::size_t count = 0;
    while (keyFile.has_key(group, inputKey(count + 1)))
        ++count;
    limit(method.maxInputs(), count);
    for (const auto& row : rows_) {
        acceptAlternative(*row, method.name());
        row->load(keyFile, group);
    }
}

void InputList::clear() {
    rows_.clear();
    count_.set_value(1);
    setCount(static_cast<std::size_t>(count_.get_value_as_int()));
}

void InputList::setCount(std::size_t count) {
    while (rows_.size() > count)
        rows_.pop_back();
    while (rows_.size() < count) {
        auto row = std::make_unique<EntrySignal>(
            RowText{inputKey(rows_.size() + 1), "<canif>.<msg>.<signal>", "Select input signal"});
        row->setCompletion(paths_, columns_);
        row->place(grid_, static_cast<int>(rows_.size()));
        labels_->add_widget(row->label());
        rows_.push_back(std::move(row));
    }
}

}  // namespace trelis
