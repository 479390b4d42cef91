#include "input/FieldScanner.h"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace trelis {
namespace {

bool takeSign(std::string_view& text) {
    if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
    const bool negative = text.front() == '-';
    text.remove_prefix(1);
    return negative;
}

bool beginsWithHexPrefix(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

}  // namespace

FieldScanner& FieldScanner::failed() {
    matched_ = false;
    rest_ = {};
    return *this;
}

FieldScanner& FieldScanner::blanks() {
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), isScanSpace);
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
    return *this;
}

FieldScanner& FieldScanner::literal(std::string_view text) {
    if (!rest_.starts_with(text)) return failed();
    rest_.remove_prefix(text.size());
    return *this;
}

FieldScanner& FieldScanner::number(std::uint32_t& value) {
    blanks();
    const bool negative = takeSign(rest_);
    std::uint64_t wide = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), wide);
    if (error == std::errc::invalid_argument) return failed();
    if (error == std::errc::result_out_of_range) wide = std::numeric_limits<std::uint64_t>::max();
    value = static_cast<std::uint32_t>(
        negative && error != std::errc::result_out_of_range ? std::uint64_t{0} - wide : wide);
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return *this;
}

FieldScanner& FieldScanner::real(double& value) {
    blanks();
    const bool negative = takeSign(rest_);
    auto notation = std::chars_format::general;
    std::string_view digits = rest_;
    if (beginsWithHexPrefix(digits)) {
        notation = std::chars_format::hex;
        digits.remove_prefix(2);
    }
    if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) return failed();
    double read = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), read, notation);
    if (error == std::errc::invalid_argument) return failed();
    // Too large or too small for a double: infinity or zero, as the C library has it.
    if (error == std::errc::result_out_of_range)
        read = g_ascii_strtod(std::string(rest_.data(), end).c_str(), nullptr);
    value = negative ? -read : read;
    const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    // The GNU library takes the start of an exponent that does not come for a part of the number.
    const bool isHex = notation == std::chars_format::hex;
    const auto exponent = isHex ? "pP" : "eE";
    if (std::isfinite(read) && number.find_first_of(exponent) == std::string_view::npos &&
        rest_.find_first_of(exponent) == 0) {
        rest_.remove_prefix(1);
        if (!rest_.empty() && (rest_.front() == '-' || rest_.front() == '+'))
            rest_.remove_prefix(1);
    }
    return *this;
}

FieldScanner& FieldScanner::character(char& value) {
    if (rest_.empty()) return failed();
    value = rest_.front();
    rest_.remove_prefix(1);
    return *this;
}

FieldScanner& FieldScanner::word(std::string_view& value) {
    blanks();
    const auto end = std::find_if(rest_.begin(), rest_.end(), isScanSpace);
    value = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
    if (value.empty()) return failed();
    rest_.remove_prefix(value.size());
    return *this;
}

FieldScanner& FieldScanner::upTo(char end, std::string_view& value) {
    value = rest_.substr(0, rest_.find(end));
    if (value.empty()) return failed();
    rest_.remove_prefix(value.size());
    return *this;
}

}  // namespace trelis
