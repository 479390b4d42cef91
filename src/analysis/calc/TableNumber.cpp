#include "analysis/calc/TableNumber.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace trelis {
namespace {

// The longest text is that of the lowest double: a sign, 309 digits, and the digits asked for.
using Buffer = std::array<char, 400>;

std::string inForm(double value, std::chars_format form, int precision, bool decimalComma) {
    Buffer buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, form, precision).ptr;
    std::string text(buffer.data(), end);
    if (decimalComma) std::replace(text.begin(), text.end(), '.', ',');
    return text;
}

}  // namespace

std::string fixedNumber(double value, int digits, bool decimalComma) {
    return inForm(value, std::chars_format::fixed, digits, decimalComma);
}

std::string shortNumber(double value, bool decimalComma) {
    constexpr int kSignificantDigits = 6;
    return inForm(value, std::chars_format::general, kSignificantDigits, decimalComma);
}

}  // namespace trelis
