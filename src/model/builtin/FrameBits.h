// How many bits a frame takes on the bus.
#pragma once

#include <cstdint>

#include "model/Frame.h"

namespace trelis {

/// Length in bit times of a classical CAN data or remote frame (ISO 11898-1), from the
/// start-of-frame bit to the end of the intermission: arbitration, control and data field, CRC-15
/// (polynomial 0x4599, start value 0) and the stuff bits of all these, then 13 bits without
/// stuffing: CRC delimiter, ACK slot and delimiter, end of frame and intermission.
///
/// `id` with the flags of Frame::id; `data`: the eight data bytes, the first in the lowest byte.
/// A remote frame counts with as many data bytes as its length code says. Error frames have no
/// length on the wire and must not come here. Any thread.
[[nodiscard]] std::uint32_t frameBits(std::uint32_t id, std::uint8_t dlc, std::uint64_t data);

[[nodiscard]] std::uint32_t frameBits(const Frame& frame);

}  // namespace trelis
