// The window in which the user names a logger and connects to it.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/spinner.h>
#include <gtkmm/window.h>

#include <array>
#include <functional>
#include <string>

#include "input/LiveFile.h"

namespace trelis {

class Settings;
class Store;

/// What the dialog asks of the main window.
struct LiveDialogHooks {
    /// Loads the definitions anew and leaves the live flags as they are.
    std::function<void()> reload;
    std::function<void(const std::string&)> setTitle;
};

/// Main thread only; the worker's result arrives through Store::connectionChanged.
class ConnectLiveDialog : public Gtk::Window {
  public:
    /// All of them outlive the dialog.
    ConnectLiveDialog(Gtk::Window& parent, Store& store, Settings& settings, LiveDialogHooks hooks);

    /// Fills the dialog from a stored connection; WRN if it cannot be opened.
    void openFile(const std::string& path);
    /// Writes what the dialog holds; WRN on failure. The name gets its ending.
    void saveFile(const std::string& path);
    /// Starts the connection that the dialog holds. Nothing happens while work is under way.
    void connectToLogger();
    /// The same for the connection that runs, or ran last.
    void reconnect();

    [[nodiscard]] bool isConnecting() const { return connecting_; }

  protected:
    void on_show() override;

  private:
    void layOut();
    void fillOnce();
    void fill(const StoredConnection& connection);
    void setPaths(const std::string& vsdFile, const std::string& dbcFile);
    /// The path that the user chose, empty if none. `save`: an existing file may be replaced.
    [[nodiscard]] std::string askForFile(bool save);
    void rememberFolder(const std::string& path);
    [[nodiscard]] bool mayReplace(const std::string& file);
    void useDefinitions();
    void setConnecting(bool connecting);
    void onConnectionChanged();

    Store& store_;
    Settings& settings_;
    LiveDialogHooks hooks_;
    bool loadLastConnection_ = true;  ///< until the dialog has filled itself
    bool connecting_ = false;
    std::string vsdFile_;
    std::string dbcFile_;

    Gtk::VBox box_;
    Gtk::Grid grid_;
    std::array<Gtk::Label, 3> rowLabels_;
    Gtk::Entry title_;
    Gtk::Entry address_;
    Gtk::Entry key_;
    Gtk::Label dbcLabel_;
    Gtk::Label vsdLabel_;
    Gtk::HBox buttons_;
    Gtk::Button openButton_;
    Gtk::Button saveButton_;
    Gtk::Spinner spinner_;
    Gtk::Button connectButton_;
};

}  // namespace trelis
