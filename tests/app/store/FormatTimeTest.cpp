#include "app/store/FormatTime.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>

#include "support/TestStore.h"

namespace trelis {
namespace {

TEST(FormatTime, writesSecondsSinceTheFirstFrame) {
    test::TestStore store;
    EXPECT_EQ(formatTime(store, 1500, false, false), " 1.500s");  // nothing was parsed yet
    store.parseFirstTime = 1'000'000;
    EXPECT_EQ(formatTime(store, 1'012'345, false, false), " 12.345s");
    EXPECT_EQ(formatTime(store, 1'012'345, false, true), " 12.345s");
    EXPECT_EQ(formatTime(store, 999'999, false, false), "-0.001s");
    EXPECT_EQ(formatTime(store, 5'000'001'000'000, false, false), " 5000000000.000s");
    store.timeDecimals = 1;
    EXPECT_EQ(formatTime(store, 1'012'390, false, false), " 12.3s");
    store.timeDecimals = 2;
    EXPECT_EQ(formatTime(store, 1'000'009, false, false), " 0.00s");
}

TEST(FormatTime, writesDatesAndDurations) {
    test::TestStore store;
    store.parseFirstTime = 77;  // no part of either
    struct Case {
        std::int64_t time;
        bool absolute;
        const char* text;
    };
    constexpr Case kCases[] = {
        {1'700'000'000'123, true, "  2023-11-14 22:13:20.123"},
        {0, true, "  1970-01-01 00:00:00.000"},
        {-1, true, "- 1970-01-01 00:00:00.001"},
        {951'782'400'000, true, "  2000-02-29 00:00:00.000"},
        {0, false, " 00:00:00.000"},
        {86'399'999, false, " 23:59:59.999"},
        {86'400'000, false, " (+1) 00:00:00.000"},
        {-90'061'001, false, "-(+1) 01:01:01.001"},
        {std::numeric_limits<std::int64_t>::min(), false, "-(+106751991167) 07:12:55.808"},
    };
    for (const Case& c : kCases)
        EXPECT_EQ(formatTime(store, c.time, true, c.absolute), c.text);
}

TEST(FormatTime, staysInItsBuffer) {
    test::TestStore store;
    std::array<char, 8> buffer{};
    buffer.fill('#');
    formatTime(store, 1'700'000'000'123, buffer.data(), 6, true, true);
    EXPECT_STREQ(buffer.data(), "  202");
    EXPECT_EQ(buffer[6], '#');
    EXPECT_LT(formatTime(store, std::numeric_limits<std::int64_t>::max(), true, true).size(), 64U);
}

}  // namespace
}  // namespace trelis
