// Memory for the frames of recordings between reading and decoding.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "model/FrameSource.h"

namespace trelis {

/// Some frames of one message.
struct FrameChunk {
    static constexpr std::size_t kCapacity = 256;

    std::size_t count = 0;
    std::array<StoredFrame, kCapacity> frames;
};

/// Keeps chunks that were decoded for the next file: pages that are resident already cost nothing,
/// fresh ones cost more than the frames in them. Any thread.
class ChunkPool {
  public:
    std::unique_ptr<FrameChunk> take();
    void giveBack(std::unique_ptr<FrameChunk> chunk);

  private:
    std::mutex mutex_;  // guards free_
    std::vector<std::unique_ptr<FrameChunk>> free_;
};

}  // namespace trelis
