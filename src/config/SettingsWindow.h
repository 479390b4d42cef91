// The preferences window.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/notebook.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/window.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "config/SettingRow.h"

namespace trelis {

class Settings;
class Store;

/// Shows the settings as they are each time it opens; closing forgets what was not saved.
class SettingsWindow : public Gtk::Window {
  public:
    /// Both outlive the window. Gives the Store the line width of the settings.
    SettingsWindow(Store& store, Settings& settings);

    /// Stores all rows, saves the file and lets every window take the new values.
    void saveChanges();
    /// The row of this label, null if there is none.
    [[nodiscard]] SettingRow* findRow(const std::string& label) const;

  protected:
    void on_show() override;

  private:
    enum Page { kGeneral, kPlot, kSignalList, kPageCount };

    template <typename Row, typename T, typename Getter, typename Setter>
    void addRow(Page page, const char* label, const char* description, Getter getter,
                Setter setter);
    void addGeneralRows();
    void addPlotRows();
    /// Lets the signals without a colour of their own follow the default one.
    void recolourSignals();

    Store& store_;
    Settings& settings_;
    std::vector<std::unique_ptr<SettingRow>> rows_;
    Gtk::VBox box_;
    Gtk::Notebook notebook_;
    std::array<Gtk::ScrolledWindow, kPageCount> pages_;
    std::array<SettingGrid, kPageCount> grids_;
    Gtk::Button saveButton_;
};

}  // namespace trelis
