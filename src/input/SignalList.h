// Lists of selected signals: what the settings remember for each project, and the files that users
// keep.
#pragma once

#include <string>

namespace trelis {

class Settings;
class Store;

/// Remembers the selected signals for the project whose definitions the settings name. Without a
/// project nothing is stored; a failure is told at WRN.
void saveSignalList(const Store& store, Settings& settings);

/// Selects the signals that are remembered for the project; names that are not in the model are
/// passed over. If nothing is remembered, all signals are deselected and false comes back.
bool loadSignalList(Store& store, Settings& settings);

/// The same with a list file of the user's choice.
bool storeSignalListFile(const Store& store, Settings& settings, const std::string& path);
bool restoreSignalListFile(Store& store, const std::string& path);

}  // namespace trelis
