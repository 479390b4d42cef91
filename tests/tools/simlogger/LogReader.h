#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// The plainest possible reader of recordings, to check what was written.
namespace trelis::sim::testing {

struct Record {
    std::uint32_t timestamp;
    std::uint32_t id;
    std::uint8_t length;
    std::uint64_t data;
    std::uint8_t interface;
};

struct LogFile {
    std::string head;             ///< the first line, without its newline
    std::vector<Record> records;  ///< of all sound blocks before the first bad one
    std::size_t blocks = 0;       ///< how many those are
    bool sound = false;           ///< all of the file could be read
};

LogFile readLog(const std::filesystem::path& path);

}  // namespace trelis::sim::testing
