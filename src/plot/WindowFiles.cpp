// Window: choosing files, and loading what was chosen.
#include <glibmm/error.h>
#include <glibmm/miscutils.h>
#include <glibmm/spawn.h>
#include <gtkmm/messagedialog.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/CsvImport.h"
#include "input/DbcReader.h"
#include "input/SignalList.h"
#include "input/VsdFile.h"
#include "model/builtin/BuiltinMessages.h"
#include "model/builtin/LoggerMessage.h"
#include "plot/Window.h"
#include "virtual/GPSTrack.h"

namespace trelis {
namespace {

constexpr int kRefused = 1;
constexpr const char* kListExtension = ".tvlist";
constexpr const char* kVsdExtension = ".vsd";

std::string withExtension(const std::string& path, const std::string& extension) {
    return path.ends_with(extension) ? path : path + extension;
}

}  // namespace

int Window::runFileDialog(Gtk::FileChooserDialog& dialog, const Glib::ustring& filterName,
                          const std::vector<std::string>& filterPatterns,
                          const std::string& startFolder) {
    if (store_.waitingForWork()) return kRefused;
    const auto addFilter = [&](const Glib::ustring& name,
                               const std::vector<std::string>& patterns) {
        const auto filter = Gtk::FileFilter::create();
        filter->set_name(name);
        for (const std::string& pattern : patterns)
            filter->add_pattern(pattern);
        dialog.add_filter(filter);
    };
    addFilter(filterName, filterPatterns);
    addFilter("all files", {"*"});
    dialog.add_button("_Cancel", Gtk::RESPONSE_CANCEL);
    dialog.add_button("Select", Gtk::RESPONSE_OK);
    dialog.set_default_response(Gtk::RESPONSE_OK);
    if (!startFolder.empty()) dialog.set_current_folder(startFolder);
    dialog.set_transient_for(*this);
    return dialog.run();
}

bool Window::mayReplace(const std::string& file) {
    if (!std::filesystem::exists(file)) return true;
    const auto question = "\"" + Glib::filename_display_basename(file) +
                          "\" already exists, do you want to overwrite it?";
    Gtk::MessageDialog ask(*this, question, false, Gtk::MESSAGE_QUESTION, Gtk::BUTTONS_YES_NO,
                           true);
    return ask.run() == Gtk::RESPONSE_YES;
}

// ---- definitions

std::string Window::definitionFolder(bool vsdFirst) const {
    const std::string first = vsdFirst ? settings_.getVsdFile() : settings_.getDbFile();
    const std::string second = vsdFirst ? settings_.getDbFile() : settings_.getVsdFile();
    for (const std::string& file : {first, second})
        if (file != kNoFile) return Glib::path_get_dirname(file);
    return {};
}

void Window::useDefinitions(const std::string& vsdFile, const std::string& dbcFile) {
    settings_.setVsdFile(vsdFile);
    settings_.setDbFile(dbcFile);
    settings_.save();
    reload(true);
}

void Window::selectDbcFile() {
    Gtk::FileChooserDialog dialog("Select DBC file", Gtk::FILE_CHOOSER_ACTION_OPEN);
    if (runFileDialog(dialog, "DBC files", {"*.dbc"}, definitionFolder(false)) != Gtk::RESPONSE_OK)
        return;
    const std::string file = dialog.get_filename();
    dialog.hide();
    if (!file.empty()) useDefinitions(kNoFile, file);
}

void Window::selectVsdFile() {
    Gtk::FileChooserDialog dialog("Select VSD file", Gtk::FILE_CHOOSER_ACTION_OPEN);
    if (runFileDialog(dialog, "VSD files", {"*.vsd"}, definitionFolder(true)) != Gtk::RESPONSE_OK)
        return;
    const std::string file = dialog.get_filename();
    dialog.hide();
    if (!file.empty()) useDefinitions(file, kNoFile);
}

void Window::newVsdFile() {
    Gtk::FileChooserDialog dialog("Create new VSD file", Gtk::FILE_CHOOSER_ACTION_SAVE);
    if (runFileDialog(dialog, "New VSD file", {"*.vsd"}, definitionFolder(true)) !=
        Gtk::RESPONSE_OK)
        return;
    const std::string chosen = dialog.get_filename();
    dialog.hide();
    if (chosen.empty()) return;
    const std::string file = withExtension(chosen, kVsdExtension);
    if (!mayReplace(file) || !writeExampleVsd(file)) return;
    openInEditor(file);
    useDefinitions(file, kNoFile);
}

void Window::editLoadedFile() {
    const std::string vsd = settings_.getVsdFile();
    const std::string file = vsd != kNoFile ? vsd : settings_.getDbFile();
    if (file == kNoFile)
        report(Level::kInfo, "Couldn't open VSD/DBC file for editing. None loaded.");
    else
        openInEditor(file);
}

void Window::openInEditor(const std::string& path) {
    const std::string editor = settings_.getDefaultEditor();
    try {
        Glib::spawn_command_line_async("\"" + editor + "\" \"" + path + "\"");
    } catch (const Glib::Error& error) {
        report(Level::kInfo,
               format("Couldn't execute %s: %s", editor.c_str(), error.what().c_str()));
    }
}

// A table that is none is told, and then the window goes on without it.
void Window::loadTable() {
    try {
        prepareCsvImport(store_);
    } catch (const PrintMsgError&) {
        switchInput(Input::kRecordings);
        store_.clearAll();
    }
}

void Window::loadDefinitions() {
    if (store_.csvMode) loadTable();
    if (!store_.csvMode && !store_.ascMode && !store_.dongleMode) addLoggerInterface(store_);
    if (const std::string vsd = settings_.getVsdFile(); vsd != kNoFile) {
        loadVsdFile(store_, vsd);
    } else if (const std::string dbc = settings_.getDbFile(); dbc != kNoFile) {
        readDbcFile(store_, dbc, 0, "Can");
        addBuiltinMessages(store_);
    }
}

void Window::prepareInput(bool stopLive) {
    if (stopLive) stopStream();
    // A connection to a logger takes the place of whatever was shown.
    if (store_.networkInput && (store_.csvMode || store_.ascMode || store_.dongleMode))
        switchInput(Input::kRecordings);
}

void Window::reload(bool stopLive) {
    prepareInput(stopLive);
    reloading_ = true;
    gpsTrack_.reset();
    dropdownSignal_.reset();
    subPlot_.stopPainting();
    fullPlot_.stopPainting();
    store_.clearAll();
    if (commands_.forgetGps) commands_.forgetGps();
    timeBox_.clearInterval();
    windowReloaded.emit();
    try {
        loadDefinitions();
    } catch (const PrintMsgError&) {
        // It was reported: what was read till then is shown, with the message.
    } catch (const Glib::Error& error) {
        report(Level::kError, format("Glib: %s", error.what().c_str()));
    } catch (const std::exception& error) {
        report(Level::kError, format("Exception: %s", error.what()));
    }
    showGpsMenu();
    rebuildLists(true);
    loadSignalList(store_, settings_);
    refreshLists();
    store_.requestRedraw();
    reloading_ = false;
    // All is in order by now: the dialog runs the main loop.
    if (store_.guiRunning) MessageLog::instance().showAll(static_cast<Gtk::Window*>(this));
    if (settings_.getVsdFile() == kNoFile && settings_.getDbFile() == kNoFile && !store_.csvMode)
        report(Level::kInfo, "Could not reload, please select VSD/DBC file");
}

// ---- signal lists

void Window::restoreListFile() {
    Gtk::FileChooserDialog dialog("Select signal list file", Gtk::FILE_CHOOSER_ACTION_OPEN);
    if (runFileDialog(dialog, "Signal list files", {"*.tvlist"}, settings_.getListPath()) !=
        Gtk::RESPONSE_OK)
        return;
    const std::string file = dialog.get_filename();
    dialog.hide();
    if (file.empty() || !restoreSignalListFile(store_, file)) return;
    settings_.setListPath(Glib::path_get_dirname(file));
    refreshLists();
    store_.requestRedraw();
}

void Window::storeListFile() {
    Gtk::FileChooserDialog dialog("Store signal list to file", Gtk::FILE_CHOOSER_ACTION_SAVE);
    if (runFileDialog(dialog, "Signal list files", {"*.tvlist"}, settings_.getListPath()) !=
        Gtk::RESPONSE_OK)
        return;
    const std::string chosen = dialog.get_filename();
    dialog.hide();
    if (chosen.empty()) return;
    const std::string file = withExtension(chosen, kListExtension);
    if (!mayReplace(file) || !storeSignalListFile(store_, settings_, file)) return;
    settings_.setListPath(Glib::path_get_dirname(file));
}

// ---- track

void Window::exportGps() {
    if (store_.parsing) {
        report(Level::kInfo, "Wait for parse to complete");
        return;
    }
    if (!gpsTrack_) return;
    Gtk::FileChooserDialog dialog("Select file to write GPX data to",
                                  Gtk::FILE_CHOOSER_ACTION_SAVE);
    dialog.set_current_name("track.gpx");
    if (runFileDialog(dialog, "GPX-files", {"*.gpx"}, settings_.getLogPath()) != Gtk::RESPONSE_OK)
        return;
    const std::string chosen = dialog.get_filename();
    dialog.hide();
    if (chosen.empty() || !mayReplace(chosen)) return;
    const std::int64_t left = store_.leftRuler;
    const std::int64_t right = store_.rightRuler;
    std::uint64_t from = timeBox_.start;
    std::uint64_t to = timeBox_.end;
    if (left >= 0 && right >= 0) {
        from = static_cast<std::uint64_t>(std::min(left, right));
        to = static_cast<std::uint64_t>(std::max(left, right));
    }
    if (to == 0) to = std::numeric_limits<std::uint64_t>::max();
    gpsTrack_->exportGpx(chosen, from, to);
}

}  // namespace trelis
