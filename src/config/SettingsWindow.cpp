#include "config/SettingsWindow.h"

#include <algorithm>
#include <functional>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/CanIface.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;
constexpr std::array<const char*, 3> kPageTitles = {"General", "Plot", "Signal list"};

}  // namespace

SettingsWindow::SettingsWindow(Store& store, Settings& settings)
    : store_(store), settings_(settings), saveButton_("Save changes") {
    store_.lineWidth = settings_.getLineWidth();
    set_title("Preferences");
    set_default_size(520, 560);

    addGeneralRows();
    addPlotRows();
    addRow<SettingRowStr, std::string>(kSignalList, "Font size", "Size of text in signal list",
                                       &Settings::getListFont, &Settings::setListFont);

    for (std::size_t i = 0; i < pages_.size(); ++i) {
        pages_[i].set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
        pages_[i].add(grids_[i]);
        notebook_.append_page(pages_[i], kPageTitles[i]);
    }
    saveButton_.set_margin_top(kSpacing);
    saveButton_.set_halign(Gtk::ALIGN_END);
    saveButton_.signal_clicked().connect(sigc::mem_fun(*this, &SettingsWindow::saveChanges));
    box_.set_border_width(kSpacing);
    box_.pack_start(notebook_);
    box_.pack_start(saveButton_, Gtk::PACK_SHRINK);
    add(box_);
    box_.show_all();
}

template <typename Row, typename T, typename Getter, typename Setter>
void SettingsWindow::addRow(Page page, const char* label, const char* description, Getter getter,
                            Setter setter) {
    rows_.push_back(std::make_unique<Row>(
        label, description,
        SettingSlots<T>{
            [this, getter] { return std::invoke(getter, settings_); },
            [this, setter](const T& value) { std::invoke(setter, settings_, value); }}));
    grids_.at(page).addRow(*rows_.back());
}

void SettingsWindow::addGeneralRows() {
    addRow<SettingRowInt, int>(kGeneral, "Bitrate interval",
                               "Averaging interval for bitrate signals (ms)",
                               &Settings::getBitrateInterval, [](Settings& settings, int ms) {
                                   if (ms > 0) settings.setBitrateInterval(ms);
                               });
    addRow<SettingRowStr, std::string>(kGeneral, "Text editor",
                                       "Editor to use for editing VSD and DBC files.",
                                       &Settings::getDefaultEditor, &Settings::setDefaultEditor);
    addRow<SettingRowBool, bool>(
        kGeneral, "Tolerant definitions",
        "Keep all that can be read of a DBC file, from the next load on",
        &Settings::getTolerantDefinitions, [this](Settings& settings, bool tolerant) {
            settings.setTolerantDefinitions(tolerant);
            store_.tolerantDefinitions = tolerant;  // also against the command line
        });
}

void SettingsWindow::addPlotRows() {
    const auto addColour = [this](const char* label, const char* description, auto getter,
                                  auto setter) {
        addRow<SettingRowColor, std::string>(kPlot, label, description, getter, setter);
    };
    const auto addDouble = [this](const char* label, const char* description, auto getter,
                                  auto setter) {
        addRow<SettingRowDouble, double>(kPlot, label, description, getter, setter);
    };
    addRow<SettingRowInt, int>(kPlot, "Ruler font size", "Size of text on ruler",
                               &Settings::getFontSize, &Settings::setFontSize);
    addDouble("Ruler transparency", "Ruler transparency in percent",
              &Settings::getRulerTransparancy, &Settings::setRulerTransparancy);
    addDouble("Line width", "Width of plotted signals", &Settings::getLineWidth,
              &Settings::setLineWidth);
    addColour("Default Signal Color", "Select default color of signals", &Settings::getDefSigColor,
              &Settings::setDefSigColor);
    addColour("Background Color", "Background color", &Settings::getBgColor, &Settings::setBgColor);
    addColour("Ruler Color", "Ruler color", &Settings::getRulerColor, &Settings::setRulerColor);
    addColour("Grid Color", "Grid Color", &Settings::getGridColor, &Settings::setGridColor);
    addColour("Ruler Text Color", "Ruler Text Color", &Settings::getRulerTextColor,
              &Settings::setRulerTextColor);
    addDouble("Ruler Text Transparency", "Ruler Text Transparency",
              &Settings::getRulerTxtTransparency, &Settings::setRulerTxtTransparency);
    addColour("Ruler Txt Background color", "Ruler Txt Background color",
              &Settings::getRulerTextBackgroundColor, &Settings::setRulerTextBackgroundColor);
    addDouble("Ruler Txt Background transp", "Ruler Txt Background transp",
              &Settings::getRulerTxtBackgroundTransparency,
              &Settings::setRulerTxtBackgroundTransparency);
}

void SettingsWindow::on_show() {
    for (const auto& row : rows_)
        row->show();
    Gtk::Window::on_show();
}

void SettingsWindow::saveChanges() {
    const std::string oldColour = settings_.getDefSigColor();
    for (const auto& row : rows_)
        row->apply();
    settings_.save();
    store_.lineWidth = settings_.getLineWidth();
    if (settings_.getDefSigColor() != oldColour) recolourSignals();
    store_.settingsChanged.emit();
    store_.requestRedraw();
}

void SettingsWindow::recolourSignals() {
    for (const auto& [number, interface] : store_.interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals)
                signal->color = store_.colorOf(interface->name, message->name, signal->name);
}

SettingRow* SettingsWindow::findRow(const std::string& label) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](const auto& row) { return row->label() == label; });
    return found == rows_.end() ? nullptr : found->get();
}

}  // namespace trelis
