#include "model/ParseNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string_view>

namespace trelis {
namespace {

TEST(ParseNumber, readsWhatBeginsWithANumber) {
    struct Case {
        const char* text;
        double value;  // the double next to the decimal number, but for an exponent
        std::size_t end;
    };
    constexpr Case kCases[] = {
        {"0", 0.0, 1},
        {" \t\n+7x", 7.0, 5},
        {"1,5", 1.5, 3},
        {"-2,25;", -2.25, 5},
        {"5.", 5.0, 2},
        {"1.2.3", 1.2, 3},
        {"0.1", 0.1, 3},
        {"1700000000.123", 1700000000.123, 14},
        {"0.0000000000000000000000001", 0.0, 27},
        {"0x10", 0.0, 1},
        {"9223372036854775807", 9223372036854775807.0, 19},
        {"99999999999999999999999", 9223372036854775807.0, 23},
        {"-99999999999999999999999", -9223372036854775808.0, 24},
        // Behind an exponent the end is the start of its digits.
        {"1e2", 100.0, 2},
        {"1.5E+3", 1500.0, 5},
        {"2e-3;", 0.002, 3},
        {"-4,5e1 ", -45.0, 5},
        {"0e9999", 0.0, 2},
        {"1e-99999999999999999999", 0.0, 3},
        {"1e99999999999999999999", INFINITY, 2},
    };
    for (const Case& c : kCases) {
        const auto number = parseNumber(c.text);
        ASSERT_TRUE(number) << c.text;
        const bool scaled = std::string_view(c.text).find_first_of("eE") != std::string_view::npos;
        const double tolerance = scaled && c.value < INFINITY ? std::abs(c.value) * 1e-14 : 0;
        EXPECT_TRUE(number->value == c.value || std::abs(number->value - c.value) < tolerance)
            << c.text << " is " << number->value;
        EXPECT_EQ(number->end, c.end) << c.text;
    }
    EXPECT_TRUE(std::signbit(parseNumber("-0")->value));
}

TEST(ParseNumber, refusesWhatIsNone) {
    for (const char* text : {"", " ", "x1", ".5", "-", "+ 1", "-.5", "1e", "1e+", "1.5ex", "\xC3"})
        EXPECT_FALSE(parseNumber(text)) << text;
}

}  // namespace
}  // namespace trelis
