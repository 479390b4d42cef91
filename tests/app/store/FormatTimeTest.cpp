#include "app/store/FormatTime.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>

#include "support/TestStore.h"

namespace trelis {
namespace {

TEST(FormatTime, writesSecondsDatesAndDurations) {
    constexpr std::uint64_t kNone = Store::kNoTime;  // nothing was parsed yet
    struct Case {
        std::int64_t time;
        bool asDate;
        bool absolute;
        const char* text;
        std::uint64_t first = 1'000'000;
        std::uint32_t decimals = 3;
    };
    constexpr Case kCases[] = {
        {1500, false, false, " 1.500s", kNone},
        {1'012'345, false, true, " 12.345s"},
        {999'999, false, false, "-0.001s"},
        {5'000'001'000'000, false, false, " 5000000000.000s"},
        {1'012'390, false, false, " 12.3s", 1'000'000, 1},
        {1'000'009, false, false, " 0.00s", 1'000'000, 2},
        {1'700'000'000'123, true, true, "  2023-11-14 22:13:20.123"},
        {0, true, true, "  1970-01-01 00:00:00.000"},
        {-1, true, true, "- 1970-01-01 00:00:00.001"},
        {951'782'400'000, true, true, "  2000-02-29 00:00:00.000"},
        {86'399'999, true, false, " 23:59:59.999"},
        {86'400'000, true, false, " (+1) 00:00:00.000"},
        {-90'061'001, true, false, "-(+1) 01:01:01.001"},
        {std::numeric_limits<std::int64_t>::min(), true, false, "-(+106751991167) 07:12:55.808"},
    };
    test::TestStore store;
    for (const Case& c : kCases) {
        store.parseFirstTime = c.first;
        store.timeDecimals = c.decimals;
        EXPECT_EQ(formatTime(store, c.time, c.asDate, c.absolute), c.text);
    }
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
