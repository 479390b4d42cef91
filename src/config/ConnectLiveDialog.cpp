#include "config/ConnectLiveDialog.h"

#include <glibmm/fileutils.h>
#include <glibmm/miscutils.h>
#include <gtkmm/filechooserdialog.h>
#include <gtkmm/messagedialog.h>

#include <utility>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/LiveAddress.h"
#include "config/settings/Settings.h"

namespace trelis {
namespace {

constexpr const char* kDefaultTitle = "Live connection";
constexpr const char* kExtension = ".tvlive";
constexpr int kSpacing = 6;

// The name that a stored connection gets.
std::string withExtension(const std::string& path) {
    return path.ends_with(kExtension) ? path : path + kExtension;
}

}  // namespace

ConnectLiveDialog::ConnectLiveDialog(Gtk::Window& parent, Store& store, Settings& settings,
                                     LiveDialogHooks hooks)
    : store_(store),
      settings_(settings),
      hooks_(std::move(hooks)),
      openButton_("_Open", true),
      saveButton_("_Save", true),
      connectButton_("_Connect", true) {
    set_title("Connect live to logger");
    set_transient_for(parent);
    set_position(Gtk::WIN_POS_CENTER_ON_PARENT);
    set_default_size(420, -1);
    layOut();
    openButton_.signal_clicked().connect([this] {
        if (const std::string path = askForFile(false); !path.empty()) openFile(path);
    });
    saveButton_.signal_clicked().connect([this] {
        if (const std::string path = askForFile(true); !path.empty()) saveFile(path);
    });
    connectButton_.signal_clicked().connect(
        sigc::mem_fun(*this, &ConnectLiveDialog::connectToLogger));
    store_.connectionChanged.connect(sigc::mem_fun(*this, &ConnectLiveDialog::onConnectionChanged));
}

void ConnectLiveDialog::layOut() {
    struct Row {
        const char* label;
        Gtk::Entry& entry;
        const char* tooltip;
    };
    const std::array<Row, 3> rows = {{
        {"Connection name: ", title_, "Descriptive name of this connection."},
        {"Logger address: ", address_, "Logger DNS or IP address <server>:<port>"},
        {"Encryption key: ", key_, "Leave blank if encryption is not enabled."},
    }};
    grid_.set_row_spacing(kSpacing);
    grid_.set_column_spacing(kSpacing);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const int line = static_cast<int>(i);
        rowLabels_[i].set_text(rows[i].label);
        rowLabels_[i].set_halign(Gtk::ALIGN_START);
        rows[i].entry.set_tooltip_text(rows[i].tooltip);
        rows[i].entry.get_accessible()->set_name(rows[i].label);
        rows[i].entry.set_hexpand(true);
        rows[i].entry.set_activates_default(true);
        grid_.attach(rowLabels_[i], 0, line);
        grid_.attach(rows[i].entry, 1, line);
    }
    title_.set_text(kDefaultTitle);
    address_.set_placeholder_text("logger.example.com:777");
    int line = static_cast<int>(rows.size());
    for (Gtk::Label* label : {&dbcLabel_, &vsdLabel_}) {
        label->set_halign(Gtk::ALIGN_START);
        label->set_ellipsize(Pango::ELLIPSIZE_START);
        label->set_no_show_all(true);
        grid_.attach(*label, 0, line++, 2, 1);
    }

    openButton_.set_tooltip_text("Open stored live connection.");
    saveButton_.set_tooltip_text("Store this connection to file.");
    spinner_.set_no_show_all(true);
    spinner_.get_accessible()->set_name("Connecting");
    connectButton_.set_can_default(true);
    buttons_.set_spacing(kSpacing);
    buttons_.pack_start(openButton_, Gtk::PACK_SHRINK);
    buttons_.pack_start(saveButton_, Gtk::PACK_SHRINK);
    buttons_.pack_end(connectButton_, Gtk::PACK_SHRINK);
    buttons_.pack_end(spinner_, Gtk::PACK_SHRINK);
    box_.set_border_width(2 * kSpacing);
    box_.set_spacing(2 * kSpacing);
    box_.pack_start(grid_);
    box_.pack_start(buttons_, Gtk::PACK_SHRINK);
    add(box_);
    box_.show_all();
    set_default(connectButton_);
}

// ---- filling

void ConnectLiveDialog::on_show() {
    fillOnce();
    title_.grab_focus();  // an entry with the focus does not show its hint
    Gtk::Window::on_show();
}

void ConnectLiveDialog::fillOnce() {
    if (!loadLastConnection_) return;
    loadLastConnection_ = false;
    StoredConnection connection;
    if (store_.networkInput) {
        connection.title = kDefaultTitle;
        connection.server = store_.hostName;
        connection.port = std::to_string(store_.port);
        connection.key = store_.decryptionKey;
    } else if (const auto last = readStoredConnection(store_.liveFilePath)) {
        connection = *last;
    }
    fill(connection);
}

void ConnectLiveDialog::fill(const StoredConnection& connection) {
    if (!connection.title.empty()) title_.set_text(connection.title);
    address_.set_text(joinAddress({connection.server, connection.port}));
    key_.set_text(connection.key);
    setPaths(connection.vsdFile, connection.dbcFile);
}

