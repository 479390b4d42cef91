// A stream of blocks in memory, unpacked as a connection does: whatever comes must end.
#include <array>
#include <cstdlib>
#include <span>

#include "input/stream/StreamCodec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace trelis;
    StreamCodec codec;
    if (initNetworkStreamCodec(codec) != 0) std::abort();
    std::span<const std::uint8_t> rest(data, size);
    std::int32_t consumed = 0;
    while (unpackBlock(codec, rest, consumed) == kStreamBlock) {
        const std::span<const std::uint8_t> bytes = blockRecords(codec);
        const auto records = static_cast<std::size_t>(recordsLeft(codec));
        if (bytes.size() > static_cast<std::size_t>(kMaxBlockSize)) std::abort();
        std::array<std::uint8_t, kRecordSize> record{};
        std::size_t given = 0;
        while (nextRecord(codec, record))
            ++given;
        if (given != records || given != bytes.size() / static_cast<std::size_t>(codec.recordSize))
            std::abort();
        rest = rest.subspan(static_cast<std::size_t>(consumed));
    }
    if (consumed != 0) std::abort();
    return 0;
}
