// The main window: it wires the views to the menus, the keys and the Store.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/entry.h>
#include <gtkmm/filechooserdialog.h>
#include <gtkmm/grid.h>
#include <gtkmm/menubar.h>
#include <gtkmm/messagedialog.h>
#include <gtkmm/notebook.h>
#include <gtkmm/progressbar.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/separator.h>
#include <gtkmm/spinner.h>
#include <gtkmm/window.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/store/Notifier.h"
#include "plot/DropdownMenus.h"
#include "plot/FullPlot.h"
#include "plot/LogList.h"
#include "plot/PlotHost.h"
#include "plot/SubPlot.h"
#include "plot/WindowCommands.h"
#include "plot/paint/TimeBox.h"

namespace trelis {

class GPSTrack;
class Settings;
class Signal;
class Store;

/// One per process. Owns the views; the Store and the settings outlive it. Main thread only.
class Window : public Gtk::Window, public PlotHost {
  public:
    Window(Store& store, Settings& settings);
    ~Window() override;

    /// Attaches tool windows. May be called again; the last set holds.
    void setCommands(WindowCommands commands);

    /// Drops the model and loads the definitions anew.
    void reload(bool stopLive);
    /// reload, or a new connection for a running live one; refused while work is under way.
    void reloadCommand();
    void openInEditor(const std::string& path);
    /// Text of the title bar, which the Store keeps.
    void setTitleText(const std::string& text);
    /// Reads every check box of the lists from the signals again.
    void refreshLists();
    /// Opens recordings, tables, traces, directories, definition files and stored connections as
    /// the commands of the File menu do. Paths are local.
    void openPaths(const std::vector<std::string>& paths);
    /// Adds the recordings below a directory to the Store.
    void addLogDirectory(const std::string& folder);
    /// Shows the frames of a CAN interface of this machine as they come, see Store::dongleChannel.
    void startCan(std::int32_t channel);

    void popupPlotMenu(const std::shared_ptr<Signal>& signal) override;
    void popupSignalMenu(const std::shared_ptr<Signal>& signal);
    void popupMessageMenu(const std::shared_ptr<Signal>& signal);
    void popupInterfaceMenu(bool isVirtual);
    void findInList(const std::shared_ptr<Signal>& signal) override;
    void changeColor(const std::shared_ptr<Signal>& signal) override;
    void hideSignal(const std::shared_ptr<Signal>& signal) override;
    void showStats(const std::shared_ptr<Signal>& signal) override;
    void showSampleTable(std::uint64_t from, std::uint64_t to) override;
    void rulersMoved(std::int64_t left, std::int64_t right) override;

    [[nodiscard]] TimeBox& timeBox() { return timeBox_; }
    [[nodiscard]] SubPlot& subPlot() { return subPlot_; }
    /// Whether a live stream is known to deliver.
    [[nodiscard]] bool isSpinning() const { return spinning_; }

    /// The model is gone: windows on its signals close.
    Notifier windowReloaded;

  protected:
    bool on_key_press_event(GdkEventKey* event) override;
    bool on_key_release_event(GdkEventKey* event) override;
    bool on_focus_out_event(GdkEventFocus* event) override;
    void on_drag_data_received(const Glib::RefPtr<Gdk::DragContext>& context, int x, int y,
                               const Gtk::SelectionData& data, guint info, guint time) override;

  private:
    friend class WindowProbe;  // the tests' way in

    struct MenuEntry;
    /// What the data comes from, besides a connection to a logger.
    enum class Input { kRecordings, kTables, kTraces, kCan };

