// Reads a definition file (VSD): the interfaces with their DBC files, and the virtual signals.
#pragma once

#include <glibmm/keyfile.h>

#include <string>
#include <vector>

#include "input/DefinitionFinding.h"

namespace trelis {

class Store;

/// The whole load: interfaces, built-in messages, virtual signals of this file and of those that it
/// includes. A signal may use another one that is defined further down. Groups that cannot be made
/// are told at WRN and cost only themselves. A file that cannot be opened loads nothing, without a
/// word. Bad settings end in PrintMsgError, what is no key file in Glib::KeyFileError or
/// Glib::FileError; failures of the DBC reader come through. `sink` gets all that was passed over.
void loadVsdFile(Store& store, const std::string& path, const FindingSink& sink = {});

/// Reads the group `settings` with the DBC files it names, and fills the lists of files that are
/// read before and after the file itself, as they are written.
void readVsdSettings(Store& store, const Glib::KeyFile& keyFile, const std::string& path,
                     std::vector<std::string>& includes, std::vector<std::string>& postIncludes,
                     const FindingSink& sink = {});

/// Whether the file can be opened for reading. Pipes and devices, which may never end, cannot.
[[nodiscard]] bool fileCanBeOpened(const std::string& path);

/// A path in a definition file counts from the file's own folder.
[[nodiscard]] std::string resolveVsdPath(const std::string& entry, const std::string& vsdPath);

/// Writes a new definition file with an example of each setting. A failure is told at WRN.
bool writeExampleVsd(const std::string& path);

}  // namespace trelis
