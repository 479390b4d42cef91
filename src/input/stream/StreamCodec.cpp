#include "input/stream/StreamCodec.h"

#include <lz4.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <optional>

#include "input/stream/LittleEndian.h"
#include "input/stream/StreamLog.h"

namespace trelis {
namespace {

constexpr int kPollTimeoutMs = 500;
constexpr int kDecompression = 1;
constexpr int kCompression = 0;
/// Small enough to stay in a second-level cache between the read and the unpacking, large enough
/// that the cost of the system call vanishes. Holds the largest block several times.
constexpr std::size_t kReadAheadSize = 128 * 1024;

int allocate(StreamCodec& codec, std::int32_t pollInput) {
    freeStreamCodec(&codec);
    try {
        codec.inBuffer.resize(kReadAheadSize);
        codec.outBuffer.resize(static_cast<std::size_t>(kMaxBlockSize));
    } catch (const std::bad_alloc&) {
        streamLog(StreamLevel::kError, "Out of memory");
        freeStreamCodec(&codec);
        return 1;
    }
    codec.pollInput = pollInput;
    return 0;
}

/// Waits until a socket has something to read. kStreamDone, kStreamEnd after a stop request, or
/// kStreamError.
int awaitInput(const StreamCodec& codec, int fd) {
    while (codec.stopRequested.load(std::memory_order_acquire) == 0) {
        pollfd waiting{fd, POLLIN, 0};
        const int ready = poll(&waiting, 1, kPollTimeoutMs);
        if (ready > 0) return kStreamDone;
        if (ready < 0 && errno != EINTR) {
            streamLog(StreamLevel::kWarning, "Stream read error: %s", std::strerror(errno));
            return kStreamError;
        }
    }
    return kStreamEnd;
}

/// One successful read of 1 to `most` bytes into `to`.
int readSome(const StreamCodec& codec, int fd, std::uint8_t* to, std::size_t most,
             std::size_t& got) {
    while (true) {
        if (codec.pollInput != 0) {
            const int code = awaitInput(codec, fd);
            if (code != kStreamDone) return code;
        }
        const ssize_t count = read(fd, to, most);
        if (count > 0) {
            got = static_cast<std::size_t>(count);
            return kStreamDone;
        }
        if (count == 0) return kStreamEnd;
        const bool again = codec.pollInput != 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        if (errno != EINTR && !again) {
            streamLog(StreamLevel::kWarning, "Stream read error: %s", std::strerror(errno));
            return kStreamError;
        }
    }
}

/// Makes the next `length` bytes contiguous in the input buffer and takes them; `length` is at most
/// the buffer's size. The bytes stay valid until the next read.
int takeInput(StreamCodec& codec, int fd, std::size_t length, const std::uint8_t*& bytes) {
    if (codec.inEnd - codec.inBegin < length) {
        if (codec.inBegin != 0) {
            std::copy(codec.inBuffer.data() + codec.inBegin, codec.inBuffer.data() + codec.inEnd,
                      codec.inBuffer.data());
            codec.inEnd -= codec.inBegin;
            codec.inBegin = 0;
        }
        while (codec.inEnd < length) {
            std::size_t got = 0;
            const int code = readSome(codec, fd, codec.inBuffer.data() + codec.inEnd,
                                      codec.inBuffer.size() - codec.inEnd, got);
            if (code != kStreamDone) return code;
            codec.inEnd += got;
        }
    }
    bytes = codec.inBuffer.data() + codec.inBegin;
    codec.inBegin += length;
    return kStreamDone;
}

/// The first block's magic number fixes the record size for the whole input.
bool acceptMagic(StreamCodec& codec, std::uint32_t magic) {
    if (magic != kBlockMagic && magic != kOldBlockMagic) {
        streamLog(StreamLevel::kWarning, "Didn't find magic number");
        return false;
    }
    if (codec.formatVersion == -1) {
        codec.formatVersion = magic == kBlockMagic ? 1 : 0;
        codec.recordSize = static_cast<std::int32_t>(kRecordSize) - (magic == kBlockMagic ? 0 : 1);
    }
    return true;
}

bool acceptLength(std::uint32_t length) {
    if (length <= static_cast<std::uint32_t>(kMaxPackedSize)) return true;
    streamLog(StreamLevel::kWarning, "Data len %u is larger than a block can be", length);
    return false;
}

/// The unpacked length, or nothing after a diagnostic. The library takes a match at offset 0 as a
/// match with what the output holds already, so the output is cleared: a damaged block must never
/// bring back frames of an earlier one.
std::optional<std::int32_t> unpack(const StreamCodec& codec, const std::uint8_t* packed,
                                   std::int32_t packedLength, std::uint8_t* out) {
    std::memset(out, 0, static_cast<std::size_t>(codec.maxBlockSize));
    const int length =
        LZ4_decompress_safe(reinterpret_cast<const char*>(packed), reinterpret_cast<char*>(out),
                            packedLength, codec.maxBlockSize);
    if (length >= 1) return length;
    streamLog(StreamLevel::kWarning, "uncompress error (p->in_len: %d, p->out_len(): %d",
              packedLength, length);
    return std::nullopt;
}

void dropBlock(StreamCodec& codec) {
    codec.outLength = 0;
    codec.recordCount = 0;
    codec.readIndex = 0;
}

void holdBlock(StreamCodec& codec, std::int32_t length) {
    codec.outLength = length;
    codec.recordCount = length / codec.recordSize;
}

}  // namespace

int initStreamCodec(StreamCodec& codec, int direction) {
    if (direction != kDecompression && direction != kCompression) {
        streamLog(StreamLevel::kError, "Invalid compression direction: %d", direction);
        freeStreamCodec(&codec);
        return 1;
    }
    return allocate(codec, 0);
}

int initNetworkStreamCodec(StreamCodec& codec) {
    return allocate(codec, 1);
}

void freeStreamCodec(StreamCodec* codec) {
    if (codec == nullptr) return;
    codec->inBuffer = {};
    codec->outBuffer = {};
    codec->inBegin = codec->inEnd = 0;
    codec->inLength = 0;
    dropBlock(*codec);
    codec->formatVersion = -1;
    codec->recordSize = static_cast<std::int32_t>(kRecordSize);
    codec->pollInput = 0;
    codec->stopRequested = 0;
}

int readFully(StreamCodec& codec, int fd, std::span<std::uint8_t> buffer) {
    while (!buffer.empty()) {
        std::size_t got = 0;
        if (codec.inBegin < codec.inEnd) {
            got = std::min(buffer.size(), codec.inEnd - codec.inBegin);
            std::copy_n(codec.inBuffer.data() + codec.inBegin, got, buffer.data());
            codec.inBegin += got;
        } else if (buffer.size() < codec.inBuffer.size()) {
            codec.inBegin = codec.inEnd = 0;
            const int code =
                readSome(codec, fd, codec.inBuffer.data(), codec.inBuffer.size(), codec.inEnd);
            if (code != kStreamDone) return code;
        } else {
            const int code = readSome(codec, fd, buffer.data(), buffer.size(), got);
            if (code != kStreamDone) return code;
        }
        buffer = buffer.subspan(got);
    }
    return kStreamDone;
}

int readBlockInto(StreamCodec& codec, int fd, std::span<std::uint8_t> out,
                  std::int32_t& outLength) {
    outLength = 0;
    dropBlock(codec);
    if (codec.inBuffer.empty() || out.size() < static_cast<std::size_t>(codec.maxBlockSize)) {
        streamLog(StreamLevel::kError, "No buffer to read a block");
        return kStreamError;
    }
    const std::uint8_t* bytes = nullptr;
    int code = takeInput(codec, fd, 4, bytes);
    if (code != kStreamDone) return code;
    if (!acceptMagic(codec, loadLittleEndian<std::uint32_t>(bytes))) return kStreamError;
    code = takeInput(codec, fd, 4, bytes);
    if (code != kStreamDone) return code;
    const std::uint32_t length = loadLittleEndian<std::uint32_t>(bytes);
    if (!acceptLength(length)) return kStreamError;
    codec.inLength = static_cast<std::int32_t>(length);
    if (length == 0) streamLog(StreamLevel::kError, "Data len 0: Stopping");
    code = takeInput(codec, fd, length, bytes);
    if (code != kStreamDone) return code;
    const auto unpacked = unpack(codec, bytes, codec.inLength, out.data());
    if (!unpacked) return kStreamError;
    outLength = *unpacked;
    return kStreamBlock;
}

int readBlock(StreamCodec& codec, int fd) {
    std::int32_t length = 0;
    const int code = readBlockInto(codec, fd, codec.outBuffer, length);
    if (code == kStreamBlock) holdBlock(codec, length);
    return code;
}

int unpackBlock(StreamCodec& codec, std::span<const std::uint8_t> data, std::int32_t& consumed) {
    consumed = 0;
    dropBlock(codec);
    if (data.size() < kBlockHeadSize) return kStreamDone;
    if (!acceptMagic(codec, loadLittleEndian<std::uint32_t>(data.data()))) return kStreamError;
    const std::uint32_t length = loadLittleEndian<std::uint32_t>(data.data() + 4);
    if (!acceptLength(length)) return kStreamError;
    if (length > data.size() - kBlockHeadSize) return kStreamDone;
    codec.inLength = static_cast<std::int32_t>(length);
    if (codec.outBuffer.empty()) return kStreamError;
    const auto unpacked =
        unpack(codec, data.data() + kBlockHeadSize, codec.inLength, codec.outBuffer.data());
    if (!unpacked) return kStreamError;
    holdBlock(codec, *unpacked);
    consumed = codec.inLength + static_cast<std::int32_t>(kBlockHeadSize);
    return kStreamBlock;
}

void stopStreamRead(StreamCodec* codec) {
    if (codec != nullptr) codec->stopRequested.store(1, std::memory_order_release);
}

}  // namespace trelis
