#include "model/builtin/FrameBits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "support/Model.h"

namespace trelis {
namespace {

constexpr std::uint32_t kTrailer = 13;

// Frames as they stand on the bus: start of frame, identifier, flags, length code, data bytes and
// CRC, parted by blanks. I and o are stuff bits, recessive and dominant.
TEST(FrameBits, countsFramesWrittenOutBitByBit) {
    struct Wire {
        std::uint32_t id;
        std::uint8_t dlc;
        std::uint64_t data;
        std::string_view bits;
    };
    for (const auto& [id, dlc, data, bits] : {
             Wire{0x000, 0, 0, "0 0000I00000I00 000I 0000 0I00000I00000I0000"},
             {0x555, 2, 0xAA55, "0 10101010101 000 00I10 01010101 10101010 110001111000010"},
             {0x01F, 1, 0x0F, "0 0000I0011111o 000 0I001 00001111 001011001001100"},
             {0x2AA | kRemoteFrameFlag, 0, 0, "0 01010101010 100 000I0 011001110100110"},
             {0x1ABCDEF0 | kExtendedIdFlag, 3, 0x332211,
              "0 11010101111 1o1 001101111011110000 0I00 0011 00010001 00100010 00110011 "
              "111o111001101100"},
             {0x1FFFFFFF | kExtendedIdFlag, 8, ~std::uint64_t{0},
              "0 11111o11111o1 11 11o11111o11111o11111o1 000 1000 11111o111 11o11111o1 1111o1111 "
              "1o11111o11 111o11111o 11111o111 11o11111o1 1111o1111 001101101101001"},
         }) {
        const auto blanks = std::count(bits.begin(), bits.end(), ' ');
        EXPECT_EQ(frameBits(test::frameOf(data, 0, id, dlc)),
                  bits.size() - static_cast<std::size_t>(blanks) + kTrailer)
            << bits;
    }
}

// The frame bit by bit, as the standard tells it.
std::uint32_t modelBits(const Frame& frame) {
    std::vector<bool> bits;
    const auto put = [&](std::uint64_t value, int count) {
        while (count-- > 0)
            bits.push_back((value >> count & 1U) != 0);
    };
    const bool extended = (frame.id & kExtendedIdFlag) != 0;
    put(0, 1);
    put(extended ? frame.id >> 18 : frame.id, 11);
    if (extended) {
        put(3, 2);
        put(frame.id, 18);
    }
    put((frame.id & kRemoteFrameFlag) != 0 ? 1 : 0, 1);
    put(0, 2);
    put(frame.dlc, 4);
    for (unsigned i = 0; i < std::min<unsigned>(frame.dlc, 8); ++i)
        put(frame.data[i], 8);
    std::uint32_t crc = 0;
    for (const bool bit : bits) {
        const bool carry = ((crc >> 14 & 1U) != 0) != bit;
        crc = crc << 1 & 0x7FFFU;
        if (carry) crc ^= 0x4599U;
    }
    put(crc, 15);
    std::uint32_t count = 0;
    unsigned row = 0;
    bool last = true;
    for (const bool bit : bits) {
        row = bit == last ? row + 1 : 1;
        last = bit;
        ++count;
        if (row < 5) continue;
        ++count;
        last = !bit;
        row = 1;
    }
    return count + kTrailer;
}

TEST(FrameBits, agreesWithAModelOnRandomFrames) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int i = 0; i < 200'000; ++i) {
        const bool extended = random.below(2) == 0;
        const auto id = static_cast<std::uint32_t>(random.bits()) &
                        (extended ? kExtendedIdFlag | kIdMask : 0x7FFU | kRemoteFrameFlag);
        // Sparse and dense bytes give long rows; those behind the length are not on the bus.
        std::uint64_t data = random.bits();
        if (const auto kind = random.below(4); kind == 1)
            data &= random.bits() & random.bits();
        else if (kind == 2)
            data |= random.bits() | random.bits();
        const auto dlc = static_cast<std::uint8_t>(random.below(16));
        const Frame frame = test::frameOf(data, 0, id, dlc);
        ASSERT_EQ(frameBits(frame), modelBits(frame)) << "id " << id << " dlc " << int{dlc};
    }
    EXPECT_EQ(frameBits(1, 200, 7), frameBits(1, 8, 7)) << "what is no length code is eight bytes";
}

}  // namespace
}  // namespace trelis
