#include "model/builtin/FrameBits.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace trelis {
namespace {

constexpr std::uint32_t kCrcPolynomial = 0x4599;
constexpr unsigned kCrcBits = 15;
constexpr std::uint32_t kUnstuffedBits = 13;
constexpr std::size_t kByteValues = 256;
constexpr std::size_t kMostBytes = 13;  // header of an extended frame and data

// kCrcTable[n][b]: the CRC of the byte b with n zero bytes behind it. The CRC is linear and starts
// at 0, so that of a frame is the sum of those of its bytes, and leading zeros add nothing.
constexpr auto kCrcTable = [] {
    std::array<std::array<std::uint16_t, kByteValues>, kMostBytes> table{};
    for (std::uint32_t byte = 0; byte < kByteValues; ++byte) {
        std::uint32_t crc = byte << (kCrcBits - 8);
        for (auto& row : table) {
            for (int bit = 0; bit < 8; ++bit) {
                const bool carry = (crc >> (kCrcBits - 1) & 1U) != 0;
                crc = (crc << 1U & 0x7FFFU) ^ (carry ? kCrcPolynomial : 0U);
            }
            row[byte] = static_cast<std::uint16_t>(crc);
        }
    }
    return table;
}();

// A state of the stuffing: the last bit on the bus, and how many equal ones came in a row (1 to 4;
// after five a stuff bit of the other value starts a new row).
struct StuffState {
    bool bit = true;
    unsigned row = 1;
};
constexpr std::size_t kStuffStates = 8;

constexpr std::uint8_t indexOf(StuffState state) {
    return static_cast<std::uint8_t>((state.row - 1) * 2 + (state.bit ? 1U : 0U));
}

// What the byte b does in the state s, at b * 8 + s: the next state and the number of stuff bits.
// They lie apart so that the next state's place is one addition away from this state.
struct StuffTables {
    std::array<std::uint8_t, kByteValues * kStuffStates> next{};
    std::array<std::uint8_t, kByteValues * kStuffStates> count{};
};
constexpr StuffTables kStuffTables = [] {
    StuffTables tables;
    for (std::size_t entry = 0; entry < tables.next.size(); ++entry) {
        const std::size_t byte = entry / kStuffStates;
        const std::size_t index = entry % kStuffStates;
        StuffState state{index % 2 != 0, static_cast<unsigned>(index / 2 + 1)};
        for (int place = 7; place >= 0; --place) {
            const bool bit = (byte >> place & 1U) != 0;
            state = {bit, bit == state.bit ? state.row + 1 : 1};
            if (state.row < 5) continue;
            ++tables.count[entry];
            state = {!bit, 1};
        }
        tables.next[entry] = indexOf(state);
    }
    return tables;
}();

// Walks bytes over the bus and counts the stuff bits between them.
class StuffCounter {
  public:
    void take(std::uint64_t byte) {
        const std::size_t place = (byte & 0xFFU) * kStuffStates;
        count_ += kStuffTables.count[place + state_];
        state_ = kStuffTables.next[place + state_];
    }
    [[nodiscard]] std::uint32_t count() const { return count_; }

  private:
    std::size_t state_ = indexOf({true, 1});
    std::uint32_t count_ = 0;
};

// Lengths of the header in bits, and what it is: start-of-frame bit, identifier, flags and length
// code as they stand on the bus.
constexpr unsigned kStandardHeader = 19;
constexpr unsigned kExtendedHeader = 39;

std::uint64_t headerOf(std::uint32_t id, std::uint32_t lengthCode) {
    const std::uint64_t remote = (id & kRemoteFrameFlag) != 0 ? 1 : 0;
    if ((id & kExtendedIdFlag) == 0)  // start, 11 bits, RTR, IDE 0, r0 0
        return std::uint64_t{id & 0x7FFU} << 7 | remote << 6 | lengthCode;
    const std::uint64_t high = id >> 18 & 0x7FFU;
    const std::uint64_t low = id & 0x3FFFFU;
    constexpr std::uint64_t kSrrAndIde = 3;  // start, 11 bits, SRR, IDE, 18 bits, RTR, r1 0, r0 0
    return high << 27 | kSrrAndIde << 25 | low << 7 | remote << 6 | lengthCode;
}

// The numbers of header bytes and data bytes are parameters, so that the loops of the usual frame
// are unrolled.
template <unsigned kHeaderBits>
[[gnu::always_inline]] inline std::uint32_t measure(std::uint64_t header, std::uint64_t wire,
                                                    unsigned count) {
    constexpr unsigned kHeaderBytes = (kHeaderBits + 7) / 8;  // with zeros in front
    std::uint32_t crc = 0;
    for (unsigned i = 0; i < kHeaderBytes; ++i)
        crc ^= kCrcTable[count + i][header >> (8 * i) & 0xFFU];
    for (unsigned i = 0; i < count; ++i)
        crc ^= kCrcTable[count - 1 - i][wire >> (56 - 8 * i) & 0xFFU];

    // Bits that alternate and end with a 1 fill the first byte: the start-of-frame bit is a 0, so
    // they are no part of any row. One bit of the header is then left over; it and 15 bits of CRC
    // make whole bytes of the rest.
    constexpr std::uint64_t kFiller = kHeaderBits == kStandardHeader ? 0b010101 : 0b01;
    const std::uint64_t head = kFiller << kHeaderBits | header;
    StuffCounter stuffing;
    for (unsigned i = kHeaderBytes; i > 0; --i)
        stuffing.take(head >> (8 * i - 7));
    std::uint64_t left = head & 1U;
    const std::uint64_t body = left << 63 | wire >> 1;
    for (unsigned i = 0; i < count; ++i)
        stuffing.take(body >> (56 - 8 * i));
    if (count > 0) left = wire >> (64 - 8 * count) & 1U;
    const std::uint64_t tail = left << kCrcBits | crc;
    stuffing.take(tail >> 8);
    stuffing.take(tail);
    return kHeaderBits + 8 * count + kCrcBits + stuffing.count() + kUnstuffedBits;
}

}  // namespace

std::uint32_t frameBits(std::uint32_t id, std::uint8_t dlc, std::uint64_t data) {
    const unsigned count = dataLength(dlc);
    const std::uint64_t header = headerOf(id, dlc <= 15 ? dlc : 8U);
    const std::uint64_t wire = __builtin_bswap64(data);  // the first byte highest, as it is sent
    const bool extended = (id & kExtendedIdFlag) != 0;
    if (count == 8)
        return extended ? measure<kExtendedHeader>(header, wire, 8)
                        : measure<kStandardHeader>(header, wire, 8);
    return extended ? measure<kExtendedHeader>(header, wire, count)
                    : measure<kStandardHeader>(header, wire, count);
}

std::uint32_t frameBits(const Frame& frame) {
    std::uint64_t data = 0;
    std::memcpy(&data, frame.data.data(), sizeof data);
    if constexpr (std::endian::native == std::endian::big) data = __builtin_bswap64(data);
    return frameBits(frame.id, frame.dlc, data);
}

}  // namespace trelis
