// Reads a settings file, changes it, saves it, and finds the same in it when it is read again.
#include <filesystem>
#include <string_view>

#include "FuzzFile.h"
#include "app/diagnostics/AtomicFile.h"
#include "config/settings/Settings.h"

using namespace trelis;

namespace {

std::string allValues(Settings& settings) {
    return std::to_string(settings.getLineWidth()) + settings.getDbFile() + settings.getVsdFile() +
           settings.getListFont() + settings.getBgColor() + settings.getDefaultEditor() +
           std::to_string(settings.getBitrateInterval()) + std::to_string(settings.getFontSize()) +
           std::to_string(settings.getRulerTransparancy()) +
           std::to_string(settings.getShowDelta()) + settings.getSignalColor("Can", "M", "S") +
           settings.getLogPath();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::beginInput();
    static const std::filesystem::path folder = [] {
        std::string name = "/dev/shm/settingsXXXXXX";
        return std::filesystem::path(::mkdtemp(name.data()));
    }();
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    const SettingsPaths paths{folder / "settings", folder / "lists"};
    replaceFile(paths.settings, content);
    replaceFile(paths.signalLists, content);

    Settings settings(paths);
    // The input's own bytes as names and values.
    const std::string half(content.substr(0, size / 2));
    settings.setSignalColor("Can", half, "S", "#aaaabbbbcccc");
    settings.setLogPath("/" + half);
    const std::string before = allValues(settings);
    if (!settings.save()) std::abort();
    Settings again(paths);
    if (allValues(again) != before) std::abort();

    const std::string group = "sigList_1";
    if (!again.writeSignalList(paths.signalLists, group, "Can.M.A;Can.M.B;")) std::abort();
    if (Settings::readSignalList(paths.signalLists, group) != "Can.M.A;Can.M.B;") std::abort();
    return 0;
}
