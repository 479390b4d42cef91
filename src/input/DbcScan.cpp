#include "input/DbcScan.h"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

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
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), isDbcSpace);
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
    const auto end = std::find_if(rest_.begin(), rest_.end(), isDbcSpace);
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

std::optional<DbcMessageLine> scanDbcMessage(std::string_view line) {
    DbcMessageLine message;
    FieldScanner scanner(line);
    scanner.literal("BO_").blanks().number(message.id).blanks().upTo(':', message.name);
    if (!scanner.matched()) return std::nullopt;
    return message;
}

std::optional<DbcSignalLine> scanDbcSignal(std::string_view line) {
    const auto scan = [line](bool withIndicator) -> std::optional<DbcSignalLine> {
        DbcSignalLine signal;
        FieldScanner scanner(line);
        scanner.blanks().literal("SG_").word(signal.name);
        if (withIndicator) scanner.word(signal.indicator);
        scanner.blanks().literal(":").number(signal.startBit).literal("|");
        scanner.number(signal.bitLength).literal("@").number(signal.byteOrder);
        scanner.character(signal.sign).blanks().literal("(").real(signal.factor).literal(",");
        scanner.real(signal.offset).literal(")").blanks().literal("[").real(signal.minimum);
        scanner.literal("|").real(signal.maximum).literal("]").blanks().literal("\"");
        scanner.upTo('"', signal.unit);
        if (!scanner.matched()) return std::nullopt;
        return signal;
    };
    auto signal = scan(true);
    return signal ? signal : scan(false);
}

std::optional<DbcValueTypeLine> scanDbcValueType(std::string_view line) {
    DbcValueTypeLine value;
    FieldScanner scanner(line);
    scanner.literal("SIG_VALTYPE_").number(value.id).word(value.signal).blanks().literal(":");
    scanner.number(value.type);
    if (!scanner.matched()) return std::nullopt;
    return value;
}

std::optional<DbcValueTable> scanDbcValueTable(std::string_view line, std::size_t longest) {
    std::optional<DbcValueTable> table;
    for (;;) {
        bool negative = false;
        while (!line.empty() && !isDbcDigit(line.front())) {
            negative = line.front() == '-';
            line.remove_prefix(1);
        }
        const std::uint32_t digits = takeDbcDigits(line);
        if (line.empty()) return table;  // a number with nothing behind it is none
        const std::uint32_t number = negative ? 0U - digits : digits;
        if (!table) {
            line.remove_prefix(std::min(line.find_first_of(" \t"), line.size() - 1) + 1);
            const auto name = line.substr(0, std::min(line.find_first_of(" \t"), longest));
            line.remove_prefix(name.size());
            table = {number, name, {}};
            continue;
        }
        const auto opening = line.find('"');
        if (opening == std::string_view::npos) return table;
        line.remove_prefix(opening + 1);
        const std::string_view label = line.substr(0, line.find('"'));
        line.remove_prefix(label.size());
        table->labels.emplace_back(static_cast<std::int32_t>(number), label.substr(0, longest));
    }
}

std::uint32_t takeDbcDigits(std::string_view& text) {
    std::uint32_t value = 0;
    while (!text.empty() && isDbcDigit(text.front())) {
        value = value * 10 + static_cast<std::uint32_t>(text.front() - '0');
        text.remove_prefix(1);
    }
    return value;
}

}  // namespace trelis
