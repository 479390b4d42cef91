// The groups of a definition file as the editor sees them: their names, and the file around them.
#pragma once

#include <glibmm/keyfile.h>

#include <cstddef>
#include <optional>
#include <string>

namespace trelis {

/// The key of an input, which count from 1.
[[nodiscard]] std::string inputKey(std::size_t number);

/// Whether a group of this name defines a signal: <message>.<signal>, or a signal alone.
[[nodiscard]] bool isGroupName(const std::string& name);

/// The path of the signal that a group defines.
[[nodiscard]] std::string pathOfGroup(const std::string& group);

struct DefinitionFile {
    std::string text;
    Glib::KeyFile keys;  ///< what the text holds
};

/// Glib::Error if the file cannot be read or is none of key-file syntax.
[[nodiscard]] DefinitionFile readDefinitions(const std::string& path);

/// The same; empty if that fails, after telling why at WRN.
[[nodiscard]] std::optional<DefinitionFile> openDefinitions(const std::string& path);

}  // namespace trelis
