// Where a signal's bits lie in the eight data bytes of a frame, prepared for extraction by shift
// and mask.
#pragma once

#include <bit>
#include <cstdint>

namespace trelis {

/// The raw value of a signal is an unsigned 32-bit number: bit k of a longer signal lands on bit
/// k modulo 32. Bits beyond the eight data bytes read as 0. Bit numbering and byte orders are those
/// of DBC files.
class BitField {
  public:
    BitField() = default;
    /// `startBit`: the lowest bit of a little-endian signal, the highest of a big-endian one.
    BitField(std::uint32_t startBit, std::uint32_t bitLength, bool littleEndian);

    /// `word`: the eight data bytes, the first in the lowest byte of a little-endian field's word
    /// and in the highest byte of a big-endian field's.
    [[nodiscard]] std::uint32_t extract(std::uint64_t word) const {
        const std::uint64_t bits = (word >> shift_) & mask_;
        if (!folded_) [[likely]]
            return static_cast<std::uint32_t>(bits);
        return std::rotl(static_cast<std::uint32_t>(bits | bits >> 32), rotation_);
    }
    /// All bits of a field of at most 64, missing ones as 0.
    [[nodiscard]] std::uint64_t extractWide(std::uint64_t word) const {
        return ((word >> shift_) & mask_) << missing_;
    }
    [[nodiscard]] bool isBigEndian() const { return bigEndian_; }

  private:
    std::uint64_t mask_ = 0;
    unsigned shift_ = 0;
    int rotation_ = 0;      ///< only used when folded
    unsigned missing_ = 0;  ///< low bits of a big-endian field that no data byte holds
    bool folded_ = false;
    bool bigEndian_ = false;
};

}  // namespace trelis
