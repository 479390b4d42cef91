// Window: what the data comes from: recordings, tables, traces, a CAN interface of this machine.
#include <glibmm/miscutils.h>
#include <gtkmm/comboboxtext.h>
#include <gtkmm/dialog.h>
#include <gtkmm/label.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/CanSocket.h"
#include "input/LogFiles.h"
#include "plot/ListFilter.h"
#include "plot/Window.h"

namespace trelis {
namespace {

constexpr int kDialogMargin = 10;  // px
constexpr std::array<std::string_view, 2> kLogExtensions = {".lz4", ".bin"};

struct FileKind {
    const char* title;
    const char* filterName;
    std::vector<std::string> patterns;
};

// In the order of Window::Input.
const FileKind& fileKind(std::size_t input) {
    static const std::array<FileKind, 3> kinds = {{
        {"Select log files", "Log files", {"*.lz4", "*.bin"}},
        {"Select CSV tables", "CSV tables", {"*.csv", "*.CSV"}},
        {"Select ASC traces", "ASC traces", {"*.asc", "*.ASC"}},
    }};
    return kinds.at(input);
}

// The name that the user gives; nothing if the dialog is cancelled.
std::optional<std::string> askForCanInterface(Gtk::Window& parent) {
    Gtk::Dialog dialog("Open CAN interface", parent, true);
    Gtk::Label label("_Interface: ", true);
    Gtk::ComboBoxText choice(true);
    for (const std::string& name : canInterfaces())
        choice.append(name);
    choice.append("any");
    choice.set_tooltip_text("Name of a CAN interface, such as can0, or any for all of them");
    choice.get_entry()->set_text(choice.get_model()->children().size() > 1 ? canInterfaces().front()
                                                                           : "can0");
    choice.get_entry()->set_activates_default(true);
    label.set_mnemonic_widget(*choice.get_entry());
    Gtk::Box row(Gtk::ORIENTATION_HORIZONTAL, kDialogMargin);
    row.set_border_width(kDialogMargin);
    row.pack_start(label, Gtk::PACK_SHRINK);
    row.pack_start(choice);
    dialog.get_content_area()->pack_start(row);
    dialog.add_button("_Cancel", Gtk::RESPONSE_CANCEL);
    dialog.add_button("_Open", Gtk::RESPONSE_OK);
    dialog.set_default_response(Gtk::RESPONSE_OK);
    dialog.show_all();
    choice.get_entry()->grab_focus();
    if (dialog.run() != Gtk::RESPONSE_OK) return std::nullopt;
    return choice.get_entry()->get_text();
}

}  // namespace

// ---- files

Window::Input Window::inputOf(const std::string& path) {
    const std::string name = lowerCase(path);
    if (name.ends_with(".csv")) return Input::kTables;
    return name.ends_with(".asc") ? Input::kTraces : Input::kRecordings;
}

void Window::selectFiles(Input input) {
    const FileKind& kind = fileKind(static_cast<std::size_t>(input));
    Gtk::FileChooserDialog dialog(kind.title, Gtk::FILE_CHOOSER_ACTION_OPEN);
    dialog.set_select_multiple(true);
    if (runFileDialog(dialog, kind.filterName, kind.patterns, settings_.getLogPath()) !=
        Gtk::RESPONSE_OK)
        return;
    const auto files = dialog.get_filenames();
    dialog.hide();
    if (!files.empty()) openFiles(input, files);
}

void Window::openFiles(Input input, const std::vector<std::string>& files) {
    stopStream();
    switchInput(input);
    for (const std::string& file : files) {
        if (input == Input::kRecordings && Glib::file_test(file, Glib::FILE_TEST_IS_DIR))
            addLogDirectory(file);
        else
            addLogFile(store_, file);
    }
    finishLogSelection(Glib::path_get_dirname(files.front()));
    // A table is read as a whole, whatever is selected.
    if (store_.csvMode) store_.requestParse();
}

void Window::selectLogDirectories() {
    Gtk::FileChooserDialog dialog("Select log directories", Gtk::FILE_CHOOSER_ACTION_SELECT_FOLDER);
    dialog.set_select_multiple(true);
    if (runFileDialog(dialog, "Log directories", {"*"}, settings_.getLogPath()) != Gtk::RESPONSE_OK)
        return;
    const auto folders = dialog.get_filenames();
    dialog.hide();
    if (!folders.empty()) openFiles(Input::kRecordings, folders);
}

void Window::addLogDirectory(const std::string& folder) {
    namespace fs = std::filesystem;
    try {
        const auto options = fs::directory_options::skip_permission_denied;
        for (const auto& entry : fs::recursive_directory_iterator(folder, options)) {
            const std::string extension = entry.path().extension().string();
            std::error_code unreadable;
            if (std::ranges::find(kLogExtensions, extension) != kLogExtensions.end() &&
                entry.is_regular_file(unreadable))
                addLogFile(store_, entry.path().string());
        }
    } catch (const fs::filesystem_error&) {
        report(Level::kWarning, format("Failed to open log directory: %s", folder.c_str()));
    }
}

void Window::finishLogSelection(const std::string& folder) {
    settings_.setLogPath(folder);
    settings_.save();
    const bool recordings = !store_.csvMode;
    reload(true);
    if (recordings && !store_.hasLogFiles()) report(Level::kInfo, "No log files found");
}

// ---- from one input to another

// A list of files of one kind means nothing to the reader of another.
void Window::switchInput(Input input) {
    store_.csvMode = input == Input::kTables;
    store_.ascMode = input == Input::kTraces;
    store_.dongleMode = input == Input::kCan;
    clearLogFiles(store_);
}

void Window::stopStream() {
    if (!store_.liveMode) return;
    store_.stopNetwork();
    store_.dongleMode = false;
}

void Window::openCanInterface() {
    if (store_.waitingForWork()) return;
    const auto name = askForCanInterface(*this);
    if (!name) return;
    const auto channel = canChannelOf(*name);
    const std::string problem =
        channel ? canProblem(*channel)
                : format("'%s' is no CAN interface, such as can0", name->c_str());
    if (problem.empty())
        startCan(*channel);
    else
        report(Level::kError, problem);
}

void Window::startCan(std::int32_t channel) {
    stopStream();
    switchInput(Input::kCan);
    store_.dongleChannel = channel;
    store_.liveMode = true;
    reload(false);
    store_.requestParse();
}

}  // namespace trelis
