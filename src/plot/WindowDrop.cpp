// Window: files dropped on it.
#include <glibmm/convert.h>
#include <glibmm/main.h>
#include <gtkmm/selectiondata.h>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "plot/ListFilter.h"
#include "plot/Window.h"

namespace trelis {

// The toolkit ends the drag itself. The files are opened behind it: a dialog that comes up would
// let the program wait that they were dragged from.
void Window::on_drag_data_received(const Glib::RefPtr<Gdk::DragContext>& /*context*/, int /*x*/,
                                   int /*y*/, const Gtk::SelectionData& data, guint /*info*/,
                                   guint /*time*/) {
    std::vector<std::string> paths;
    for (const auto& uri : data.get_uris()) {
        try {
            paths.push_back(Glib::filename_from_uri(uri));
        } catch (const Glib::ConvertError&) {
            report(Level::kInfo, format("Only local files can be opened: %s", uri.c_str()));
        }
    }
    if (paths.empty()) return;
    Glib::signal_idle().connect_once(sigc::track_obj([this, paths] { openPaths(paths); }, *this));
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
    // One kind of data is shown at a time: that of the first file.
    const Input input = inputOf(logs.front());
    std::erase_if(logs, [&](const std::string& path) {
        if (inputOf(path) == input) return false;
        report(Level::kInfo, format("%s is of another kind, skipping", path.c_str()));
        return true;
    });
    openFiles(input, logs);
}

}  // namespace trelis
