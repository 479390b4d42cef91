// The part of the editor that reads and writes the definition file.
#include <glibmm/fileutils.h>
#include <gtkmm/messagedialog.h>

#include <algorithm>
#include <ctime>
#include <optional>
#include <set>
#include <system_error>

#include "app/diagnostics/AtomicFile.h"
#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/VirtSignDialog.h"
#include "config/VsdText.h"
#include "model/Message.h"
#include "virtual/VirtualMessage.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

constexpr const char* kMethodKey = "method";
constexpr const char* kStampKey = "Sigmira";
constexpr const char* kSettingsGroup = "settings";

std::string inputKey(std::size_t number) {
    return format("signal_%02lu", static_cast<unsigned long>(number));
}

// The form of a group name in a definition file.
bool isSignalName(const std::string& name) {
    if (name.empty() || name == kSettingsGroup) return false;
    if (name.front() == '.' || name.back() == '.') return false;
    if (std::count(name.begin(), name.end(), '.') > 1) return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return code <= ' ' || code == 0x7F || c == '[' || c == ']';
    });
}

// The path of the signal that a group defines.
std::string pathOf(const std::string& group) {
    return group.find('.') == std::string::npos ? "Virt.Virtual." + group : "Virt." + group;
}

struct DefinitionFile {
    std::string text;
    Glib::KeyFile keys;
};

// An empty result: the failure has been told.
std::optional<DefinitionFile> loadDefinitions(const std::string& path) {
    std::optional<DefinitionFile> file(std::in_place);
    try {
        file->text = Glib::file_get_contents(path);
        file->keys.load_from_data(file->text);
        return file;
    } catch (const Glib::Error& error) {
        report(Level::kWarning, format("Could not read VSD file: %s, error: %s", path.c_str(),
                                       error.what().c_str()));
    }
    return std::nullopt;
}

std::string localTime() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text.data();
}

// Whether `signal` is one of these or computes from one, at any remove.
bool leadsTo(const std::shared_ptr<Signal>& signal, const std::set<const Signal*>& targets) {
    std::vector<std::shared_ptr<Signal>> waiting{signal};
    std::set<const Signal*> seen;
    while (!waiting.empty()) {
        const auto next = waiting.back();
        waiting.pop_back();
        if (!next || !seen.insert(next.get()).second) continue;
        if (targets.contains(next.get())) return true;
        if (const auto* computed = dynamic_cast<const VirtualSignal*>(next.get()))
            computed->collectInputs(waiting);
    }
    return false;
}

// The signal of this path, empty if there is none.
std::shared_ptr<Signal> findSignal(Store& store, const std::string& path) {
    try {
        if (!path.empty()) return store.getSignal(path);
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): so there is none
    }
    return nullptr;
}

}  // namespace

// ---- opening

void VirtSignDialog::openGroup(const std::shared_ptr<Signal>& signal,
                               const std::shared_ptr<VirtualSignal>& definition) {
    const std::string& group = definition->vsdGroup;
    const auto file = loadDefinitions(definition->vsdFile);
    if (!file) return;
    const Glib::KeyFile& keys = file->keys;
    if (!keys.has_group(group) || !keys.has_key(group, kMethodKey)) {
        report(Level::kWarning, "Can't find method in VSD file");
        return;
    }
    const std::string text = keys.get_string(group, kMethodKey);
    const auto found = std::find_if(methods_.begin(), methods_.end(),
                                    [&](const auto& entry) { return entry->name() == text; });
    if (found == methods_.end()) {
        report(Level::kWarning, "Can't handle method: " + text);
        return;
    }
    vsdFile_ = definition->vsdFile;
    editedGroup_ = group;
    editedName_ = signal->fullName;
    fillCompletions();
    clearForm();
    methodChoice_.set_active(static_cast<int>(found - methods_.begin()));
    loadRows(keys, group);
    present("Edit virtual signal");
}

void VirtSignDialog::loadRows(const Glib::KeyFile& keyFile, const std::string& group) {
    name_.load(keyFile, group);
    unit_.load(keyFile, group);
    method().loadRows(keyFile, group);
    inputs_.clear();
    std::size_t count = 0;
    while (keyFile.has_key(group, inputKey(count + 1)))
        ++count;
    limitInputs(count);
    for (const auto& row : inputs_) {
        acceptAlternative(*row, method().name());
        row->load(keyFile, group);
    }
    for (const auto& row : commonRows_)
        row->load(keyFile, group);
}

// ---- saving

// Also at a remove: two signals that use each other can never be made.
bool VirtSignDialog::refersToItself() const {
    const auto edited = findSignal(store_, editedName_);
    if (!edited) return false;
    std::set<const Signal*> own{edited.get()};
    if (const auto* smoothed = dynamic_cast<const VirtualSignal*>(edited.get()))
        if (smoothed->smoothedSource) own.insert(smoothed->smoothedSource.get());
    std::vector<const EntrySignal*> rows;
    for (const auto& row : inputs_)
        rows.push_back(row.get());
    if (method().resetRow() != nullptr) rows.push_back(method().resetRow());
    // The trial tells what is wrong with a path that leads nowhere.
    return std::any_of(rows.begin(), rows.end(), [&](const EntrySignal* row) {
        return leadsTo(findSignal(store_, row->value()), own);
    });
}

