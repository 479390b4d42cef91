#include "plot/paint/RulerValues.h"

#include <algorithm>
#include <array>
#include <mutex>

#include "model/Signal.h"

namespace trelis {
namespace {

RulerValue valueAt(const Signal& signal, std::int64_t ruler) {
    RulerValue at;
    if (ruler < 0) return at;
    const auto time = static_cast<std::uint64_t>(ruler);
    const auto samples = signal.samples().view();
    const auto after = std::upper_bound(
        samples.begin(), samples.end(), time,
        [](std::uint64_t wanted, const Sample& sample) { return wanted < sample.time; });
    at.reached = after != samples.begin();
    if (at.reached) at.value = std::prev(after)->value;
    std::array<char, 256> text{};
    signal.printValue(text.data(), text.size(), at.value);
    at.text = text.data();
    return at;
}

}  // namespace

RulerRow readRulerRow(const Signal& signal, std::int64_t left, std::int64_t right) {
    RulerRow row;
    row.key = &signal;
    row.name = signal.name;
    row.unit = signal.unit;
    row.leftTime = left;
    row.rightTime = right;
    const std::shared_ptr<std::mutex> mutex = signal.mutex;
    const std::unique_lock lock(*mutex, std::try_to_lock);
    if (!lock) return row;
    row.known = true;
    row.hasSamples = !signal.samples().empty();
    row.range = {signal.visibleMin, signal.visibleMax};
    row.left = valueAt(signal, left);
    row.right = valueAt(signal, right);
    return row;
}

}  // namespace trelis
