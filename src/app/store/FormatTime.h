// The one formatter of times: ruler labels, tables, traces with dates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace trelis {

class Store;

/// Writes a time with its terminating zero, cut to `size` bytes. The first character is a blank, or
/// `-` for a negative time; the last digits are Store::timeDecimals places of a second, cut, not
/// rounded.
///
/// `asDate` false: seconds since Store::parseFirstTime, as in " 12.345s"; `absolute` is ignored.
/// `asDate` and `absolute`: date and time of day in UTC, `time` being ms since the epoch.
/// `asDate` alone: `time` is a duration in ms, shown as a clock with the whole days ahead of it.
///
/// WRN "Failed to get date from time since epoch" and an empty text if the calendar has no such
/// day. Any thread.
void formatTime(const Store& store, std::int64_t time, char* buffer, std::size_t size, bool asDate,
                bool absolute);

/// The same as a string.
[[nodiscard]] std::string formatTime(const Store& store, std::int64_t time, bool asDate,
                                     bool absolute);

}  // namespace trelis
