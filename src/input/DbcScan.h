// The kinds of DBC lines that hold definitions, and the scanner they are read with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trelis {

/// Reads fields of a line from left to right by the rules of the C library's scanf (ISO C,
/// 7.21.6.2): fields skip white space in front of them, and blanks between fields match any run of
/// white space, also none. Free of locale. Once a field fails, all later ones do.
class FieldScanner {
  public:
    explicit FieldScanner(std::string_view line) : rest_(line) {}

    /// Matches any run of white space.
    FieldScanner& blanks();
    /// Matches these very characters.
    FieldScanner& literal(std::string_view text);
    /// A decimal number, with a sign if there is one, as its low 32 bits.
    FieldScanner& number(std::uint32_t& value);
    /// A floating-point number in any spelling that C knows.
    FieldScanner& real(double& value);
    /// One character, white space too.
    FieldScanner& character(char& value);
    /// Characters up to the next white space, at least one.
    FieldScanner& word(std::string_view& value);
    /// Characters up to the next `end`, at least one.
    FieldScanner& upTo(char end, std::string_view& value);

    [[nodiscard]] bool matched() const { return matched_; }

  private:
    FieldScanner& failed();

    std::string_view rest_;
    bool matched_ = true;
};

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

/// White space as C's isspace takes it in the locale "C".
constexpr bool isDbcSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDbcDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The low 32 bits of the decimal digits at the start of the text, which lose them.
std::uint32_t takeDbcDigits(std::string_view& text);

}  // namespace trelis
