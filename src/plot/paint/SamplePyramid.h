// Smallest and largest values of blocks of samples, so that a picture of millions of samples needs
// a look at thousands of numbers.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "model/SampleArray.h"

namespace trelis {

class Signal;

/// Level 0 has a node for each block of 64 samples, each further level one for 4 nodes. That is
/// 2.1 % of the memory of the samples. Not synchronised: guarded by the signal's sample mutex.
class SamplePyramid {
  public:
    static constexpr std::size_t kBlock = 64;  ///< samples of a node of level 0
    static constexpr std::size_t kFan = 4;     ///< nodes of a node of the next level

    /// Takes in samples that came since the last call, at most `most` of them; all anew if samples
    /// were forgotten in between. Says whether all are in. The last sample, which live storage
    /// still moves, stays out.
    bool update(const SampleArray& samples, std::size_t most);

    /// Goes through the samples first to last (not included) in order:
    /// `absorb(first, last, low, high)` for stretches without a gap, `walk(first, last)` for the
    /// rest.
    template <class Absorb, class Walk>
    void visit(std::size_t first, std::size_t last, const Absorb& absorb, const Walk& walk) const;

    [[nodiscard]] std::size_t memory() const;

  private:
    /// NaN samples count for nothing. `low` is NaN if a sample of the node comes after a gap.
    struct Node {
        double low = std::numeric_limits<double>::infinity();
        double high = -std::numeric_limits<double>::infinity();

        [[nodiscard]] bool hasGap() const { return low != low; }
    };

    static Node summarize(const Sample* samples, bool gapBefore);
    static Node join(const Node* nodes);

    std::uint64_t epoch_ = 0;
    std::vector<std::vector<Node>> levels_;
};

template <class Absorb, class Walk>
void SamplePyramid::visit(std::size_t first, std::size_t last, const Absorb& absorb,
                          const Walk& walk) const {
    const std::size_t blocks = levels_.empty() ? 0 : levels_.front().size();
    while (first < last) {
        std::size_t node = first / kBlock;
        if (first % kBlock != 0 || node >= blocks || last - first < kBlock) {
            const std::size_t stop = std::min(last, (node + 1) * kBlock);
            walk(first, stop);
            first = stop;
            continue;
        }
        // Climb while the larger node starts here, ends in time, is complete and has no gap.
        std::size_t level = 0;
        std::size_t size = kBlock;
        while (level + 1 < levels_.size() && node % kFan == 0 && last - first >= size * kFan &&
               node / kFan < levels_[level + 1].size() &&
               !levels_[level + 1][node / kFan].hasGap()) {
            ++level;
            node /= kFan;
            size *= kFan;
        }
        const Node& found = levels_[level][node];
        if (found.hasGap())
            walk(first, first + size);
        else
            absorb(first, first + size, found.low, found.high);
        first += size;
    }
}

/// The pyramids of the signals that were painted, shared by all plots. Any thread.
class PyramidCache {
  public:
    static PyramidCache& instance();

    /// The pyramid of a signal, empty at first. To be used with the signal's sample mutex held.
    std::shared_ptr<SamplePyramid> find(const std::shared_ptr<Signal>& signal);

  private:
    struct Entry {
        std::weak_ptr<Signal> signal;
        std::shared_ptr<SamplePyramid> pyramid;
    };

    std::mutex mutex_;  // guards entries_
    std::map<const Signal*, Entry> entries_;
};

}  // namespace trelis
