#include "model/ParseNumber.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace trelis {
namespace {

// More digits of a fraction than these do not change a double.
constexpr std::size_t kMostFractionDigits = 18;
constexpr double kNaturalLog10 = 2.302585092994046;

constexpr std::array<std::uint64_t, kMostFractionDigits + 1> powersOfTen() {
    std::array<std::uint64_t, kMostFractionDigits + 1> powers{};
    powers[0] = 1;
    for (std::size_t i = 1; i < powers.size(); ++i)
        powers[i] = powers[i - 1] * 10;
    return powers;
}
constexpr auto kPowersOfTen = powersOfTen();

// Blanks as the C locale has them.
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// A sign and digits as strtoll takes them, also in that it stops at the ends of its range. The sign
// is told apart, since a whole part of -0 has one too.
struct Whole {
    std::uint64_t magnitude = 0;
    bool negative = false;
    std::size_t digitsAt = 0;
    std::size_t end = 0;

    [[nodiscard]] bool isPresent() const { return end != digitsAt; }
};

Whole readWhole(std::string_view text, std::size_t at) {
    Whole whole;
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        whole.negative = text[at++] == '-';
    whole.digitsAt = at;
    while (at < text.size() && isDigit(text[at]))
        ++at;
    whole.end = at;
    const auto [last, error] =
        std::from_chars(text.data() + whole.digitsAt, text.data() + at, whole.magnitude);
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t most = kMost + (whole.negative ? 1U : 0U);
    if (error == std::errc::result_out_of_range || whole.magnitude > most) whole.magnitude = most;
    return whole;
}

}  // namespace

std::optional<ParsedNumber> parseNumber(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && isSpace(text[at]))
        ++at;
    const Whole whole = readWhole(text, at);
    if (!whole.isPresent()) return std::nullopt;
    at = whole.end;

    // The 64 bits of a long double's mantissa make the sum exact enough that a short decimal number
    // becomes the double next to it.
    long double value = static_cast<long double>(whole.magnitude);
    if (at < text.size() && (text[at] == '.' || text[at] == ',')) {
        const std::size_t first = ++at;
        std::uint64_t fraction = 0;
        for (; at < text.size() && isDigit(text[at]); ++at)
            if (at - first < kMostFractionDigits)
                fraction = fraction * 10 + static_cast<std::uint64_t>(text[at] - '0');
        const std::size_t digits = std::min(at - first, kMostFractionDigits);
        value +=
            static_cast<long double>(fraction) / static_cast<long double>(kPowersOfTen[digits]);
    }
    ParsedNumber number{static_cast<double>(whole.negative ? -value : value), at};
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        const Whole power = readWhole(text, at + 1);
        if (!power.isPresent()) return std::nullopt;
        const auto exponent = static_cast<double>(power.magnitude);
        // A zero stays a zero, also where the scale overflows.
        if (number.value != 0.0)
            number.value *= std::exp((power.negative ? -exponent : exponent) * kNaturalLog10);
        number.end = power.digitsAt;
    }
    return number;
}

}  // namespace trelis
