// The logger's side of the block format, for tests: blocks, and descriptors to read them from.
#pragma once

#include <gtest/gtest.h>
#include <lz4.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "input/stream/StreamCodec.h"

namespace trelis::test {

using Bytes = std::vector<std::uint8_t>;

inline void append(Bytes& to, std::span<const std::uint8_t> bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

inline void appendWord(Bytes& to, std::uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8)
        to.push_back(static_cast<std::uint8_t>(word >> static_cast<unsigned>(shift)));
}

/// Bytes that do not repeat within a block, so that a misplaced one shows.
inline Bytes payload(std::size_t length, std::uint32_t seed = 1) {
    Bytes bytes(length);
    std::uint32_t state = seed;
    for (auto& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24U);
    }
    return bytes;
}

/// A block around LZ4 data that is taken as it is.
inline Bytes rawBlock(std::uint32_t magic, std::span<const std::uint8_t> packed) {
    Bytes bytes;
    appendWord(bytes, magic);
    appendWord(bytes, static_cast<std::uint32_t>(packed.size()));
    append(bytes, packed);
    return bytes;
}

inline Bytes compress(std::span<const std::uint8_t> content) {
    Bytes packed(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(content.size()))));
    const int length = LZ4_compress_default(
        reinterpret_cast<const char*>(content.data()), reinterpret_cast<char*>(packed.data()),
        static_cast<int>(content.size()), static_cast<int>(packed.size()));
    packed.resize(static_cast<std::size_t>(length));
    return packed;
}

inline Bytes block(std::span<const std::uint8_t> content, std::uint32_t magic = kBlockMagic) {
    return rawBlock(magic, compress(content));
}

/// A descriptor that is closed at the end.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() { reset(); }
    void reset() {
        if (fd_ >= 0) close(fd_);
        fd_ = -1;
    }
    [[nodiscard]] int get() const { return fd_; }

  private:
    int fd_;
};

/// The two ends of a connection without a port.
struct SocketPair {
    SocketPair() : SocketPair(make()) {}
    explicit SocketPair(std::array<int, 2> ends) : near(ends[0]), far(ends[1]) {}
    static std::array<int, 2> make() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        return ends;
    }
    Descriptor near;
    Descriptor far;
};

/// A file in memory, positioned at its start.
inline Descriptor fileWith(std::span<const std::uint8_t> content) {
    Descriptor file(memfd_create("blocks", 0));
    EXPECT_EQ(write(file.get(), content.data(), content.size()),
              static_cast<ssize_t>(content.size()));
    lseek(file.get(), 0, SEEK_SET);
    return file;
}

/// Expects the parts in the text, one behind the other.
inline void expectInOrder(const std::string& text, const std::vector<std::string>& parts) {
    std::size_t from = 0;
    for (const std::string& part : parts) {
        from = text.find(part, from);
        ASSERT_NE(from, std::string::npos) << part << "\n" << text;
    }
}

/// All whole records of the codec's current block, joined, as readers get them.
inline Bytes takeRecords(StreamCodec& codec) {
    rewindRecords(codec);
    Bytes all;
    std::array<std::uint8_t, kRecordSize> record{};
    while (recordsLeft(codec) > 0) {
        EXPECT_TRUE(nextRecord(codec, record));
        append(all, record);
    }
    return all;
}

}  // namespace trelis::test
