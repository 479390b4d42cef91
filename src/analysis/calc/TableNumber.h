// Numbers as the tables for the clipboard write them.
#pragma once

#include <string>

namespace trelis {

/// The number with this many digits behind the decimal sign (a point, or a comma for spreadsheets
/// of such a language), whatever the locale.
std::string fixedNumber(double value, int digits, bool decimalComma);

/// The shortest form with at most six significant digits.
std::string shortNumber(double value, bool decimalComma);

}  // namespace trelis
