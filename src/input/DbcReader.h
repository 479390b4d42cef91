// Reads the messages and signals of a DBC file into an interface.
#pragma once

#include <cstdint>
#include <string>

#include "input/DefinitionFinding.h"

namespace trelis {

class Store;

struct DbcReadOptions {
    /// Keep all that can be kept: no line is too long, what is double or refers to nothing costs
    /// only itself, signals of up to 64 bits and 64-bit floats are decoded in full. Each kind of
    /// fault is told once a file, at INF if it cost nothing and else at WRN.
    bool tolerant = false;
    /// Gets everything that was passed over, each time; then no kind is told. May be empty.
    FindingSink sink;
};

/// Understands a line-oriented subset of the DBC language: every line is tried against a few fixed
/// patterns, and what fits none is passed over. The interface is made if its number is not there.
/// A file that cannot be opened is told at WRN and changes nothing. Faults of the content are told
/// at ERR and end in PrintMsgError; a value table or type of something unknown ends in
/// std::invalid_argument or SignalNotFoundException. What was read before stays in the interface.
void readDbcFile(Store& store, const std::string& path, std::uint32_t interfaceNumber,
                 const std::string& interfaceName, const DbcReadOptions& options);

/// The same, tolerant if the Store says so.
void readDbcFile(Store& store, const std::string& path, std::uint32_t interfaceNumber,
                 const std::string& interfaceName);

}  // namespace trelis