    // Window.cpp
    void layOut();
    void fitToScreen();
    [[nodiscard]] Gdk::Rectangle workArea();
    void connectSources();
    void loadCss();
    bool handleFunctionKey(unsigned key);
    bool handleControlKey(unsigned key);
    bool handleAltKey(unsigned key);
    void updateSignals();
    void updateProgress();
    bool updateLiveIndicator();
    void startIndicator();
    void stopIndicator();
    [[nodiscard]] LogList& shownList();
    void applySearch();
    void rebuildLists(bool keep);
    // WindowMenus.cpp
    void buildMenuBar();
    void buildFileMenu();
    void buildViewMenu();
    void buildGpsMenu();
    void buildListMenu();
    void buildToolMenus();
    Gtk::MenuItem& addMenu(const char* label, const std::vector<MenuEntry>& entries);
    void refreshSensitivity();
    void toggleFullscreen();
    void toggleList();
    void makeGpsTrack();
    void showGpsMenu();
    void plotGps();
    void openGuide();
    // WindowRowActions.cpp
    void runDropdown(DropdownRow row);
    void findMessageRate();
    void editSignal();
    void newSignal();
    void expandSelected();
    void expandAll();
    void collapseAll();
    void uncheckAll();
    void storeSelection();
    void restoreSelection();
    // WindowMessages.cpp
    bool showPendingMessages();
    void showMessage(int level, const std::string& text);
    void showHelp();
    void scrollMessage(Gtk::MessageDialog& dialog);
    void changeTitle();
    // WindowInputs.cpp
    void selectFiles(Input input);
    void openFiles(Input input, const std::vector<std::string>& files);
    void selectLogDirectories();
    void openCanInterface();
    void switchInput(Input input);
    void stopStream();
    void finishLogSelection(const std::string& folder);
    [[nodiscard]] static Input inputOf(const std::string& path);
    // WindowFiles.cpp
    int runFileDialog(Gtk::FileChooserDialog& dialog, const Glib::ustring& filterName,
                      const std::vector<std::string>& filterPatterns,
                      const std::string& startFolder);
    /// Asks the user if the file is there already.
    bool mayReplace(const std::string& file);
    void selectDbcFile();
    void selectVsdFile();
    void newVsdFile();
    void editLoadedFile();
    void restoreListFile();
    void storeListFile();
    void exportGps();
    void useDefinitions(const std::string& vsdFile, const std::string& dbcFile);
    [[nodiscard]] std::string definitionFolder(bool vsdFirst) const;
    void prepareInput(bool stopLive);
    void loadDefinitions();
    void loadTable();

    Store& store_;
    Settings& settings_;
    WindowCommands commands_;

    TimeBox timeBox_;
    SubPlot subPlot_;
    FullPlot fullPlot_;
    LogList dataList_;
    LogList statisticsList_;
    Gtk::Notebook notebook_;
    DropdownMenus dropdowns_;
    Gtk::ScrolledWindow dataPage_;
    Gtk::ScrolledWindow statisticsPage_;
    Gtk::Grid grid_;
    Gtk::HBox hBox_;
    Gtk::VBox vBox_;
    Gtk::VSeparator separator_;
    Gtk::ProgressBar progressBar_;
    Gtk::Spinner spinner_;
    Gtk::Entry searchEntry_;
    Gtk::MenuBar menuBar_;
    /// Items that lead to a tool window, with the question whether it is attached.
    std::vector<std::pair<Gtk::MenuItem*, std::function<bool()>>> optionalItems_;
    Gtk::MenuItem* gpsMenu_ = nullptr;

    bool fullscreen_ = false;
    bool listHidden_ = false;
    Glib::RefPtr<Gdk::Cursor> defaultCursor_;
    Glib::RefPtr<Gdk::Cursor> waitCursor_;
    std::shared_ptr<GPSTrack> gpsTrack_;
    std::shared_ptr<Signal> dropdownSignal_;  ///< what the open menu speaks of
    std::uint64_t lastCounter_ = 0;           ///< framesRead at its last change
    unsigned stillTicks_ = 0;                 ///< seconds without a change of framesRead
    bool progressShown_ = true;               ///< the bar is in the status cell, not the spinner
    bool spinning_ = false;
    bool reloading_ = false;      ///< page switches do not filter
    bool messagesShown_ = false;  ///< the first look at the message log is done
    bool showingMessages_ = false;
};

/// Makes the window with the process-wide settings.
std::unique_ptr<Window> createMainWindow(Store& store);

}  // namespace trelis
