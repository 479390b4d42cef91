// Window: files dropped on it.
#include <glibmm/convert.h>
#include <glibmm/fileutils.h>
#include <glibmm/miscutils.h>
#include <gtkmm/selectiondata.h>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "input/LogFiles.h"
#include "plot/ListFilter.h"
#include "plot/Window.h"

namespace trelis {

void Window::on_drag_data_received(const Glib::RefPtr<Gdk::DragContext>& context, int /*x*/,
                                   int /*y*/, const Gtk::SelectionData& data, guint /*info*/,
                                   guint time) {
    std::vector<std::string> paths;
    for (const auto& uri : data.get_uris()) {
        try {
            paths.push_back(Glib::filename_from_uri(uri));
        } catch (const Glib::ConvertError&) {
            report(Level::kInfo, format("Only local files can be opened: %s", uri.c_str()));
        }
    }
    context->drag_finish(!paths.empty(), false, time);
    if (!paths.empty()) openPaths(paths);
}

void Window::openPaths(const std::vector<std::string>& paths) {
    if (store_.waitingForWork()) return;
    std::string vsd;
    std::string dbc;
    std::vector<std::string> logs;
    for (const std::string& path : paths) {
        const std::string name = lowerCase(path);
        if (name.ends_with(".tvlive")) {
            // A connection brings its own definitions and needs no recordings.
            if (commands_.openStoredConnection) commands_.openStoredConnection(path);
            return;
        }
        if (name.ends_with(".vsd"))
            vsd = path;
        else if (name.ends_with(".dbc"))
            dbc = path;
        else
            logs.push_back(path);
    }
    if (!vsd.empty() || !dbc.empty()) {
        // One definition file is loaded at a time, and a VSD file names the DBC files it needs.
        settings_.setVsdFile(vsd.empty() ? std::string(kNoFile) : vsd);
        settings_.setDbFile(vsd.empty() ? dbc : std::string(kNoFile));
        settings_.save();
    }
    if (logs.empty()) {
        reload(true);
        return;
    }
    clearLogFiles(store_);
    for (const std::string& path : logs) {
        if (Glib::file_test(path, Glib::FILE_TEST_IS_DIR))
            addLogDirectory(path);
        else
            addLogFile(store_, path);
    }
    finishLogSelection(Glib::path_get_dirname(logs.front()));
}

}  // namespace trelis
