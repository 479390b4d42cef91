// The samples of an input that a calculation has not read yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "model/SampleArray.h"

namespace trelis {

class Signal;

/// After a finished parse nobody writes to the array of an input, so it is read in place. During a
/// live run its decoder appends to it meanwhile, which may move the array and does move its last
/// sample; then the few unread samples are copied under the input's mutex.
class UnreadSamples {
  public:
    static constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();

    /// The samples from `index` on. Of a live input at least those before `until` and one behind
    /// them: a caller that waits for another input must not copy a growing rest again and again.
    /// Valid until the next call of open or close.
    std::span<const Sample> open(const Signal& signal, std::size_t index,
                                 std::uint64_t until = kNoEnd);
    /// Gives back the memory of an unusually large copy.
    void close();

  private:
    std::vector<Sample> copy_;
};

/// How many of the samples that were read need not be read again. During a live run the last sample
/// of an array is an end marker that moves, or becomes a sample of another value; so it is read
/// once more, which adds nothing if it is still the same.
std::size_t finalSamples(const Signal& signal, std::span<const Sample> unread, std::size_t read);

/// Times in ms of the samples that a signal holds; empty if it holds none. Locks its mutex.
std::optional<std::uint64_t> firstSampleTime(const Signal& signal);
std::optional<std::uint64_t> lastSampleTime(const Signal& signal);

}  // namespace trelis