void ConnectLiveDialog::setPaths(const std::string& vsdFile, const std::string& dbcFile) {
    vsdFile_ = vsdFile;
    dbcFile_ = dbcFile;
    vsdLabel_.set_text("VSD file: " + Glib::filename_display_name(vsdFile));
    dbcLabel_.set_text("DBC file: " + Glib::filename_display_name(dbcFile));
    vsdLabel_.set_visible(!vsdFile.empty());
    dbcLabel_.set_visible(!dbcFile.empty());
}

// ---- files

void ConnectLiveDialog::rememberFolder(const std::string& path) {
    settings_.setLivePath(Glib::path_get_dirname(path));
    settings_.save();
}

// The chooser asks before it replaces a file of the name that was typed, not of the name that gets
// the extension.
bool ConnectLiveDialog::mayReplace(const std::string& file) {
    if (!Glib::file_test(file, Glib::FILE_TEST_EXISTS)) return true;
    Gtk::MessageDialog question(*this,
                                "\"" + Glib::filename_display_name(file) +
                                    "\" already exists, do you want to overwrite it?",
                                false, Gtk::MESSAGE_QUESTION, Gtk::BUTTONS_YES_NO, true);
    return question.run() == Gtk::RESPONSE_YES;
}

std::string ConnectLiveDialog::askForFile(bool save) {
    Gtk::FileChooserDialog dialog(
        *this, save ? "Select file to save to" : "Select file to open",
        save ? Gtk::FILE_CHOOSER_ACTION_SAVE : Gtk::FILE_CHOOSER_ACTION_OPEN);
    dialog.add_button("_Cancel", Gtk::RESPONSE_CANCEL);
    dialog.add_button("Select", Gtk::RESPONSE_OK);
    dialog.set_default_response(Gtk::RESPONSE_OK);
    if (save) {
        dialog.set_do_overwrite_confirmation(true);
        dialog.set_current_name("connection.tvlive");
    } else {
        const auto filter = Gtk::FileFilter::create();
        filter->set_name("all files");
        filter->add_pattern("*");
        dialog.add_filter(filter);
    }
    if (const auto folder = settings_.getLivePath(); !folder.empty())
        dialog.set_current_folder(folder);
    if (dialog.run() != Gtk::RESPONSE_OK) return {};
    const std::string path = dialog.get_filename();
    dialog.hide();
    const bool isNamed = path.empty() || !save || path == withExtension(path);
    return isNamed || mayReplace(withExtension(path)) ? path : std::string();
}

void ConnectLiveDialog::openFile(const std::string& path) {
    rememberFolder(path);
    auto connection = readStoredConnection(path);
    if (!connection) {
        report(Level::kWarning, "Couldn't open " + path);
        return;
    }
    loadLastConnection_ = false;
    resolvePaths(*connection, path);
    fill(*connection);
}

void ConnectLiveDialog::saveFile(const std::string& path) {
    const std::string file = withExtension(path);
    rememberFolder(file);
    const LiveAddress address = splitAddress(address_.get_text());
    StoredConnection connection;
    connection.title = title_.get_text();
    connection.server = address.host;
    connection.port = address.port.empty() ? kDefaultPortText : address.port;
    connection.key = key_.get_text();
    if (const std::string dbcFile = settings_.getDbFile(); dbcFile != kNoFile)
        connection.dbcFile = dbcFile;
    else if (const std::string vsdFile = settings_.getVsdFile(); vsdFile != kNoFile)
        connection.vsdFile = vsdFile;
    writeStoredConnection(file, connection);
}

// ---- connecting

// A path that leads nowhere is passed over: the connection starts with the definitions that are
// loaded.
void ConnectLiveDialog::useDefinitions() {
    const auto exists = [](const std::string& path) {
        return !path.empty() && Glib::file_test(path, Glib::FILE_TEST_IS_REGULAR);
    };
    if (!vsdFile_.empty()) {
        if (!exists(vsdFile_)) return;
        settings_.setDbFile(kNoFile);
        settings_.setVsdFile(vsdFile_);
    } else if (exists(dbcFile_)) {
        settings_.setVsdFile(kNoFile);
        settings_.setDbFile(dbcFile_);
    }
    settings_.save();
}

void ConnectLiveDialog::connectToLogger() {
    if (connecting_) return;
    if (store_.waitingForWork()) {
        hide();
        return;
    }
    setConnecting(true);
    // Before anything that the running connection reads is changed.
    if (store_.networkInput || store_.liveMode) store_.stopNetwork();
    const LiveAddress address = splitAddress(address_.get_text());
    const std::string title = title_.get_text();
    store_.decryptionKey = key_.get_text();
    store_.port = readPort(address.port);
    store_.hostName = address.host;
    useDefinitions();
    store_.liveMode = true;
    store_.networkInput = true;
    store_.title = title;
    if (hooks_.setTitle) hooks_.setTitle(title);
    saveLiveFile(store_);
    if (hooks_.reload) hooks_.reload();
    store_.requestParse();
}

void ConnectLiveDialog::reconnect() {
    fillOnce();
    connectToLogger();
}

void ConnectLiveDialog::setConnecting(bool connecting) {
    connecting_ = connecting;
    for (Gtk::Widget* widget :
         std::initializer_list<Gtk::Widget*>{&address_, &key_, &connectButton_})
        widget->set_sensitive(!connecting);
    spinner_.set_visible(connecting);
    if (connecting)
        spinner_.start();
    else
        spinner_.stop();
}

void ConnectLiveDialog::onConnectionChanged() {
    if (!connecting_) return;
    setConnecting(false);
    if (store_.connected)
        hide();
    else
        address_.grab_focus();  // the focus went when the entries became insensitive
}

}  // namespace trelis
