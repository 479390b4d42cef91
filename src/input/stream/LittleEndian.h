// Numbers as they stand in recordings and streams.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace trelis {

constexpr std::uint32_t inLittleEndianOrder(std::uint32_t value) {
    return std::endian::native == std::endian::little ? value : __builtin_bswap32(value);
}
constexpr std::uint64_t inLittleEndianOrder(std::uint64_t value) {
    return std::endian::native == std::endian::little ? value : __builtin_bswap64(value);
}

/// The little-endian number that begins at `bytes`, which need not be aligned.
template <class Number>
requires std::same_as<Number, std::uint32_t> || std::same_as<Number, std::uint64_t>
[[nodiscard]] Number loadLittleEndian(const std::uint8_t* bytes) {
    Number value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return inLittleEndianOrder(value);
}

inline void storeLittleEndian(std::uint64_t value, std::uint8_t* bytes) {
    value = inLittleEndianOrder(value);
    std::memcpy(bytes, &value, sizeof value);
}

}  // namespace trelis
