#pragma once
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "Scenario.h"
#include "Traffic.h"

namespace trelis::sim {

/// Packs records into the logger's compressed blocks and hands each whole block to a sink: a file,
/// a socket, a vector. Block: magic, compressed length, one raw LZ4 block, all little-endian.
class BlockWriter {
  public:
    static constexpr std::size_t kRecordsPerBlock = 1000;
    static constexpr std::uint32_t kMagicNew = 0x2018124CU;  ///< records of 18 bytes
    static constexpr std::uint32_t kMagicOld = 0x184C2102U;  ///< records of 17 bytes

    /// Called with one whole block; the bytes are valid during the call only.
    using Sink = std::function<void(std::span<const std::uint8_t>)>;

    BlockWriter(RecordFormat format, bool highCompression, Sink sink);

    /// Adds a frame with the time stamp of the logger's counter. A full block goes to the sink.
    void add(std::uint32_t timestamp, const SimFrame& frame);

    /// Sends what is waiting, if anything, as a short block.
    void flush();

    /// Records that wait for the next block.
    std::size_t waiting() const { return raw_.size() / recordSize_; }

  private:
    RecordFormat format_;
    bool highCompression_;
    std::size_t recordSize_;
    Sink sink_;
    std::vector<std::uint8_t> raw_;
    std::vector<std::uint8_t> packed_;
};

}  // namespace trelis::sim
