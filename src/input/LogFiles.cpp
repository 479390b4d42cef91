#include "input/LogFiles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <optional>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"

namespace trelis {
namespace {

constexpr std::size_t kHeaderBytes = 55;  // of the first line, as far as it is looked at
constexpr std::string_view kSecondLine = "LOGSTART\n";

struct HeaderLine {
    std::tm time{};
    int milliseconds = 0;
    std::string device;
};

// "Log started at Mon 2024-03-04 08:00:00.000 on DEVICE"; the last two fields may be missing.
std::optional<HeaderLine> scanHeader(const char* line) {
    HeaderLine header;
    std::array<char, 4> weekday{};
    std::array<char, 9> device{};
    std::tm& time = header.time;
    const int fields =
        std::sscanf(line, "Log started at %3s %4d-%2d-%2d %2d:%2d:%2d.%3d on %8s", weekday.data(),
                    &time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour, &time.tm_min,
                    &time.tm_sec, &header.milliseconds, device.data());
    if (fields != 7 && fields != 9) return std::nullopt;
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    header.device = device.data();
    return header;
}

// The first line without its newline, cut to what is looked at; the stream then stands behind the
// newline. Empty if the file ends before.
std::optional<std::string> readFirstLine(std::istream& file) {
    constexpr std::size_t kLongestLine = 1 << 20;
    std::string line;
    for (std::size_t count = 0; count < kLongestLine; ++count) {
        const int byte = file.get();
        if (byte == std::char_traits<char>::eof()) return std::nullopt;
        if (byte == '\n') return line;
        if (line.size() < kHeaderBytes) line.push_back(static_cast<char>(byte));
    }
    return std::nullopt;
}

}  // namespace

std::int64_t readLogStartTime(Store& store, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const auto line = file ? readFirstLine(file) : std::nullopt;
    if (!line) return -1;
    auto header = scanHeader(line->c_str());
    if (!header) return -1;
    std::array<char, kSecondLine.size()> second{};
    file.read(second.data(), static_cast<std::streamsize>(second.size()));
    if (!file || std::string_view(second.data(), second.size()) != kSecondLine) return -1;
    const std::int64_t start = std::int64_t{timegm(&header->time)} * 1000 + header->milliseconds;
    if (start < 0)
        report(Level::kInfo,
               format("Failed to read start time from: %s, skipping\n", path.c_str()));
    else if (header->device == "quadwire")
        store.quadWire = true;
    return start;
}

void addLogFile(Store& store, const std::string& path) {
    if (store.csvMode || store.ascMode) {
        store.logFiles.push_back(path);
        return;
    }
    const std::int64_t start = readLogStartTime(store, path);
    if (start < 0) {
        report(Level::kInfo, format("%s is not a valid log file, skipping", path.c_str()));
        return;
    }
    // Behind the files that start at the same time: they keep the order in which they were given.
    auto& byStart = store.logFilesByStart;
    const auto place =
        std::upper_bound(byStart.begin(), byStart.end(), start,
                         [](std::int64_t time, const auto& file) { return time < file.second; });
    store.logFiles.insert(store.logFiles.begin() + (place - byStart.begin()), path);
    byStart.insert(place, {path, start});
}

void clearLogFiles(Store& store) {
    store.logFiles.clear();
    store.logFilesByStart.clear();
    store.quadWire = false;
}

}  // namespace trelis
