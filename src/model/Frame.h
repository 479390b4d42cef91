// The record that travels from the readers to the messages.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace trelis {

/// Flag bits of Frame::id, as SocketCAN has them (linux/can.h).
inline constexpr std::uint32_t kExtendedIdFlag = 0x80000000U;
inline constexpr std::uint32_t kRemoteFrameFlag = 0x40000000U;
inline constexpr std::uint32_t kErrorFrameFlag = 0x20000000U;
inline constexpr std::uint32_t kIdMask = 0x1FFFFFFFU;

/// Numbers of interfaces that are no CAN bus, see Store::interfaces.
inline constexpr std::uint32_t kLoggerInterface = 255;
inline constexpr std::uint32_t kCsvInterface = 1023;
inline constexpr std::uint32_t kVirtualInterface = 1024;
inline constexpr std::uint32_t kStatisticsOffset = 65536;  ///< statistics of N are at N + this

/// A silence longer than this, in ms, is a gap everywhere in the system.
inline constexpr std::uint64_t kGapMs = 10000;

/// One frame. The first 18 bytes are the record as it stands in a recording, little-endian.
struct Frame {
    std::uint32_t timestamp = 0;         ///< ms, relative to the logger's clock
    std::uint32_t id = 0;                ///< with the flag bits above
    std::uint8_t dlc = 0;                ///< data length code as recorded; see dataLength
    std::array<std::uint8_t, 8> data{};  ///< all eight are present whatever dlc says
    std::uint8_t interface = 0;
    std::uint64_t absoluteTime = 0;  ///< ms since the epoch
};
static_assert(sizeof(Frame) == 32 && offsetof(Frame, data) == 9 &&
              offsetof(Frame, interface) == 17 && offsetof(Frame, absoluteTime) == 24);

/// Data bytes that a length code stands for: codes above 8 mean 8 (ISO 11898-1).
constexpr unsigned dataLength(std::uint8_t dlc) {
    return dlc < 8 ? dlc : 8;
}

}  // namespace trelis
