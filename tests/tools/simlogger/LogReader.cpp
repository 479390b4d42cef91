#include "tools/simlogger/LogReader.h"

#include <lz4.h>

#include <array>
#include <cstring>

#include "support/Files.h"

namespace trelis::sim::testing {

namespace {

template <typename Number>
Number numberAt(const char* bytes) {  // the tests run on little-endian machines
    Number value{};
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace

LogFile readLog(const std::filesystem::path& path) {
    LogFile log;
    const std::string bytes = test::contentOf(path);
    std::size_t at = bytes.find('\n') + 1;
    log.head = bytes.substr(0, at - 1);
    if (bytes.compare(at, 9, "LOGSTART\n") != 0) return log;
    at += 9;
    std::array<char, 18000> raw{};
    while (at + 8 <= bytes.size()) {
        const auto magic = numberAt<std::uint32_t>(bytes.data() + at);
        const std::size_t packed = numberAt<std::uint32_t>(bytes.data() + at + 4);
        const int size = magic == 0x2018124C ? 18 : magic == 0x184C2102 ? 17 : 0;
        at += 8;
        if (size == 0 || packed > bytes.size() - at) return log;
        const int length =
            LZ4_decompress_safe(bytes.data() + at, raw.data(), static_cast<int>(packed), 18000);
        if (length <= 0 || length % size != 0) return log;
        at += packed;
        ++log.blocks;
        for (const char* p = raw.data(); p < raw.data() + length; p += size)
            log.records.push_back({numberAt<std::uint32_t>(p), numberAt<std::uint32_t>(p + 4),
                                   numberAt<std::uint8_t>(p + 8), numberAt<std::uint64_t>(p + 9),
                                   size == 18 ? numberAt<std::uint8_t>(p + 17) : std::uint8_t{0}});
    }
    log.sound = at == bytes.size();
    return log;
}

}  // namespace trelis::sim::testing
