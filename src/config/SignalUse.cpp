#include "config/SignalUse.h"

#include "app/store/Store.h"
#include "model/Frame.h"
#include "model/Message.h"
#include "virtual/VirtualSignal.h"

namespace trelis {

std::shared_ptr<Signal> findSignal(Store& store, const std::string& path) {
    try {
        if (!path.empty()) return store.getSignal(path);
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): so there is none
    }
    return nullptr;
}

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

std::vector<std::string> usersOf(const Store& store, const std::string& fullName) {
    std::vector<std::string> users;
    const auto interface = store.findInterfaceByNumber(kVirtualInterface);
    if (!interface) return users;
    for (const auto& [id, message] : interface->messages)
        for (const auto& signal : message->signals) {
            const auto* candidate = dynamic_cast<const VirtualSignal*>(signal.get());
            if (candidate == nullptr || signal->internalOnly || signal->fullName == fullName)
                continue;
            // The signal inside a smoothing window answers for the one that is listed.
            const Signal* asked =
                candidate->smoothedSource ? candidate->smoothedSource.get() : signal.get();
            if (asked->usesSignal(fullName)) users.push_back(signal->fullName);
        }
    return users;
}

}  // namespace trelis
