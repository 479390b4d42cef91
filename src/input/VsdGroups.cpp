#include "input/VsdGroups.h"

#include <glibmm/exception.h>

#include <algorithm>
#include <fstream>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/FieldScanner.h"
#include "input/VsdFile.h"
#include "model/Signal.h"
#include "virtual/SignalFactory.h"
#include "virtual/VirtualMessage.h"

namespace trelis {
namespace {

constexpr const char* kSettings = "settings";
constexpr const char* kDefaultMessage = "Virtual";

/// The lines at which the groups of a file begin, from 1.
std::unordered_map<std::string, std::uint64_t> groupLines(const std::string& path,
                                                          const FindingSink& sink) {
    std::unordered_map<std::string, std::uint64_t> lines;
    std::ifstream stream(path);
    std::string line;
    for (std::uint64_t number = 1; std::getline(stream, line); ++number) {
        const auto start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] != '[') continue;
        const auto end = line.find(']', start);
        if (end == std::string::npos) continue;
        const std::string name = line.substr(start + 1, end - start - 1);
        if (!lines.emplace(name, number).second)
            sink({DefinitionFault::kDuplicateGroup, toValidUtf8(path), number,
                  toValidUtf8(name) + " is one with the group of this name above", false, false});
    }
    return lines;
}

/// Lets the Store list the references that a factory looked up in vain.
class MissedLookups {
  public:
    explicit MissedLookups(Store& store) : store_(store) { store_.missedLookups = &references; }
    MissedLookups(const MissedLookups&) = delete;
    MissedLookups& operator=(const MissedLookups&) = delete;
    ~MissedLookups() { store_.missedLookups = nullptr; }

    std::vector<std::string> references;

  private:
    Store& store_;
};

}  // namespace

struct VsdGroups::Source {
    std::string path;
    Glib::KeyFile keys;
    std::unordered_map<std::string, std::uint64_t> lines;  // only if somebody asks for findings
};

struct VsdGroups::Group {
    const Source* source = nullptr;
    std::string name;
    std::string messageName;
    std::string signalName;
    std::string warning;  ///< not empty: no group, but the end of the file
    bool made = false;
    bool failed = false;
};

VsdGroups::VsdGroups(Store& store, std::shared_ptr<CanIface> interface, FindingSink sink)
    : store_(store), interface_(std::move(interface)), sink_(std::move(sink)) {}

VsdGroups::~VsdGroups() = default;

std::string VsdGroups::nameFault(const std::string& name, const std::string& path) {
    const char* file = path.c_str();
    if (name.empty()) return format("Failed to parse VSD file %s, group can not be empty", file);
    if (name.front() == '.' || name.back() == '.')
        return format("Failed to parse VSD file %s, signal '%s' must not %s with '.'", file,
                      name.c_str(), name.front() == '.' ? "start" : "end");
    if (std::count(name.begin(), name.end(), '.') > 1)
        return format(
            "Failed to parse VSD file %s, signal: %s, is not formatted as <msgName>.<sigName>",
            file, name.c_str());
    if (std::any_of(name.begin(), name.end(), isScanSpace))
        return format("Failed to parse VSD file %s, signal '%s' contains spaces", file,
                      name.c_str());
    return {};
}

void VsdGroups::readVsdSignals(Glib::KeyFile keys, const std::string& path) {
    Source& source = *sources_.emplace_back(std::make_unique<Source>());
    source.path = path;
    source.keys = std::move(keys);
    if (sink_) source.lines = groupLines(path, sink_);
    for (const Glib::ustring& entry : source.keys.get_groups()) {
        const std::string name = toValidUtf8(entry.raw());
        if (name == kSettings) continue;
        Group group;
        group.source = &source;
        group.name = name;
        group.warning = nameFault(name, path);
        const auto point = name.rfind('.');
        group.messageName = point == std::string::npos ? kDefaultMessage : name.substr(0, point);
        group.signalName = name.substr(point + 1);  // npos + 1 is 0
        ready_.insert(groups_.size());
        groups_.push_back(std::move(group));
        if (!groups_.back().warning.empty()) return;
    }
}

