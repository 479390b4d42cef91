// Makes the virtual signals of a set of definition files, in an order that lets each find its
// inputs.
#pragma once

#include <glibmm/keyfile.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "input/DefinitionFinding.h"

namespace trelis {

class CanIface;
class Store;
class VirtualMessage;

/// A signal whose input does not exist fails for this pass over the groups, and passes go on as
/// long as one makes a signal; only then the remaining failures are told, in a last pass. A group
/// is left out of a pass while the input that it missed is still missing, so that any order of
/// definition takes a time in proportion to the number of references.
class VsdGroups {
  public:
    VsdGroups(Store& store, std::shared_ptr<CanIface> interface, FindingSink sink);
    VsdGroups(const VsdGroups&) = delete;
    VsdGroups& operator=(const VsdGroups&) = delete;
    ~VsdGroups();

    /// Takes the groups of a file, which stand behind those that were taken before. The first name
    /// of a wrong form ends the file; each pass tells it at WRN.
    void readVsdSignals(Glib::KeyFile keys, const std::string& path);
    /// The same for each file of a list; one that cannot be opened is passed over without a word.
    void readIncludedVsdFiles(const std::vector<std::string>& list, const std::string& mainPath);

    /// Runs the passes.
    void makeAll();

  private:
    struct Source;
    struct Group;

    /// The warning for a name of a wrong form, else empty.
    [[nodiscard]] static std::string nameFault(const std::string& name, const std::string& path);
    void runPass();
    void visit(std::size_t index);
    bool make(Group& group);
    void noteFailure(std::size_t index, const std::string& text);
    void wakeWaiting(const VirtualMessage& message, std::size_t firstNew);
    [[nodiscard]] std::shared_ptr<VirtualMessage> messageOf(const Group& group);
    void note(DefinitionFault fault, const Group& group, const std::string& text) const;

    Store& store_;
    const std::shared_ptr<CanIface> interface_;
    const FindingSink sink_;
    std::vector<std::unique_ptr<Source>> sources_;
    std::vector<Group> groups_;    // of all files in order of reading
    std::set<std::size_t> ready_;  // indexes of those that a pass has to try
    /// By the missing input: the groups that were given up for its lack.
    std::unordered_map<std::string, std::vector<std::size_t>> waiting_;
    std::unordered_map<std::string, std::shared_ptr<VirtualMessage>> messages_;
    std::size_t failedCount_ = 0;  // groups that failed with a text and are not made
    bool signalCreated_ = false;
    bool reportSignalErrors_ = false;
};

}  // namespace trelis
