// Reads the logger's stream of compressed blocks, from a file, a socket or memory.
//
// A block is a 4-byte magic number, a 4-byte length N and N bytes of one LZ4 block (the format of
// lz4_Block_format.md of the LZ4 project), all integers little-endian. Unpacked it holds at most
// 18000 bytes of records of one size: 18 bytes, or 17 without the interface number in the older
// format.
//
// A plain record with free functions and numeric result codes; nothing here throws. Diagnostics go
// to standard error. A codec belongs to one thread at a time, only stopStreamRead may come from
// another one.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace trelis {

inline constexpr std::uint32_t kBlockMagic = 0x2018124CU;     ///< 18-byte records
inline constexpr std::uint32_t kOldBlockMagic = 0x184C2102U;  ///< 17-byte records
inline constexpr std::int32_t kMaxBlockSize = 18000;          ///< bytes of an unpacked block
/// Bytes of a compressed block: what LZ4 needs for kMaxBlockSize bytes at worst.
inline constexpr std::int32_t kMaxPackedSize = 18086;
inline constexpr std::size_t kBlockHeadSize = 8;
inline constexpr std::size_t kRecordSize = 18;

// Result codes of the reading functions.
inline constexpr int kStreamDone = 0;   ///< read done, or nothing complete yet
inline constexpr int kStreamBlock = 1;  ///< one block is unpacked and ready
inline constexpr int kStreamEnd = 2;    ///< closed, end of file, or a stop was requested
inline constexpr int kStreamError = 3;  ///< the diagnostic has been printed

/// One open input. It owns its memory; initStreamCodec makes it usable.
struct StreamCodec {
    std::vector<std::uint8_t> inBuffer;   ///< read ahead
    std::vector<std::uint8_t> outBuffer;  ///< the current unpacked block
    std::size_t inBegin = 0;              ///< read-ahead that was not taken yet: first byte ...
    std::size_t inEnd = 0;                ///< ... and end
    std::int32_t inLength = 0;            ///< compressed length of the current block
    std::int32_t outLength = 0;           ///< unpacked length of the current block
    std::int32_t maxBlockSize = kMaxBlockSize;
    std::int32_t formatVersion = -1;  ///< 0 or 1 once the first block was seen
    std::int32_t recordSize = kRecordSize;
    std::int32_t pollInput = 0;                  ///< 1 for sockets
    std::atomic<std::int32_t> stopRequested{0};  ///< makes a waiting read give up
    std::int32_t readIndex = 0;                  ///< next record of the current block
    std::int32_t recordCount = 0;                ///< whole records of the current block
};

/// Prepares for one input. Direction 1 reads compressed blocks from a file, 0 is the writer's;
/// another value is refused. 0 if it worked, otherwise 1.
int initStreamCodec(StreamCodec& codec, int direction);
/// Prepares for a socket, which may be non-blocking. 0 if it worked.
int initNetworkStreamCodec(StreamCodec& codec);
/// Gives the memory back; a null codec is fine.
void freeStreamCodec(StreamCodec* codec);

/// Reads exactly as many bytes as `buffer` has. The codec reads ahead, so all reads from its
/// descriptor have to go through it. kStreamDone, kStreamEnd or kStreamError.
int readFully(StreamCodec& codec, int fd, std::span<std::uint8_t> buffer);
/// Reads and unpacks one block. kStreamBlock, kStreamEnd or kStreamError.
int readBlock(StreamCodec& codec, int fd);
/// As readBlock, but into the caller's buffer of at least kMaxBlockSize bytes, for a reader that
/// keeps the block. `outLength` is 0 unless the result is kStreamBlock. The codec then holds no
/// records itself.
int readBlockInto(StreamCodec& codec, int fd, std::span<std::uint8_t> out, std::int32_t& outLength);
/// Unpacks the block that `data` begins with. kStreamBlock, kStreamDone if it is not whole yet, or
/// kStreamError. `consumed` is 0 unless the result is kStreamBlock.
int unpackBlock(StreamCodec& codec, std::span<const std::uint8_t> data, std::int32_t& consumed);

/// Starts the records of the current block anew; a new block starts there by itself.
inline void rewindRecords(StreamCodec& codec) {
    codec.readIndex = 0;
}

/// Whole records of the current block that nextRecord has not given yet.
inline std::int32_t recordsLeft(const StreamCodec& codec) {
    return codec.recordCount - codec.readIndex;
}

/// Copies the next record; the older format's gets interface number 0. False if none is left.
inline bool nextRecord(StreamCodec& codec, std::span<std::uint8_t, kRecordSize> record) {
    if (recordsLeft(codec) <= 0) return false;
    const auto size = static_cast<std::size_t>(codec.recordSize);
    const std::uint8_t* from =
        codec.outBuffer.data() + static_cast<std::size_t>(codec.readIndex) * size;
    std::copy_n(from, kRecordSize - 1, record.begin());
    record[kRecordSize - 1] = size == kRecordSize ? from[kRecordSize - 1] : std::uint8_t{0};
    ++codec.readIndex;
    return true;
}

/// The bytes of the current block, for readers that walk them themselves in steps of recordSize.
/// Valid until the next read.
inline std::span<const std::uint8_t> blockRecords(const StreamCodec& codec) {
    return {codec.outBuffer.data(), static_cast<std::size_t>(codec.outLength)};
}

/// Makes a waiting socket read give up within half a second. Any thread; null is fine.
void stopStreamRead(StreamCodec* codec);

}  // namespace trelis
