#include "config/VsdGroup.h"

#include <glibmm/fileutils.h>

#include <algorithm>

#include "app/diagnostics/Report.h"

namespace trelis {

std::string inputKey(std::size_t number) {
    return format("signal_%02lu", static_cast<unsigned long>(number));
}

bool isGroupName(const std::string& name) {
    if (name.empty() || name == "settings") return false;
    if (name.front() == '.' || name.back() == '.') return false;
    if (std::count(name.begin(), name.end(), '.') > 1) return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return code <= ' ' || code == 0x7F || c == '[' || c == ']';
    });
}

std::string pathOfGroup(const std::string& group) {
    return group.find('.') == std::string::npos ? "Virt.Virtual." + group : "Virt." + group;
}

DefinitionFile readDefinitions(const std::string& path) {
    DefinitionFile file;
    file.text = Glib::file_get_contents(path);
    file.keys.load_from_data(file.text);
    return file;
}

std::optional<DefinitionFile> openDefinitions(const std::string& path) {
    try {
        return readDefinitions(path);
    } catch (const Glib::Error& error) {
        report(Level::kWarning, format("Could not read VSD file: %s, error: %s", path.c_str(),
                                       error.what().c_str()));
        return std::nullopt;
    }
}

}  // namespace trelis