void VsdGroups::readIncludedVsdFiles(const std::vector<std::string>& list,
                                     const std::string& mainPath) {
    for (const std::string& entry : list) {
        const std::string path = resolveVsdPath(entry, mainPath);
        if (!fileCanBeOpened(path)) {
            if (sink_)
                sink_({DefinitionFault::kUnreadableFile, toValidUtf8(path), 0,
                       "an included file cannot be opened", false, false});
            continue;
        }
        Glib::KeyFile keys;
        keys.load_from_file(path);
        readVsdSignals(std::move(keys), path);
    }
}

void VsdGroups::makeAll() {
    for (;;) {
        runPass();
        const bool finished = !signalCreated_ && (failedCount_ == 0 || reportSignalErrors_);
        if (finished) break;
        if (!signalCreated_) reportSignalErrors_ = true;
        if (!reportSignalErrors_) continue;
        // Each remaining failure is told with its text as of now.
        for (std::size_t index = 0; index < groups_.size(); ++index)
            if (!groups_[index].made) ready_.insert(index);
    }
    for (const Group& group : groups_)
        if (!group.warning.empty()) note(DefinitionFault::kBadGroupName, group, group.warning);
}

void VsdGroups::runPass() {
    signalCreated_ = false;
    // What becomes ready behind the group at hand belongs to this pass, the rest to the next one.
    for (auto next = ready_.begin(); next != ready_.end();) {
        const std::size_t index = *next;
        visit(index);
        next = ready_.upper_bound(index);
        if (groups_[index].warning.empty()) ready_.erase(index);
    }
}

void VsdGroups::visit(std::size_t index) {
    Group& group = groups_[index];
    if (!group.warning.empty()) return report(Level::kWarning, group.warning);
    if (group.made) return;
    const MissedLookups missed(store_);
    std::string failure;
    try {
        group.made = make(group);
    } catch (const std::exception& error) {
        failure = error.what();
    } catch (const Glib::Exception& error) {
        failure = error.what();
    } catch (...) {  // PrintMsgError: the details are told already
        failure = "Unknown error";
    }
    if (group.made) {
        if (group.failed) --failedCount_;
        group.failed = false;
        return;
    }
    for (const std::string& reference : missed.references)
        waiting_[reference].push_back(index);
    noteFailure(index, failure);
}

void VsdGroups::noteFailure(std::size_t index, const std::string& text) {
    Group& group = groups_[index];
    if (text.empty()) return;
    if (!group.failed) ++failedCount_;
    group.failed = true;
    if (!reportSignalErrors_) return;
    report(Level::kWarning, format("VSD parse error: %s", text.c_str()));
    note(DefinitionFault::kFailedGroup, group, group.name + ": " + toValidUtf8(text));
}

// True: the signal exists now, made here or by an earlier group of this name.
bool VsdGroups::make(Group& group) {
    const auto message = messageOf(group);
    if (message->signalsByName.contains(group.signalName)) {
        note(DefinitionFault::kDuplicateGroup, group, group.name + " exists already");
        return true;
    }
    const std::size_t firstNew = message->signals.size();
    createSignal(message, group.name, group.signalName, group.source->keys, group.source->path);
    signalCreated_ = true;
    wakeWaiting(*message, firstNew);
    return true;
}

void VsdGroups::wakeWaiting(const VirtualMessage& message, std::size_t firstNew) {
    for (std::size_t i = firstNew; i < message.signals.size(); ++i) {
        const auto found = waiting_.find(message.signals[i]->fullName);
        if (found == waiting_.end()) continue;
        ready_.insert(found->second.begin(), found->second.end());
        waiting_.erase(found);
    }
}

std::shared_ptr<VirtualMessage> VsdGroups::messageOf(const Group& group) {
    auto& message = messages_[group.messageName];
    if (!message) {
        message = std::make_shared<VirtualMessage>(interface_, group.messageName);
        interface_->addMessage(message);
    }
    return message;
}

void VsdGroups::note(DefinitionFault fault, const Group& group, const std::string& text) const {
    if (!sink_) return;
    const auto line = group.source->lines.find(group.name);
    sink_({fault, toValidUtf8(group.source->path),
           line == group.source->lines.end() ? 0 : line->second, text, false, false});
}

}  // namespace trelis
