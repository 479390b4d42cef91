#include "input/FrameChunks.h"

namespace trelis {

std::unique_ptr<FrameChunk> ChunkPool::take() {
    {
        const std::lock_guard lock(mutex_);
        if (!free_.empty()) {
            std::unique_ptr<FrameChunk> chunk = std::move(free_.back());
            free_.pop_back();
            return chunk;
        }
    }
    // The frames are written before they are read, so they are not cleared here.
    std::unique_ptr<FrameChunk> chunk(new FrameChunk);  // NOLINT(modernize-make-unique)
    return chunk;
}

void ChunkPool::giveBack(std::unique_ptr<FrameChunk> chunk) {
    chunk->count = 0;
    const std::lock_guard lock(mutex_);
    free_.push_back(std::move(chunk));
}

}  // namespace trelis
