// Which signals compute from which: what the editor asks before it changes or deletes one.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace trelis {

class Signal;
class Store;

/// The signal of this path, null if there is none.
[[nodiscard]] std::shared_ptr<Signal> findSignal(Store& store, const std::string& path);

/// Whether `signal`, which may be null, is one of these or computes from one, at any remove.
[[nodiscard]] bool leadsTo(const std::shared_ptr<Signal>& signal,
                           const std::set<const Signal*>& targets);

/// The full names of the virtual signals that have the one of this full name as their input.
[[nodiscard]] std::vector<std::string> usersOf(const Store& store, const std::string& fullName);

}  // namespace trelis
