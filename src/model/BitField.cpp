#include "model/BitField.h"

namespace trelis {
namespace {

constexpr unsigned kDataBits = 64;

constexpr std::uint64_t lowBits(std::uint64_t count) {
    return count >= kDataBits ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

}  // namespace

BitField::BitField(std::uint32_t startBit, std::uint32_t bitLength, bool littleEndian)
    : bigEndian_(!littleEndian) {
    if (littleEndian) {
        if (startBit >= kDataBits) return;
        shift_ = startBit;
        mask_ = lowBits(bitLength);
        folded_ = bitLength > 32;
        return;
    }
    // Bits counted from the highest of the first byte run on without a break.
    const std::uint64_t first = startBit / 8 * std::uint64_t{8} + 7 - startBit % 8;
    const std::uint64_t end = first + bitLength;
    if (first >= kDataBits) return;
    if (end <= kDataBits) {
        shift_ = bitLength == 0 ? 0 : static_cast<unsigned>(kDataBits - end);
        mask_ = lowBits(bitLength);
        folded_ = bitLength > 32;
        return;
    }
    // The lowest bits are missing: what is there moves up by their number.
    mask_ = lowBits(kDataBits - first);
    folded_ = true;
    rotation_ = static_cast<int>((end - kDataBits) % 32);
    missing_ = static_cast<unsigned>((end - kDataBits) % kDataBits);
}

}  // namespace trelis
