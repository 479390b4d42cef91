// A signal that is decoded from the frames of its message by the rules of a DBC line.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "model/BitField.h"
#include "model/FrameSource.h"
#include "model/Signal.h"

namespace trelis {

class RealMessage;

/// Values of RealSignal::muxValue that are no multiplex value.
inline constexpr std::int32_t kPlainSignal = -1;
inline constexpr std::int32_t kMultiplexor = -2;

class RealSignal final : public Signal {
    struct Making {};  // only create() can name it

  public:
    RealSignal(Making, const std::shared_ptr<Message>& message, const std::string& name, double min,
               double max);

    /// A signal of 0 bits is a rate signal: it flips at every frame. `intel`: 1 little-endian, 0
    /// big-endian. `sign`: '-' or '+'. The range becomes the plot limits unless both ends are 0.
    static std::shared_ptr<RealSignal> create(const std::shared_ptr<Message>& message,
                                              const std::string& name, std::uint32_t startBit,
                                              std::uint32_t bitLength, std::int32_t intel,
                                              char sign, const std::string& unit, double factor,
                                              double offset, double min, double max);

    /// Takes the raw bits as a 32-bit IEEE 754 float. ERR and PrintMsgError unless they are four
    /// whole bytes.
    void setFloat();

    /// Decodes a signal of 33 to 64 bits in full; leaves others as they are.
    void decodeWide();
    /// Takes the raw bits as an IEEE 754 float of 32 or 64 bits wherever they lie; false, and
    /// nothing happens, if the signal has another length.
    [[nodiscard]] bool setFloatOfWidth(std::uint32_t bits);

    void decodeFrame(const Frame& frame) override;

    /// Decodes frames of one message in order. The caller holds `mutex`. `muxes`: the multiplex
    /// value in force at each frame, or empty for a message without multiplexing.
    void decodeRun(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                   std::span<const std::int32_t> muxes);

    /// The physical value in eight data bytes, the first in the lowest byte of `data`.
    [[nodiscard]] double valueOf(std::uint64_t data) const;

    /// The multiplex number in them, if this is the multiplexor.
    [[nodiscard]] std::int32_t muxNumberOf(std::uint64_t data) const;

    bool byteAligned = false;
    bool hasFactor = false;
    bool hasOffset = false;
    bool isFloat = false;
    std::uint32_t startBit = 0;
    std::uint32_t bitLength = 0;
    std::int32_t intel = 1;
    char sign = '+';
    double dbcMin = 0;
    double dbcMax = 0;
    bool toggle = false;  ///< state of a rate signal
    double factor = 1;
    double offset = 0;
    std::int32_t muxValue = kPlainSignal;

  private:
    [[nodiscard]] double physical(std::uint32_t raw) const;
    [[nodiscard]] double physicalWide(std::uint64_t data) const;
    [[nodiscard]] double scaled(double value) const;
    void decodeToggles(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                       std::span<const std::int32_t> muxes);
    void decodeWideRun(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                       std::span<const std::int32_t> muxes);
    template <bool kBigEndian, bool kMultiplexed>
    void decodeBits(std::span<const StoredFrame> frames, std::uint64_t baseTime,
                    std::span<const std::int32_t> muxes);

    BitField bits_;
    std::uint32_t signBit_ = 0;  ///< of the raw value; 0 for unsigned signals
    bool wide_ = false;          ///< decoded from 64 bits, see decodeWide
};

}  // namespace trelis
