#include "input/SignalList.h"

#include <optional>
#include <stdexcept>

#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "model/Message.h"
#include "model/Signal.h"

namespace trelis {
namespace {

constexpr char kSeparator = ';';

std::string selectedNames(const Store& store) {
    std::string names;
    for (const auto& [number, interface] : store.interfaces)
        for (const auto& [id, message] : interface->messages)
            for (const auto& signal : message->signals)
                if (signal->selected) names.append(signal->fullName) += kSeparator;
    return names;
}

bool selectNames(Store& store, const std::optional<std::string>& names) {
    const RecountBatch batch(store);
    if (!names) {
        store.clearSelection();
        return false;
    }
    for (std::size_t start = 0; start < names->size();) {
        const std::size_t end = std::min(names->find(kSeparator, start), names->size());
        if (end > start) {
            try {
                store.getSignal(names->substr(start, end - start))->setSelected(true);
            } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch)
                // The definitions have changed since: what is gone is not selected.
            }
        }
        start = end + 1;
    }
    return true;
}

}  // namespace

void saveSignalList(const Store& store, Settings& settings) {
    const std::string group = settings.signalListGroup();
    if (group.empty() || settings.signalListPath().empty()) return;
    settings.writeSignalList(settings.signalListPath(), group, selectedNames(store));
}

bool loadSignalList(Store& store, Settings& settings) {
    const std::string group = settings.signalListGroup();
    if (group.empty() || settings.signalListPath().empty()) return selectNames(store, std::nullopt);
    return selectNames(store, Settings::readSignalList(settings.signalListPath(), group));
}

bool storeSignalListFile(const Store& store, Settings& settings, const std::string& path) {
    return settings.writeSignalList(path, kStoredListGroup, selectedNames(store));
}

bool restoreSignalListFile(Store& store, const std::string& path) {
    return selectNames(store, Settings::readSignalList(path, kStoredListGroup));
}

}  // namespace trelis
