#include "input/VsdFile.h"

#include <glibmm/miscutils.h>
#include <glibmm/unicode.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

#include "app/diagnostics/AtomicFile.h"
#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/DbcReader.h"
#include "input/VsdGroups.h"
#include "model/Frame.h"
#include "model/builtin/BuiltinMessages.h"

namespace trelis {
namespace {

constexpr const char* kSettings = "settings";
constexpr std::uint32_t kMostInterfaces = 32;
constexpr const char* kLegacyInterface = "Can";

constexpr std::string_view kExample =
    "# Example settings file\n"
    "[settings]\n"
    "ifname_0=PRIMARY\n"
    "dbcfile_0=dbc_in_sam_dir.dbc;/home/me/path/to/file/dbc_in_other_dir.dbc\n"
    "\n"
    "ifname_1=SECONDARY\n"
    "dbcfile_1=some_dbc_file.dbc\n"
    "\n"
    "# optional, split VSD into several files\n"
    "include=path_to_other.vsd\n"
    "\n";

/// The group `settings` of one file.
class SettingsReader {
  public:
    SettingsReader(Store& store, const Glib::KeyFile& keys, const std::string& path,
                   const FindingSink& sink)
        : store_(store), keys_(keys), path_(path), sink_(sink) {}

    void readInterfaces();
    void readFlags();
    [[nodiscard]] std::vector<std::string> list(const std::string& key) const;

  private:
    [[nodiscard]] bool has(const std::string& key) const { return keys_.has_key(kSettings, key); }
    [[nodiscard]] std::optional<std::string> interfaceName(std::uint32_t number) const;
    void readDbc(const std::string& entry, std::uint32_t number, const std::string& name) const;
    [[noreturn]] void fail(const std::string& text) const;

    Store& store_;
    const Glib::KeyFile& keys_;
    const std::string& path_;
    const FindingSink& sink_;
};

void SettingsReader::fail(const std::string& text) const {
    if (sink_) sink_({DefinitionFault::kBadSettings, toValidUtf8(path_), 0, text, true, false});
    reportFatal(text);
}

std::vector<std::string> SettingsReader::list(const std::string& key) const {
    std::vector<std::string> entries;
    if (!has(key)) return entries;
    for (const Glib::ustring& entry : keys_.get_string_list(kSettings, key))
        if (!entry.empty()) entries.push_back(entry);
    return entries;
}

std::optional<std::string> SettingsReader::interfaceName(std::uint32_t number) const {
    const std::string key = "ifname_" + std::to_string(number);
    if (!has(key)) return std::nullopt;
    const Glib::ustring name = keys_.get_string(kSettings, key);
    const bool valid = std::all_of(name.begin(), name.end(), [](gunichar c) {
        return Glib::Unicode::isalnum(c) || c == '-' || c == ':' || c == '_';
    });
    if (!valid)
        fail(
            format("CAN interface name \"%s\" uses non supported characters.\n"
                   "Only alpha numeric characters and \"_ : -\" are allowed.\n"
                   "No spaces are allowed.",
                   name.c_str()));
    if (name.empty())
        fail(format("Failed to parse %s, name for interface %u can not be empty", path_.c_str(),
                    number));
    return name;
}

void SettingsReader::readDbc(const std::string& entry, std::uint32_t number,
                             const std::string& name) const {
    DbcReadOptions options{.tolerant = store_.tolerantDefinitions, .sink = sink_};
    if (has("tolerant") && keys_.get_boolean(kSettings, "tolerant")) options.tolerant = true;
    readDbcFile(store_, resolveVsdPath(entry, path_), number, name, options);
}

void SettingsReader::readInterfaces() {
    bool found = false;
    for (std::uint32_t number = 0; number < kMostInterfaces; ++number) {
        const auto name = interfaceName(number);
        const std::string listKey = "dbcfile_" + std::to_string(number);
        if (!name && !has(listKey)) continue;
        if (!name)
            fail(format("Failed to parse %s, could not find name for interface %u", path_.c_str(),
                        number));
        if (!has(listKey))
            fail(format("Failed to parse %s, could not find DBC file for interface %u",
                        path_.c_str(), number));
        for (const std::string& entry : list(listKey))
            readDbc(entry, number, *name);
        found = true;
        store_.highestInterface = std::max(store_.highestInterface, number);
    }
    if (found || !has("dbcfile")) return;
    readDbc(keys_.get_string(kSettings, "dbcfile"), 0, kLegacyInterface);
    store_.legacyGps = true;
    store_.legacyVsd = true;
}

void SettingsReader::readFlags() {
    if (has("legacygps")) store_.legacyGps = keys_.get_boolean(kSettings, "legacygps");
}

}  // namespace

bool fileCanBeOpened(const std::string& path) {
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    // Opening a pipe would wait for its writer. A folder opens; reading it then tells what it is.
    if (type != std::filesystem::file_type::regular &&
        type != std::filesystem::file_type::directory)
        return false;
    return std::ifstream(path).is_open();
}

std::string resolveVsdPath(const std::string& entry, const std::string& vsdPath) {
    if (Glib::path_is_absolute(entry)) return entry;
    return Glib::build_filename(Glib::path_get_dirname(vsdPath), entry);
}

void readVsdSettings(Store& store, const Glib::KeyFile& keyFile, const std::string& path,
                     std::vector<std::string>& includes, std::vector<std::string>& postIncludes,
                     const FindingSink& sink) {
    SettingsReader reader(store, keyFile, path, sink);
    reader.readInterfaces();
    reader.readFlags();
    includes = reader.list("include");
    postIncludes = reader.list("postinclude");
}

void loadVsdFile(Store& store, const std::string& path, const FindingSink& sink) {
    if (!fileCanBeOpened(path)) return;
    store.legacyGps = false;
    store.legacyVsd = false;
    Glib::KeyFile keys;
    keys.load_from_file(path);
    std::vector<std::string> includes;
    std::vector<std::string> postIncludes;
    if (keys.has_group(kSettings)) {
        readVsdSettings(store, keys, path, includes, postIncludes, sink);
    } else if (!store.csvMode) {
        const std::string text =
            format("VSD file '%s' does not have a settings group", path.c_str());
        if (sink) sink({DefinitionFault::kBadSettings, toValidUtf8(path), 0, text, true, false});
        report(Level::kWarning, text);
        return;
    }
    addBuiltinMessages(store);
    VsdGroups groups(store, store.addInterface("Virt", kVirtualInterface), sink);
    groups.readIncludedVsdFiles(includes, path);
    groups.readVsdSignals(std::move(keys), path);
    groups.readIncludedVsdFiles(postIncludes, path);
    groups.makeAll();
    store.vsdLoaded = true;
}

bool writeExampleVsd(const std::string& path) {
    try {
        replaceFile(path, kExample);
        return true;
    } catch (const std::system_error&) {
        report(Level::kWarning, format("Couldn't create new VSD file: %s", path.c_str()));
        return false;
    }
}

}  // namespace trelis
