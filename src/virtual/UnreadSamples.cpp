#include "virtual/UnreadSamples.h"

#include <algorithm>

#include "model/ModelContext.h"
#include "model/Signal.h"

namespace trelis {

std::span<const Sample> UnreadSamples::open(const Signal& signal, std::size_t index,
                                            std::uint64_t until) {
    if (!signal.context().liveMode) {
        const auto all = signal.samples().view();
        return all.subspan(std::min(index, all.size()));
    }
    const std::lock_guard lock(*signal.mutex);
    const auto all = signal.samples().view();
    const auto rest = all.subspan(std::min(index, all.size()));
    auto end = std::lower_bound(rest.begin(), rest.end(), until,
                                [](const Sample& s, auto time) { return s.time < time; });
    if (end != rest.end()) ++end;
    copy_.assign(rest.begin(), end);
    return copy_;
}

void UnreadSamples::close() {
    constexpr std::size_t kUsual = 4096;
    if (copy_.capacity() > kUsual) copy_ = {};
}

std::size_t finalSamples(const Signal& signal, std::span<const Sample> unread, std::size_t read) {
    const bool mayChange = signal.context().liveMode && read != 0 && read == unread.size();
    return mayChange ? read - 1 : read;
}

std::optional<std::uint64_t> firstSampleTime(const Signal& signal) {
    const std::lock_guard lock(*signal.mutex);
    if (!signal.hasData || signal.samples().empty()) return std::nullopt;
    return signal.samples().front().time;
}

std::optional<std::uint64_t> lastSampleTime(const Signal& signal) {
    const std::lock_guard lock(*signal.mutex);
    if (signal.samples().empty()) return std::nullopt;
    return signal.samples().back().time;
}

}  // namespace trelis
