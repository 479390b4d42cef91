// The user's preferences: one key file in the home directory, and a second one that remembers which
// signals were selected for each project.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "config/settings/StoredKeyFile.h"

namespace trelis {

/// The word that stands for the absence of a file in the settings `dbFile` and `vsdFile`.
inline constexpr const char* kNoFile = "./dummy";
/// The group of a stored signal list that belongs to no project.
inline constexpr const char* kStoredListGroup = "storetofile";

struct SettingsPaths {
    std::string settings;
    std::string signalLists;  ///< empty: selections are not remembered

    /// The files in the home directory of the environment.
    static SettingsPaths fromEnvironment();
};

/// Getters give the default for a missing key, for a value of the wrong type, and for one that no
/// window could work with. Setters change memory only, save() writes the file. Any thread may read;
/// the main thread writes.
class Settings {
  public:
    /// The settings of the process, read at the first call.
    static Settings& instance();

    /// Reads the settings file. ERR and PrintMsgError if a file is missing and cannot be made.
    explicit Settings(SettingsPaths paths);

    /// Replaces the settings file, which only its owner may read. A failure is told at WRN.
    bool save();

    [[nodiscard]] bool getSplitView() const;
    void setSplitView(bool value);
    [[nodiscard]] std::string getDbFile();
    /// Stores the canonical path, or kNoFile as it stands; so does setVsdFile.
    void setDbFile(const std::string& path);
    [[nodiscard]] std::string getVsdFile();
    void setVsdFile(const std::string& path);
    [[nodiscard]] bool getPrettyTime() const;
    void setPrettyTime(bool value);
    [[nodiscard]] bool getShowDelta() const;
    void setShowDelta(bool value);
    [[nodiscard]] double getLineWidth() const;  ///< pixels, above 0 to 100
    void setLineWidth(double value);
    [[nodiscard]] std::string getListFont() const;
    void setListFont(const std::string& value);
    [[nodiscard]] bool getDecimalComma() const;
    void setDecimalComma(bool value);
    /// In ms, above 0. A stored value of 0 or below is told at WRN and replaced.
    [[nodiscard]] int getBitrateInterval();
    void setBitrateInterval(int value);
    /// The DBC reader keeps all that it can.
    [[nodiscard]] bool getTolerantDefinitions() const;
    void setTolerantDefinitions(bool value);

    // Colours are texts of the form "#rrrrggggbbbb"; opacities run from 0 to 1.
    [[nodiscard]] std::string getDefSigColor() const;
    void setDefSigColor(const std::string& value);
    [[nodiscard]] std::string getBgColor() const;
    void setBgColor(const std::string& value);
    [[nodiscard]] std::string getRulerColor() const;
    void setRulerColor(const std::string& value);
    [[nodiscard]] double getRulerTransparancy() const;
    void setRulerTransparancy(double value);
    [[nodiscard]] std::string getGridColor() const;
    void setGridColor(const std::string& value);
    [[nodiscard]] std::string getRulerTextColor() const;
    void setRulerTextColor(const std::string& value);
    [[nodiscard]] double getRulerTxtTransparency() const;
    void setRulerTxtTransparency(double value);
    [[nodiscard]] std::string getRulerTextBackgroundColor() const;
    void setRulerTextBackgroundColor(const std::string& value);
    [[nodiscard]] double getRulerTxtBackgroundTransparency() const;
    void setRulerTxtBackgroundTransparency(double value);
    [[nodiscard]] int getFontSize() const;  ///< points, 1 to 200
    void setFontSize(int value);

    [[nodiscard]] std::string getLogPath() const;
    void setLogPath(const std::string& folder);
    void addLogDirectory(const std::string& folder) { setLogPath(folder); }
    [[nodiscard]] std::string getLivePath() const;
    void setLivePath(const std::string& folder);
    void addLiveDirectory(const std::string& folder) { setLivePath(folder); }
    [[nodiscard]] std::string getListPath() const;
    void setListPath(const std::string& folder);
    [[nodiscard]] std::string getDefaultEditor() const;
    /// Keeps the old value, with a message at INF, if the path is no executable.
    void setDefaultEditor(const std::string& path);

    /// The colour of a signal, which is the default colour until it gets one of its own.
    [[nodiscard]] std::string getSignalColor(const std::string& interface,
                                             const std::string& message, const std::string& signal);
    /// A signal that is given the default colour follows its later changes.
    void setSignalColor(const std::string& interface, const std::string& message,
                        const std::string& signal, const std::string& colour);

    /// The definition file that the selection belongs to, kNoFile without one.
    [[nodiscard]] std::string projectFile();
    /// The group of the project in the signal list file, empty without a project.
    [[nodiscard]] std::string signalListGroup();
    [[nodiscard]] const std::string& signalListPath() const { return paths_.signalLists; }
    /// Stores full names, each followed by ";", as one group of a list file; its other groups stay.
    /// A failure is told at WRN.
    bool writeSignalList(const std::string& listPath, const std::string& group,
                         const std::string& names);
    /// The names as they were stored, empty if the file has no such group.
    [[nodiscard]] static std::optional<std::string> readSignalList(const std::string& listPath,
                                                                   const std::string& group);

  private:
    [[nodiscard]] bool flag(const char* key, bool fallback) const;
    [[nodiscard]] double number(const char* key, double fallback, double low, double high) const;
    [[nodiscard]] std::string text(const char* key, const char* fallback) const;
    [[nodiscard]] std::string colour(const char* key, const char* fallback) const;
    [[nodiscard]] std::string definitionFile(const char* key);
    void setFlag(const char* key, bool value);
    void setNumber(const char* key, double value);
    void setInteger(const char* key, int value);
    void setText(const char* key, const std::string& value);
    void setDefinitionFile(const char* key, const std::string& path);

    const SettingsPaths paths_;
    mutable std::mutex mutex_;  // guards file_
    StoredKeyFile file_;
};

}  // namespace trelis
