// What a message's log worker reads frames from. The reader of recordings implements it; the model
// does not know files.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace trelis {

/// A frame as it waits in memory between reading and decoding. Interface and id are those of the
/// group that it belongs to, so 16 bytes are enough.
class StoredFrame {
  public:
    static constexpr unsigned kTimeBits = 56;

    StoredFrame() = default;
    /// `time`: ms since the first tick of the file's clock, overflows of the 32-bit counter already
    /// added. `data`: the eight data bytes, the first in the lowest byte.
    StoredFrame(std::uint64_t time, std::uint8_t dlc, std::uint64_t data)
        : timeAndDlc_(time << (64 - kTimeBits) | dlc), data_(data) {}

    [[nodiscard]] std::uint64_t time() const { return timeAndDlc_ >> (64 - kTimeBits); }
    [[nodiscard]] std::uint8_t dlc() const { return static_cast<std::uint8_t>(timeAndDlc_); }
    [[nodiscard]] std::uint64_t data() const { return data_; }

  private:
    std::uint64_t timeAndDlc_ = 0;
    std::uint64_t data_ = 0;
};
static_assert(sizeof(StoredFrame) == 16);

/// The frames of one recording file, grouped by message. All calls may come from any thread.
class FrameSource {
  public:
    virtual ~FrameSource() = default;

    /// Blocks until the frames' times can be made absolute. False: the parse was aborted.
    virtual bool waitUntilFramesReady() = 0;

    /// Hands over the frames of one interface and id in file order, run by run, and frees each run
    /// behind it: a group can be taken once. `baseTime` plus a frame's time() is its absolute time
    /// in ms. Only after waitUntilFramesReady said true; different groups on different threads.
    using RunConsumer =
        std::function<void(std::span<const StoredFrame> run, std::uint64_t baseTime)>;
    virtual void takeRuns(std::uint32_t interface, std::uint32_t id,
                          const RunConsumer& consume) = 0;
};

}  // namespace trelis
