// The growing array of a signal's samples.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace trelis {

struct Sample {
    std::uint64_t time = 0;  ///< ms since the epoch
    double value = 0;

    bool operator==(const Sample&) const = default;
};
static_assert(sizeof(Sample) == 16);

/// A contiguous array like std::vector<Sample>, but it grows by realloc: the kernel moves the pages
/// of a large array instead of copying them, and only pages that hold samples become resident. That
/// is what keeps a full decode near 16 bytes a sample. Not synchronised.
class SampleArray {
  public:
    using value_type = Sample;
    using const_iterator = const Sample*;

    SampleArray() = default;
    SampleArray(const SampleArray&) = delete;
    SampleArray& operator=(const SampleArray&) = delete;
    SampleArray(SampleArray&& other) noexcept { swap(other); }
    SampleArray& operator=(SampleArray&& other) noexcept {
        swap(other);
        return *this;
    }
    ~SampleArray() = default;

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] const Sample* data() const { return storage_.get(); }
    [[nodiscard]] const_iterator begin() const { return data(); }
    [[nodiscard]] const_iterator end() const { return data() + size_; }
    const Sample& operator[](std::size_t index) const { return storage_[index]; }
    [[nodiscard]] const Sample& front() const { return storage_[0]; }
    [[nodiscard]] const Sample& back() const { return storage_[size_ - 1]; }
    [[nodiscard]] Sample& back() { return storage_[size_ - 1]; }
    [[nodiscard]] std::span<const Sample> view() const { return {data(), size_}; }

    void push_back(Sample sample) {
        if (size_ == capacity_) grow();
        storage_[size_++] = sample;
    }
    /// Forgets the samples but keeps the memory for the next ones.
    void clear() {
        size_ = 0;
        ++epoch_;
    }
    /// Forgets the samples and gives the memory back.
    void release() {
        storage_.reset();
        size_ = capacity_ = 0;
        ++epoch_;
    }
    void swap(SampleArray& other) noexcept {
        storage_.swap(other.storage_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        epoch_ = other.epoch_ = std::max(epoch_, other.epoch_) + 1;
    }
    /// Changes whenever samples were forgotten. While it stays, samples are only appended, and only
    /// the last one may change: what was computed from the others holds.
    [[nodiscard]] std::uint64_t epoch() const { return epoch_; }

  private:
    struct Free {
        void operator()(Sample* memory) const { std::free(memory); }
    };

    void grow();

    std::unique_ptr<Sample[], Free> storage_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::uint64_t epoch_ = 0;
};

}  // namespace trelis
