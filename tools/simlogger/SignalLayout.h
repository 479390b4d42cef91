#pragma once
#include <cstdint>

#include "Scenario.h"

namespace trelis::sim {

/// Where a signal's bits lie in the eight data bytes, taken as one little-endian number.
class SignalLayout {
  public:
    explicit SignalLayout(const SignalSpec& spec);

    /// True if all bits lie within the eight bytes.
    static bool fits(const SignalSpec& spec);

    std::uint64_t mask() const { return bigEndian_ ? swapBytes(mask_ << shift_) : mask_ << shift_; }

    /// `word` with the signal's bits set to those of `raw`.
    std::uint64_t put(std::uint64_t word, std::uint64_t raw) const {
        const std::uint64_t bits = (raw & mask_) << shift_;
        return (word & ~mask()) | (bigEndian_ ? swapBytes(bits) : bits);
    }

  private:
    static std::uint64_t swapBytes(std::uint64_t word) { return __builtin_bswap64(word); }

    std::uint64_t mask_;
    unsigned shift_ = 0;
    bool bigEndian_;
};

}  // namespace trelis::sim
