#include "config/settings/Settings.h"

#include <glibmm/error.h>
#include <glibmm/fileutils.h>
#include <glibmm/miscutils.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "app/diagnostics/AtomicFile.h"
#include "app/diagnostics/Report.h"

namespace trelis {
namespace {

constexpr const char* kGlobal = "global";
constexpr const char* kSignalColors = "signal_colors";
constexpr const char* kFollowsDefault = "#00007833ffff";
constexpr const char* kDefaultSignalColour = "#eded33333b3b";
constexpr int kDefaultInterval = 100;
constexpr double kWidestLine = 100.0;
constexpr int kLargestFont = 200;

bool isColour(const std::string& text) {
    const std::size_t digits = text.size() - 1;
    return text.size() > 1 && text.front() == '#' && digits % 3 == 0 && digits <= 12 &&
           std::all_of(text.begin() + 1, text.end(),
                       [](char c) { return g_ascii_isxdigit(c) != 0; });
}

/// What a key file can hold as a key and give back. Signals of other names get no colour of their
/// own.
bool isKey(const std::string& name) {
    return !name.empty() && name.front() != ' ' && name.back() != ' ' && name.front() != '#' &&
           std::none_of(name.begin(), name.end(), [](char c) {
               return c == '=' || c == '[' || c == ']' || g_ascii_iscntrl(c) != 0;
           });
}

std::string colourKey(const std::string& interface, const std::string& message,
                      const std::string& signal) {
    std::string key;
    key.reserve(interface.size() + message.size() + signal.size() + 2);
    return key.append(interface).append(".").append(message).append(".").append(signal);
}

bool holds(const Glib::KeyFile& keys, const char* group, const std::string& key) {
    return keys.has_group(group) && keys.has_key(group, key);
}

std::string signalColourText(const Glib::KeyFile& keys, const std::string& key) {
    try {
        return keys.get_string(kSignalColors, key);
    } catch (const Glib::KeyFileError&) {  // not valid UTF-8
        return kFollowsDefault;
    }
}

}  // namespace

SettingsPaths SettingsPaths::fromEnvironment() {
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') return {"/tmp/.sigmira", ""};
    return {std::string(home) + "/.sigmira", std::string(home) + "/.sigmira_siglist"};
}

Settings& Settings::instance() {
    static Settings settings(SettingsPaths::fromEnvironment());
    return settings;
}

Settings::Settings(SettingsPaths paths) : paths_(std::move(paths)), file_(paths_.settings) {
    for (const std::string& path : {paths_.settings, paths_.signalLists}) {
        try {
            if (!path.empty()) StoredKeyFile(path).ensureExists();
        } catch (const std::system_error&) {
            reportFatal(format("Couldn't create %s", path.c_str()));
        }
    }
    file_.load();
}

bool Settings::save() {
    const std::lock_guard lock(mutex_);
    try {
        file_.save(kPrivateMode);
        return true;
    } catch (const std::system_error& error) {
        report(Level::kWarning, format("Couldn't save %s: %s", paths_.settings.c_str(),
                                       error.code().message().c_str()));
        return false;
    }
}

// ---- values of a type

bool Settings::flag(const char* key, bool fallback) const {
    const std::lock_guard lock(mutex_);
    try {
        return file_.keys.get_boolean(kGlobal, key);
    } catch (const Glib::KeyFileError&) {
        return fallback;
    }
}

double Settings::number(const char* key, double fallback, double low, double high) const {
    const std::lock_guard lock(mutex_);
    try {
        const double value = file_.keys.get_double(kGlobal, key);
        return value >= low && value <= high ? value : fallback;
    } catch (const Glib::KeyFileError&) {
        return fallback;
    }
}

std::string Settings::text(const char* key, const char* fallback) const {
    const std::lock_guard lock(mutex_);
    // Asked first: the default colour is wanted once for each signal of a definition file.
    if (!holds(file_.keys, kGlobal, key)) return fallback;
    try {
        return file_.keys.get_string(kGlobal, key);
    } catch (const Glib::KeyFileError&) {
        return fallback;
    }
}

std::string Settings::colour(const char* key, const char* fallback) const {
    std::string value = text(key, fallback);
    return isColour(value) ? value : fallback;
}

void Settings::setText(const char* key, const std::string& value) {
    const std::lock_guard lock(mutex_);
    file_.keys.set_string(kGlobal, key, toValidUtf8(value));
}

void Settings::setFlag(const char* key, bool value) {
    const std::lock_guard lock(mutex_);
    file_.keys.set_boolean(kGlobal, key, value);
}

void Settings::setNumber(const char* key, double value) {
    const std::lock_guard lock(mutex_);
    file_.keys.set_double(kGlobal, key, value);
}

void Settings::setInteger(const char* key, int value) {
    const std::lock_guard lock(mutex_);
    file_.keys.set_integer(kGlobal, key, value);
}

std::string Settings::definitionFile(const char* key) {
    std::string path = text(key, "");
    if (!path.empty()) return path;
    setText(key, kNoFile);
    return kNoFile;
}

void Settings::setDefinitionFile(const char* key, const std::string& path) {
    setText(key, path == kNoFile ? path : Glib::canonicalize_filename(path));
}

// ---- the keys

bool Settings::getSplitView() const {
    return flag("split_view", true);
}
bool Settings::getPrettyTime() const {
    return flag("pretty_time", true);
}
bool Settings::getShowDelta() const {
    return flag("show_delta", false);
}
bool Settings::getDecimalComma() const {
    return flag("decimal_comma", false);
}
bool Settings::getTolerantDefinitions() const {
    return flag("tolerant_definitions", false);
}

double Settings::getLineWidth() const {
    const double width = number("line_width", 2.0, 0.0, kWidestLine);
    return width > 0.0 ? width : 2.0;
}
double Settings::getRulerTransparancy() const {
    return number("ruler_transparancy", 0.5, 0.0, 1.0);
}
double Settings::getRulerTxtTransparency() const {
    return number("ruler_txt_transparency", 1.0, 0.0, 1.0);
}
double Settings::getRulerTxtBackgroundTransparency() const {
    return number("ruler_txt_background_transparency", 0.5, 0.0, 1.0);
}

std::string Settings::getDefSigColor() const {
    return colour("def_sig_color", kDefaultSignalColour);
}
std::string Settings::getBgColor() const {
    return colour("bg_color", "#efc8efc8efc8");
}
std::string Settings::getRulerColor() const {
    return colour("ruler_color", "#000000000000");
}
std::string Settings::getGridColor() const {
    return colour("grid_color", "#d2c5d2c5d2c5");
}
std::string Settings::getRulerTextColor() const {
    return colour("ruler_text_color", "#000000000000");
}
std::string Settings::getRulerTextBackgroundColor() const {
    return colour("ruler_text_background_color", "#ffffffffffff");
}

std::string Settings::getDbFile() {
    return definitionFile("dbFile");
}
std::string Settings::getVsdFile() {
    return definitionFile("vsdFile");
}
std::string Settings::getListFont() const {
    return text("list_font", "10.0");
}
std::string Settings::getLogPath() const {
    return text("log_path", "/usr/share/sigmira/templates");
}
std::string Settings::getLivePath() const {
    return text("live_path", "");
}
std::string Settings::getListPath() const {
    return text("list_path", "");
}
std::string Settings::getDefaultEditor() const {
    return text("default_editor", "/usr/bin/gedit");
}

int Settings::getFontSize() const {
    constexpr int kDefault = 10;
    const std::lock_guard lock(mutex_);
    try {
        const int size = file_.keys.get_integer(kGlobal, "font_size");
        return size >= 1 && size <= kLargestFont ? size : kDefault;
    } catch (const Glib::KeyFileError&) {
        return kDefault;
    }
}

int Settings::getBitrateInterval() {
    const std::lock_guard lock(mutex_);
    try {
        const int interval = file_.keys.get_integer(kGlobal, "bitrate_interval");
        if (interval > 0) return interval;
    } catch (const Glib::KeyFileError&) {
        return kDefaultInterval;
    }
    report(Level::kWarning,
           format("Invalid bitrate update interval, setting to %d ms", kDefaultInterval));
    file_.keys.set_integer(kGlobal, "bitrate_interval", kDefaultInterval);
    return kDefaultInterval;
}

void Settings::setSplitView(bool value) {
    setFlag("split_view", value);
}
void Settings::setPrettyTime(bool value) {
    setFlag("pretty_time", value);
}
void Settings::setShowDelta(bool value) {
    setFlag("show_delta", value);
}
void Settings::setDecimalComma(bool value) {
    setFlag("decimal_comma", value);
}
void Settings::setTolerantDefinitions(bool value) {
    setFlag("tolerant_definitions", value);
}

void Settings::setLineWidth(double value) {
    setNumber("line_width", value);
}
void Settings::setRulerTransparancy(double value) {
    setNumber("ruler_transparancy", value);
}
void Settings::setRulerTxtTransparency(double value) {
    setNumber("ruler_txt_transparency", value);
}
void Settings::setRulerTxtBackgroundTransparency(double value) {
    setNumber("ruler_txt_background_transparency", value);
}
void Settings::setFontSize(int value) {
    setInteger("font_size", value);
}
void Settings::setBitrateInterval(int value) {
    setInteger("bitrate_interval", value);
}

void Settings::setListFont(const std::string& value) {
    setText("list_font", value);
}
void Settings::setDefSigColor(const std::string& value) {
    setText("def_sig_color", value);
}
void Settings::setBgColor(const std::string& value) {
    setText("bg_color", value);
}
void Settings::setRulerColor(const std::string& value) {
    setText("ruler_color", value);
}
void Settings::setGridColor(const std::string& value) {
    setText("grid_color", value);
}
void Settings::setRulerTextColor(const std::string& value) {
    setText("ruler_text_color", value);
}
void Settings::setRulerTextBackgroundColor(const std::string& value) {
    setText("ruler_text_background_color", value);
}
void Settings::setLogPath(const std::string& folder) {
    setText("log_path", folder);
}
void Settings::setLivePath(const std::string& folder) {
    setText("live_path", folder);
}
void Settings::setListPath(const std::string& folder) {
    setText("list_path", folder);
}
void Settings::setDbFile(const std::string& path) {
    setDefinitionFile("dbFile", path);
}
void Settings::setVsdFile(const std::string& path) {
    setDefinitionFile("vsdFile", path);
}

void Settings::setDefaultEditor(const std::string& path) {
    if (Glib::file_test(path, Glib::FILE_TEST_IS_EXECUTABLE) &&
        !Glib::file_test(path, Glib::FILE_TEST_IS_DIR))
        setText("default_editor", path);
    else
        report(Level::kInfo, format("%s is not an executable", path.c_str()));
}

// ---- colours of signals

std::string Settings::getSignalColor(const std::string& interface, const std::string& message,
                                     const std::string& signal) {
    const std::string key = colourKey(interface, message, signal);
    std::string value = kFollowsDefault;
    if (isKey(key)) {
        const std::lock_guard lock(mutex_);
        if (!holds(file_.keys, kSignalColors, key))
            file_.keys.set_string(kSignalColors, key, kFollowsDefault);
        else
            value = signalColourText(file_.keys, key);
    }
    return isColour(value) && value != kFollowsDefault ? value : getDefSigColor();
}

void Settings::setSignalColor(const std::string& interface, const std::string& message,
                              const std::string& signal, const std::string& colourText) {
    const std::string key = colourKey(interface, message, signal);
    if (!isKey(key)) return;
    const bool isDefault = colourText == getDefSigColor();
    const std::lock_guard lock(mutex_);
    file_.keys.set_string(kSignalColors, key, isDefault ? kFollowsDefault : colourText);
}

// ---- signal lists

std::string Settings::projectFile() {
    std::string file = getVsdFile();
    return file != kNoFile ? file : getDbFile();
}

std::string Settings::signalListGroup() {
    const std::string file = projectFile();
    if (file == kNoFile) return {};
    // Files in the field name their groups by this very hash of the standard library.
    return "sigList_" + std::to_string(std::hash<std::string>{}(file));
}

bool Settings::writeSignalList(const std::string& listPath, const std::string& group,
                               const std::string& names) {
    StoredKeyFile list(listPath);
    try {
        list.ensureExists();
    } catch (const std::system_error&) {
        report(Level::kWarning, format("Couldn't create %s", listPath.c_str()));
        return false;
    }
    list.load();
    list.keys.set_string(group, "file", projectFile());
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    list.keys.set_int64(group, "time", now.tv_sec);
    list.keys.set_string(group, "signalList", names);
    try {
        list.save(listPath == paths_.signalLists ? kPrivateMode : kKeepMode);
        return true;
    } catch (const std::system_error& error) {
        report(Level::kWarning,
               format("Couldn't save %s: %s", listPath.c_str(), error.code().message().c_str()));
        return false;
    }
}

std::optional<std::string> Settings::readSignalList(const std::string& listPath,
                                                    const std::string& group) {
    StoredKeyFile list(listPath);
    list.load();
    try {
        return list.keys.get_string(group, "signalList");
    } catch (const Glib::KeyFileError&) {
        return std::nullopt;
    }
}

}  // namespace trelis
