// Memory for the frames of recordings between reading and use.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "model/FrameSource.h"

namespace trelis {

/// Some frames of one message. How many is known to the group it belongs to.
struct FrameChunk {
    static constexpr std::size_t kCapacity = 256;

    std::array<StoredFrame, kCapacity> frames;
};

/// A whole unpacked block of a recording, for the dump: nothing is filtered and nothing is copied.
struct RecordBlock {
    static constexpr std::size_t kCapacity = 18000;

    std::uint32_t length = 0;
    std::uint32_t recordSize = 18;  ///< bytes; the same in all blocks of a file
    std::array<std::uint8_t, kCapacity> records;
};

/// Keeps pieces of memory that are done with for the next file: pages that are resident already
/// cost nothing, fresh ones cost more than the frames in them. Any thread.
template <class T>
class Pool {
  public:
    /// A piece with any content.
    std::unique_ptr<T> take() {
        {
            const std::lock_guard lock(mutex_);
            if (!free_.empty()) {
                std::unique_ptr<T> piece = std::move(free_.back());
                free_.pop_back();
                return piece;
            }
        }
        return std::make_unique_for_overwrite<T>();
    }
    void giveBack(std::unique_ptr<T> piece) {
        if (!piece) return;
        const std::lock_guard lock(mutex_);
        free_.push_back(std::move(piece));
    }

  private:
    std::mutex mutex_;  // guards free_
    std::vector<std::unique_ptr<T>> free_;
};

}  // namespace trelis
