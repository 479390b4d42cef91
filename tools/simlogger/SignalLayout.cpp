#include "SignalLayout.h"

namespace trelis::sim {

namespace {

/// The distance of a big-endian signal's first bit from the very first bit of the data.
unsigned bigEndianPosition(unsigned start) {
    return start / 8 * 8 + (7 - start % 8);
}

}  // namespace

bool SignalLayout::fits(const SignalSpec& spec) {
    if (spec.bits < 1 || spec.bits > 64 || spec.start > 63) return false;
    const unsigned first = spec.bigEndian ? bigEndianPosition(spec.start) : spec.start;
    return first + spec.bits <= 64;
}

SignalLayout::SignalLayout(const SignalSpec& spec)
    : mask_(spec.bits == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << spec.bits) - 1),
      bigEndian_(spec.bigEndian) {
    shift_ = bigEndian_ ? 64 - bigEndianPosition(spec.start) - spec.bits : spec.start;
}

}  // namespace trelis::sim
