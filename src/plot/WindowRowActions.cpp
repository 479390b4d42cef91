// Window: the dropdown menus and what their rows do.
#include <gdkmm/color.h>
#include <gtkmm/clipboard.h>
#include <gtkmm/colorchooserdialog.h>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/SignalList.h"
#include "model/Frame.h"
#include "model/Message.h"
#include "model/RealSignal.h"
#include "plot/Window.h"

namespace trelis {
namespace {

constexpr const char* kRateMessage = "MsgRate";

std::shared_ptr<CanIface> interfaceOf(const std::shared_ptr<Signal>& signal) {
    if (!signal || !signal->message || !signal->message->hasParent()) return nullptr;
    return signal->message->parent();
}

bool isOnBus(const std::shared_ptr<Signal>& signal) {
    const auto interface = interfaceOf(signal);
    return interface && interface->number < kVirtualInterface;
}

bool isVirtual(const std::shared_ptr<Signal>& signal) {
    const auto interface = interfaceOf(signal);
    return interface && interface->number == kVirtualInterface;
}

// The listed rate signal of a signal's message; of its multiplex value if there are several.
std::shared_ptr<Signal> rateOf(const Store& store, const Signal& signal) {
    const Message& message = *signal.message;
    const auto group = store.findInterfaceByNumber(message.parent()->number + kStatisticsOffset);
    if (!group) return nullptr;
    for (const auto& [id, rates] : group->messages) {
        if (rates->name != kRateMessage) continue;
        const auto* real = dynamic_cast<const RealSignal*>(&signal);
        const std::string multiplexed =
            message.name + " (m" + std::to_string(real != nullptr ? real->muxValue : 0) + ")";
        for (const std::string& name : {message.name, multiplexed})
            if (const auto found = rates->signalsByName.find(name);
                found != rates->signalsByName.end())
                return found->second;
    }
    return nullptr;
}

}  // namespace

// ---- opening the menus

void Window::popupPlotMenu(const std::shared_ptr<Signal>& signal) {
    constexpr auto kMenu = DropdownMenu::kPlot;
    dropdownSignal_ = signal;
    dropdowns_.showAll(kMenu);
    dropdowns_.setTitle(signal ? signal->name : "");
    if (!isOnBus(signal)) dropdowns_.hideRow(kMenu, DropdownRow::kMessageRate);
    if (!isVirtual(signal)) {
        dropdowns_.hideRow(kMenu, DropdownRow::kEditSignal);
        // Nothing is left below the separator.
        dropdowns_.hideRow(kMenu, DropdownRow::kSeparator3);
    }
    dropdowns_.popup(kMenu);
}

void Window::popupSignalMenu(const std::shared_ptr<Signal>& signal) {
    constexpr auto kMenu = DropdownMenu::kSignal;
    dropdownSignal_ = signal;
    dropdowns_.showAll(kMenu);
    if (!isOnBus(signal)) dropdowns_.hideRow(kMenu, DropdownRow::kMessageRate);
    if (!isVirtual(signal)) dropdowns_.hideRow(kMenu, DropdownRow::kEditSignal);
    dropdowns_.popup(kMenu);
}

void Window::popupMessageMenu(const std::shared_ptr<Signal>& signal) {
    constexpr auto kMenu = DropdownMenu::kMessage;
    dropdownSignal_ = signal;
    dropdowns_.showAll(kMenu);
    if (!isOnBus(signal)) {
        dropdowns_.hideRow(kMenu, DropdownRow::kMessageRate);
        // Nothing is left above the separator.
        dropdowns_.hideRow(kMenu, DropdownRow::kSeparator1);
    }
    if (!isVirtual(signal)) {
        dropdowns_.hideRow(kMenu, DropdownRow::kNewSignal);
        dropdowns_.hideRow(kMenu, DropdownRow::kToggleHidden);
    }
    dropdowns_.popup(kMenu);
}

void Window::popupInterfaceMenu(bool isVirtualInterface) {
    constexpr auto kMenu = DropdownMenu::kInterface;
    dropdownSignal_.reset();
    dropdowns_.showAll(kMenu);
    if (!isVirtualInterface) {
        dropdowns_.hideRow(kMenu, DropdownRow::kNewSignal);
        dropdowns_.hideRow(kMenu, DropdownRow::kToggleHidden);
    }
    dropdowns_.popup(kMenu);
}

void Window::runDropdown(DropdownRow row) {
    // A reload while the menu is open empties dropdownSignal_, and the action keeps its own hold.
    const std::shared_ptr<Signal> signal = dropdownSignal_;
    switch (row) {
        case DropdownRow::kFindInList:
            return findInList(signal);
        case DropdownRow::kCopyName:
            if (signal) Gtk::Clipboard::get(GDK_SELECTION_CLIPBOARD)->set_text(signal->name);
            return;
        case DropdownRow::kChangeColor:
            return changeColor(signal);
        case DropdownRow::kHistogram:
            if (signal && commands_.openHistogram) commands_.openHistogram(signal);
            return;
        case DropdownRow::kMessageRate:
            return findMessageRate();
        case DropdownRow::kShowStats:
            return showStats(signal);
        case DropdownRow::kHideSignal:
            return hideSignal(signal);
        case DropdownRow::kExpandSelected:
            return expandSelected();
        case DropdownRow::kExpandAll:
            return expandAll();
        case DropdownRow::kCollapseAll:
            return collapseAll();
        case DropdownRow::kUncheckAll:
            return uncheckAll();
        case DropdownRow::kStoreSelected:
            return storeSelection();
        case DropdownRow::kRestoreSelected:
            return restoreSelection();
        case DropdownRow::kCrop:
            return subPlot_.crop();
        case DropdownRow::kUncrop:
            return store_.clearInterval();
        case DropdownRow::kEditSignal:
            return editSignal();
        case DropdownRow::kNewSignal:
            return newSignal();
        case DropdownRow::kToggleHidden:
            return dataList_.toggleHidden();
        case DropdownRow::kDeleteRulers:
            return subPlot_.deleteRulers();
        case DropdownRow::kTitle:
        case DropdownRow::kSeparator1:
        case DropdownRow::kSeparator2:
        case DropdownRow::kSeparator3:
            return;
    }
}

// ---- on a signal

void Window::findInList(const std::shared_ptr<Signal>& signal) {
    searchEntry_.set_text("");
    if (dataList_.selectSignal(signal))
        notebook_.set_current_page(0);
    else if (signal && statisticsList_.selectSignal(signal))
        notebook_.set_current_page(1);
}

void Window::changeColor(const std::shared_ptr<Signal>& signal) {
    if (!signal) return;
    Gtk::ColorChooserDialog dialog;
    dialog.set_title("Select line color");
    dialog.set_transient_for(*this);
    dialog.set_keep_above(true);
    dialog.set_rgba(Gdk::RGBA(signal->color));
    if (dialog.run() != Gtk::RESPONSE_OK) return;
    const Gdk::RGBA chosen = dialog.get_rgba();
    Gdk::Color color;
    color.set_rgb(chosen.get_red_u(), chosen.get_green_u(), chosen.get_blue_u());
    signal->color = color.to_string();
    const auto interface = interfaceOf(signal);
    settings_.setSignalColor(interface ? interface->name : "Can", signal->message->name,
                             signal->name, signal->color);
    dataList_.updateRowColor(signal);
    statisticsList_.updateRowColor(signal);
    store_.requestRedraw();
}

void Window::hideSignal(const std::shared_ptr<Signal>& signal) {
    if (!signal || store_.waitingForWork()) return;
    signal->setSelected(false);
    refreshLists();
    store_.requestRedraw();
}

void Window::showStats(const std::shared_ptr<Signal>& signal) {
    if (signal && commands_.openStatistics) commands_.openStatistics(signal);
}

void Window::showSampleTable(std::uint64_t from, std::uint64_t to) {
    if (commands_.openSampleTable) commands_.openSampleTable(from, to);
}

void Window::rulersMoved(std::int64_t left, std::int64_t right) {
    if (commands_.rulersMoved) commands_.rulersMoved(left, right);
}

void Window::findMessageRate() {
    if (!isOnBus(dropdownSignal_)) return;
    const auto rate = rateOf(store_, *dropdownSignal_);
    if (!rate) return;
    dropdownSignal_ = rate;
    findInList(rate);
}

void Window::editSignal() {
    if (!dropdownSignal_)
        report(Level::kWarning, "dropdownSignal is null");
    else if (commands_.editSignal)
        commands_.editSignal(dropdownSignal_);
}

void Window::newSignal() {
    if (commands_.newSignal)
        commands_.newSignal(dropdownSignal_ ? dropdownSignal_->message->name : "");
}

// ---- on the lists

void Window::expandSelected() {
    dataList_.expandSelected();
    statisticsList_.expandSelected();
}

void Window::expandAll() {
    dataList_.expandAll();
    statisticsList_.expandAll();
}

void Window::collapseAll() {
    dataList_.stopExpanding();
    statisticsList_.stopExpanding();
    dataList_.collapse_all();
    statisticsList_.collapse_all();
}

void Window::uncheckAll() {
    if (store_.waitingForWork()) return;
    store_.clearSelection();
    refreshLists();
    store_.requestRedraw();
}

void Window::storeSelection() {
    saveSignalList(store_, settings_);
}

void Window::restoreSelection() {
    if (store_.waitingForWork()) return;
    loadSignalList(store_, settings_);
    refreshLists();
    store_.requestRedraw();
}

}  // namespace trelis
