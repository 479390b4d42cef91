// The kinds of DBC lines that hold definitions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trelis {

/// `BO_ <id> <name>: ...`. The views point into the line.
struct DbcMessageLine {
    std::uint32_t id = 0;
    std::string_view name;  ///< up to the colon
};
std::optional<DbcMessageLine> scanDbcMessage(std::string_view line);

/// ` SG_ <name> [<indicator>] : <start>|<size>@<order><sign> (<factor>,<offset>)
/// [<minimum>|<maximum>] "<unit>"`.
struct DbcSignalLine {
    std::string_view name;
    std::string_view indicator;  ///< of multiplexing; empty in the form without one
    std::uint32_t startBit = 0;
    std::uint32_t bitLength = 0;
    std::uint32_t byteOrder = 0;  ///< 1 little-endian, 0 big-endian
    char sign = '+';
    double factor = 0;
    double offset = 0;
    double minimum = 0;
    double maximum = 0;
    std::string_view unit;
};
std::optional<DbcSignalLine> scanDbcSignal(std::string_view line);

/// `SIG_VALTYPE_ <id> <signal> : <type>;`
struct DbcValueTypeLine {
    std::uint32_t id = 0;
    std::string_view signal;
    std::uint32_t type = 0;  ///< 1: 32-bit float, 2: 64-bit float
};
std::optional<DbcValueTypeLine> scanDbcValueType(std::string_view line);

/// `VAL_ <id> <signal> <value> "<label>" ...`, read from left to right: what is no number or label
/// is passed over. Names and labels end after `longest` bytes. Nothing without an id and a signal.
struct DbcValueTable {
    std::uint32_t id = 0;
    std::string_view signal;
    std::vector<std::pair<std::int32_t, std::string_view>> labels;  ///< in order of the line
};
std::optional<DbcValueTable> scanDbcValueTable(std::string_view line, std::size_t longest);

/// The low 32 bits of the decimal digits at the start of the text, which lose them.
std::uint32_t takeDbcDigits(std::string_view& text);

}  // namespace trelis
