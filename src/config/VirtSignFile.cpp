// The part of the editor that reads and writes the definition file.
#include <gtkmm/messagedialog.h>

#include <algorithm>
#include <ctime>
#include <set>

#include "app/diagnostics/AtomicFile.h"
#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "config/SignalUse.h"
#include "config/VirtSignDialog.h"
#include "config/VsdGroup.h"
#include "config/VsdText.h"
#include "virtual/VirtualMessage.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

constexpr const char* kMethodKey = "method";
constexpr const char* kStampKey = "Sigmira";

std::string localTime() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text.data();
}

/// A message outside the model for a signal on trial. The two hold each other, and through the
/// signal's inputs the whole model, until it is cleared.
struct ScratchMessage {
    explicit ScratchMessage(Store& store)
        : message(std::make_shared<VirtualMessage>(store, 0, "_")) {}
    ScratchMessage(const ScratchMessage&) = delete;
    ScratchMessage& operator=(const ScratchMessage&) = delete;
    ~ScratchMessage() { message->clearMessage(); }

    const std::shared_ptr<VirtualMessage> message;
};

}  // namespace

// ---- opening

void VirtSignDialog::openGroup(const std::shared_ptr<Signal>& signal,
                               const std::shared_ptr<VirtualSignal>& definition) {
    const std::string& group = definition->vsdGroup;
    const auto file = openDefinitions(definition->vsdFile);
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
    inputs_.load(keyFile, group, method());
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
    for (const auto& row : inputs_.rows())
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
    for (const auto& row : inputs_.rows())
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
        const ScratchMessage owner(store_);
        method().buildSignal(owner.message, group, scratch, vsdFile_);
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
    const auto file = openDefinitions(vsdFile_);
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
    if (!isGroupName(group)) {
        report(Level::kWarning, "Signal name must have form <msgName>.<signalName>");
        return;
    }
    if (!tryDefinition(group) || !storeDefinition(group)) return;
    forgetEdited();
    hide();
    if (hooks_.reloadAndSelect) hooks_.reloadAndSelect(pathOfGroup(group));
}

// ---- deleting

void VirtSignDialog::deleteSignal() {
    if (editedName_.empty() || store_.waitingForWork()) return;
    if (const auto users = usersOf(store_, editedName_); !users.empty()) {
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
    std::string reason;
    try {
        const DefinitionFile file = readDefinitions(vsdFile_);
        if (file.keys.has_group(editedGroup_))
            replaceFile(vsdFile_, removeGroup(file.text, editedGroup_));
        else
            reason = "There is no group " + editedGroup_;
    } catch (const Glib::Exception& error) {
        reason = error.what();
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
