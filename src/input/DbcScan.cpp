#include "input/DbcScan.h"

#include <algorithm>

#include "input/FieldScanner.h"

namespace trelis {

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
        while (!line.empty() && !isScanDigit(line.front())) {
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
    while (!text.empty() && isScanDigit(text.front())) {
        value = value * 10 + static_cast<std::uint32_t>(text.front() - '0');
        text.remove_prefix(1);
    }
    return value;
}

}  // namespace trelis
