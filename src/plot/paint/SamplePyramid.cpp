#include "plot/paint/SamplePyramid.h"

#include "model/Frame.h"
#include "model/Signal.h"

namespace trelis {

namespace {

// Smallest and largest value of a chain of samples; NaN compares as false and counts for nothing.
struct Extremes {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void take(double value) {
        low = value < low ? value : low;
        high = value > high ? value : high;
    }
};

}  // namespace

SamplePyramid::Node SamplePyramid::summarize(const Sample* samples, bool gapBefore) {
    // Four chains in variables of their own, which the compiler keeps in registers: one alone would
    // wait for the latency of each comparison. The longest step of time tells of a gap. Memory is
    // the bound, so the samples of the second next block are asked for meanwhile.
    Extremes a, b, c, d;
    std::uint64_t longest = 0;
    std::uint64_t before = samples[0].time;
    for (const Sample* sample = samples; sample != samples + kBlock; sample += 4) {
        __builtin_prefetch(sample + 2 * kBlock);
        a.take(sample[0].value);
        b.take(sample[1].value);
        c.take(sample[2].value);
        d.take(sample[3].value);
        const std::uint64_t first =
            std::max(sample[0].time - before, sample[1].time - sample[0].time);
        const std::uint64_t second =
            std::max(sample[2].time - sample[1].time, sample[3].time - sample[2].time);
        longest = std::max(longest, std::max(first, second));
        before = sample[3].time;
    }
    Node joined;
    joined.low = std::min(std::min(a.low, b.low), std::min(c.low, d.low));
    joined.high = std::max(std::max(a.high, b.high), std::max(c.high, d.high));
    if (gapBefore || longest > kGapMs) joined.low = std::numeric_limits<double>::quiet_NaN();
    return joined;
}

SamplePyramid::Node SamplePyramid::join(const Node* nodes) {
    Node joined = nodes[0];
    for (std::size_t i = 1; i < kFan; ++i) {
        if (joined.hasGap() || nodes[i].hasGap())
            joined.low = std::numeric_limits<double>::quiet_NaN();
        else
            joined.low = std::min(joined.low, nodes[i].low);
        joined.high = std::max(joined.high, nodes[i].high);
    }
    return joined;
}

bool SamplePyramid::update(const SampleArray& samples, std::size_t most) {
    if (samples.epoch() != epoch_) levels_.clear();
    epoch_ = samples.epoch();
    const std::size_t blocks = samples.empty() ? 0 : (samples.size() - 1) / kBlock;
    if (levels_.empty()) levels_.emplace_back();
    const std::size_t known = levels_.front().size();
    const std::size_t goal = std::min(blocks, known + most / kBlock);
    if (levels_.front().capacity() < blocks) levels_.front().reserve(blocks + blocks / 8);
    for (std::size_t block = known; block < goal; ++block) {
        const std::size_t start = block * kBlock;
        const bool gap = start > 0 && samples[start].time - samples[start - 1].time > kGapMs;
        levels_.front().push_back(summarize(samples.data() + start, gap));
    }
    for (std::size_t level = 0; levels_[level].size() >= kFan; ++level) {
        if (level + 1 == levels_.size()) levels_.emplace_back();
        const std::vector<Node>& lower = levels_[level];
        std::vector<Node>& upper = levels_[level + 1];
        while ((upper.size() + 1) * kFan <= lower.size())
            upper.push_back(join(lower.data() + upper.size() * kFan));
    }
    return goal == blocks;
}

std::size_t SamplePyramid::memory() const {
    std::size_t bytes = 0;
    for (const auto& level : levels_)
        bytes += level.capacity() * sizeof(Node);
    return bytes;
}

PyramidCache& PyramidCache::instance() {
    static PyramidCache cache;
    return cache;
}

std::shared_ptr<SamplePyramid> PyramidCache::find(const std::shared_ptr<Signal>& signal) {
    const std::lock_guard lock(mutex_);
    if (const auto found = entries_.find(signal.get());
        found != entries_.end() && !found->second.signal.expired())
        return found->second.pyramid;
    // A signal of a dropped model goes with the first one of the next.
    std::erase_if(entries_, [](const auto& entry) { return entry.second.signal.expired(); });
    auto pyramid = std::make_shared<SamplePyramid>();
    entries_[signal.get()] = {signal, pyramid};
    return pyramid;
}

}  // namespace trelis
