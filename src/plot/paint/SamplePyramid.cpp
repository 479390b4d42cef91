#include "plot/paint/SamplePyramid.h"

#include "model/Frame.h"
#include "model/Signal.h"

namespace trelis {

SamplePyramid::Node SamplePyramid::summarize(const Sample* samples, bool gapBefore) {
    // Four independent chains: one alone would wait for the latency of each comparison.
    constexpr std::size_t kChains = 4;
    Node chains[kChains];
    bool gap = gapBefore;
    std::uint64_t before = samples[0].time;
    for (std::size_t i = 0; i < kBlock; i += kChains) {
        for (std::size_t chain = 0; chain < kChains; ++chain) {
            const Sample& sample = samples[i + chain];
            Node& node = chains[chain];
            node.low = sample.value < node.low ? sample.value : node.low;
            node.high = sample.value > node.high ? sample.value : node.high;
            gap |= sample.time - before > kGapMs;
            before = sample.time;
        }
    }
    Node joined;
    for (const Node& node : chains) {
        joined.low = std::min(joined.low, node.low);
        joined.high = std::max(joined.high, node.high);
    }
    if (gap) joined.low = std::numeric_limits<double>::quiet_NaN();
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
