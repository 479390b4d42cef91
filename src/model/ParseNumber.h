// The locale-free number reader of all text inputs.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace trelis {

struct ParsedNumber {
    double value = 0;
    std::size_t end = 0;  ///< index of the first character behind the number
};

/// Reads a decimal number at the start of a text: an integer part, behind white space and a sign as
/// strtoll takes them; a fraction behind a point or a comma; an exponent behind `e` or `E`. The
/// sign of the text counts for the fraction too. Empty if there is no number, or an `e` with none
/// behind it. Behind an exponent `end` is the start of the exponent's digits, see docs/formats.md.
std::optional<ParsedNumber> parseNumber(std::string_view text);

}  // namespace trelis