bool VirtSignDialog::writeSignal(Glib::KeyFile& keyFile, const std::string& group) const {
    keyFile.set_string(group, kMethodKey, method().name());
    if (refersToItself()) {
        report(Level::kWarning, "Signal is referring to it self.");
        return false;
    }
    method().saveRows(keyFile, group);
    unit_.save(keyFile, group);
    for (const auto& row : inputs_)
        row->save(keyFile, group);
    for (const auto& row : commonRows_)
        row->save(keyFile, group);
    keyFile.set_string(group, kStampKey, localTime());
    return true;
}

bool VirtSignDialog::tryDefinition(const std::string& group) const {
    std::string reason;
    try {
        Glib::KeyFile scratch;
        if (!writeSignal(scratch, group)) return false;
        const auto message = std::make_shared<VirtualMessage>(store_, 0, "_");
        method().buildSignal(message, group, scratch, vsdFile_);
        return true;
    } catch (const Glib::Exception& error) {
        reason = error.what();
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (const PrintMsgError&) {
        // Told already; the words below say what came of it.
    }
    if (reason.empty()) reason = "Unknown error.";
    report(Level::kWarning, format("Can't create signal:\n\n\"%s\"", reason.c_str()));
    return false;
}

bool VirtSignDialog::storeDefinition(const std::string& group) {
    const auto file = loadDefinitions(vsdFile_);
    if (!file) return false;
    if (group != editedGroup_ && file->keys.has_group(group)) {
        report(Level::kWarning, format("VSD file %s already has signal with that name (%s)",
                                       vsdFile_.c_str(), group.c_str()));
        return false;
    }
    try {
        Glib::KeyFile definition;
        if (!writeSignal(definition, group)) return false;
        const std::string others = removeGroup(removeGroup(file->text, editedGroup_), group);
        replaceFile(vsdFile_, appendGroup(others, definition.to_data().raw()));
        return true;
    } catch (const Glib::Exception& error) {
        report(Level::kWarning, format("Could not store changes to VSD file %s:\n%s",
                                       vsdFile_.c_str(), error.what().c_str()));
    } catch (const std::exception& error) {
        report(Level::kWarning, format("Could not store changes to VSD file %s:\n%s",
                                       vsdFile_.c_str(), error.what()));
    }
    return false;
}

void VirtSignDialog::saveChanges() {
    if (store_.waitingForWork()) return;
    const std::string group = name_.value();
    if (!isSignalName(group)) {
        report(Level::kWarning, "Signal name must have form <msgName>.<signalName>");
        return;
    }
    if (!tryDefinition(group) || !storeDefinition(group)) return;
    forgetEdited();
    hide();
    if (hooks_.reloadAndSelect) hooks_.reloadAndSelect(pathOf(group));
}

// ---- deleting

std::vector<std::string> VirtSignDialog::usersOfEdited() const {
    std::vector<std::string> users;
    const auto interface = store_.findInterfaceByNumber(kVirtualInterface);
    if (!interface) return users;
    for (const auto& [id, message] : interface->messages)
        for (const auto& signal : message->signals) {
            const auto* candidate = dynamic_cast<const VirtualSignal*>(signal.get());
            if (candidate == nullptr || signal->internalOnly || signal->fullName == editedName_)
                continue;
            // The signal inside a smoothing window answers for the one that is listed.
            const Signal* asked =
                candidate->smoothedSource ? candidate->smoothedSource.get() : signal.get();
            if (asked->usesSignal(editedName_)) users.push_back(signal->fullName);
        }
    return users;
}

void VirtSignDialog::deleteSignal() {
    if (editedName_.empty() || store_.waitingForWork()) return;
    if (const auto users = usersOfEdited(); !users.empty()) {
        std::string names;
        for (const std::string& user : users)
            names += "\n\t- " + user;
        report(Level::kInfo,
               "Can't delete signal,  other virtual signals still use it as input:" + names);
        return;
    }
    Gtk::MessageDialog question(*this, "Do you want to delete this signal?", false,
                                Gtk::MESSAGE_QUESTION, Gtk::BUTTONS_YES_NO, true);
    question.set_secondary_text("Deleted signals can't be restored.");
    if (question.run() != Gtk::RESPONSE_YES) return;
    question.hide();
    const auto file = loadDefinitions(vsdFile_);
    if (!file) return;
    std::string reason;
    try {
        if (file->keys.has_group(editedGroup_))
            replaceFile(vsdFile_, removeGroup(file->text, editedGroup_));
        else
            reason = "There is no group " + editedGroup_;
    } catch (const std::exception& error) {
        reason = error.what();
    }
    if (!reason.empty()) {
        report(Level::kWarning, format("Could not delete signal from VSD file %s: %s",
                                       vsdFile_.c_str(), reason.c_str()));
        return;
    }
    forgetEdited();
    hide();
    store_.reloadRequested.emit();
}

}  // namespace trelis
