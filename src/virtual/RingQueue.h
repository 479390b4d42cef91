// A queue that allocates only while it grows.
#pragma once

#include <cstddef>
#include <vector>

namespace trelis {

/// First in, first out, in a ring whose size is a power of two. std::deque would allocate and free
/// a block every few dozen entries, in the middle of a step loop.
template <typename Entry>
class RingQueue {
  public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] Entry& front() { return ring_[head_]; }
    [[nodiscard]] Entry& back() { return ring_[(head_ + size_ - 1) & (ring_.size() - 1)]; }

    void push(const Entry& entry) {
        if (size_ == ring_.size()) grow();
        ring_[(head_ + size_) & (ring_.size() - 1)] = entry;
        ++size_;
    }
    void pop() {
        head_ = (head_ + 1) & (ring_.size() - 1);
        --size_;
    }
    /// Empties the queue and gives its memory back.
    void release() { *this = RingQueue(); }

  private:
    void grow() {
        constexpr std::size_t kFirst = 16;
        std::vector<Entry> larger(ring_.empty() ? kFirst : ring_.size() * 2);
        for (std::size_t i = 0; i < size_; ++i)
            larger[i] = ring_[(head_ + i) & (ring_.size() - 1)];
        ring_.swap(larger);
        head_ = 0;
    }

    std::vector<Entry> ring_;
    std::size_t head_ = 0;
    std::size_t size_ = 0;
};

}  // namespace trelis
