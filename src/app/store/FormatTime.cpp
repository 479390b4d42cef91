#include "app/store/FormatTime.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"

namespace trelis {
namespace {

constexpr std::uint64_t kMsPerSecond = 1000;
constexpr std::uint64_t kSecondsPerDay = 86400;

struct Parts {
    char sign = ' ';
    std::uint64_t seconds = 0;
    int digits = 3;
    unsigned fraction = 0;  ///< as many places of a second as `digits` says
};

Parts partsOf(std::int64_t time, std::uint32_t decimals) {
    Parts parts;
    parts.sign = time < 0 ? '-' : ' ';
    // Negated as an unsigned number, which the lowest value survives too.
    const auto bits = static_cast<std::uint64_t>(time);
    const std::uint64_t magnitude = time < 0 ? 0 - bits : bits;
    parts.seconds = magnitude / kMsPerSecond;
    parts.digits = static_cast<int>(std::clamp<std::uint32_t>(decimals, 1, 3));
    parts.fraction = static_cast<unsigned>(magnitude % kMsPerSecond);
    for (int places = 3; places > parts.digits; --places)
        parts.fraction /= 10;
    return parts;
}

void formatDate(const Parts& parts, char* buffer, std::size_t size) {
    const auto seconds = static_cast<std::time_t>(parts.seconds);
    std::tm date{};
    if (gmtime_r(&seconds, &date) == nullptr) {
        report(Level::kWarning, "Failed to get date from time since epoch");
        if (size > 0) buffer[0] = '\0';
        return;
    }
    const auto number = [](int value) { return static_cast<unsigned>(value); };
    std::snprintf(buffer, size, "%c %04u-%02u-%02u %02u:%02u:%02u.%0*u", parts.sign,
                  number(date.tm_year) + 1900U, number(date.tm_mon + 1), number(date.tm_mday),
                  number(date.tm_hour), number(date.tm_min), number(date.tm_sec), parts.digits,
                  parts.fraction);
}

void formatDuration(const Parts& parts, char* buffer, std::size_t size) {
    const std::uint64_t days = parts.seconds / kSecondsPerDay;
    const auto ofDay = static_cast<unsigned>(parts.seconds % kSecondsPerDay);
    std::array<char, 32> dayText{};
    if (days > 0)
        std::snprintf(dayText.data(), dayText.size(), "(+%llu) ",
                      static_cast<unsigned long long>(days));
    std::snprintf(buffer, size, "%c%s%02u:%02u:%02u.%0*u", parts.sign, dayText.data(), ofDay / 3600,
                  ofDay / 60 % 60, ofDay % 60, parts.digits, parts.fraction);
}

}  // namespace

void formatTime(const Store& store, std::int64_t time, char* buffer, std::size_t size, bool asDate,
                bool absolute) {
    if (asDate) {
        const Parts parts = partsOf(time, store.timeDecimals);
        absolute ? formatDate(parts, buffer, size) : formatDuration(parts, buffer, size);
        return;
    }
    const std::uint64_t first = store.parseFirstTime;
    const std::uint64_t origin = first == Store::kNoTime ? 0 : first;
    const auto sinceFirst = static_cast<std::int64_t>(static_cast<std::uint64_t>(time) - origin);
    const Parts parts = partsOf(sinceFirst, store.timeDecimals);
    std::snprintf(buffer, size, "%c%llu.%0*us", parts.sign,
                  static_cast<unsigned long long>(parts.seconds), parts.digits, parts.fraction);
}

std::string formatTime(const Store& store, std::int64_t time, bool asDate, bool absolute) {
    std::array<char, 64> buffer{};
    formatTime(store, time, buffer.data(), buffer.size(), asDate, absolute);
    return buffer.data();
}

}  // namespace trelis
