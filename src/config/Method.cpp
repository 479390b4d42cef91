#include "config/Method.h"

#include <algorithm>
#include <utility>

#include "virtual/MethodHelp.h"
#include "virtual/SignalFactory.h"
#include "virtual/VirtualMessage.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;

bool takeSpelling(InputRow& row, std::span<const KeyHelp> keys) {
    for (const KeyHelp& help : keys) {
        if (help.alternative.empty()) continue;
        const bool isFirst = help.key == row.key();
        if (!isFirst && help.alternative != row.key()) continue;
        row.setAlternative(std::string(isFirst ? help.alternative : help.key), !isFirst);
        return true;
    }
    return false;
}

}  // namespace

void acceptAlternative(InputRow& row, const std::string& method) {
    for (const MethodHelp& help : methodKeys())
        if (help.method == method && takeSpelling(row, help.keys)) return;
    takeSpelling(row, commonKeys());
}

Method::Method(std::string text, unsigned maxInputs, bool hasStep)
    : text_(std::move(text)), maxInputs_(maxInputs) {
    grid_.set_row_spacing(kSpacing);
    grid_.set_column_spacing(2 * kSpacing);
    grid_.set_no_show_all(true);
    if (hasStep)
        add<EntryInt>({"step", "20 ms", "Generate data point at this time step interval (ms)"});
}

void Method::append(std::unique_ptr<InputRow> row) {
    row->place(grid_, static_cast<int>(rows_.size()));
    acceptAlternative(*row, text_);
    rows_.push_back(std::move(row));
}

void Method::addLevels(const char* aboveHelp, const char* aboveHint, const char* belowHelp,
                       const char* belowHint) {
    add<EntryFloat>({"above", aboveHint, aboveHelp});
    add<EntryFloat>({"below", belowHint, belowHelp});
}

void Method::addReset(const char* what) {
    resetRow_ = &add<EntrySignal>(
        {"resetSig", "<canif>.<msg>.<signal>",
         std::string("(optional) set ") + what + " to 0 when this signal is larger than 0"});
}

std::shared_ptr<VirtualSignal> Method::buildSignal(const std::shared_ptr<VirtualMessage>& message,
                                                   const std::string& group,
                                                   const Glib::KeyFile& keyFile,
                                                   const std::string& vsdFile) const {
    const auto point = group.rfind('.');
    const std::string signalName = point == std::string::npos ? group : group.substr(point + 1);
    return createSignal(message, group, signalName, keyFile, vsdFile);
}

void Method::showRows() {
    grid_.show();
}

void Method::hideRows() {
    grid_.hide();
}

void Method::showDefaults() {
    for (const auto& row : rows_)
        row->showDefault();
}

void Method::clearRows() {
    for (const auto& row : rows_)
        row->clear();
}

void Method::loadRows(const Glib::KeyFile& keyFile, const std::string& group) {
    for (const auto& row : rows_)
        row->load(keyFile, group);
}

void Method::saveRows(Glib::KeyFile& keyFile, const std::string& group) const {
    for (const auto& row : rows_)
        row->save(keyFile, group);
}

void Method::setCompletion(const Glib::RefPtr<Gtk::ListStore>& model,
                           const SigListModCols& columns) {
    if (resetRow_ != nullptr) resetRow_->setCompletion(model, columns);
}

void Method::alignLabels(const Glib::RefPtr<Gtk::SizeGroup>& group) {
    for (const auto& row : rows_)
        group->add_widget(row->label());
}

InputRow* Method::findRow(const std::string& key) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](const auto& row) { return row->key() == key; });
    return found == rows_.end() ? nullptr : found->get();
}

}  // namespace trelis
