// What running copies of the program tell each other: the record in their shared memory, and the
// two clocks in which it gives each time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace trelis {

/// Times in ms, in host order: the memory never leaves the machine. Each time stands twice, as it
/// is and less the offset of the sender's log at that time, since two copies may show logs with
/// clocks of different offset.
struct LinkRecord {
    std::int64_t viewStart = 0;
    std::int64_t viewStartFree = 0;  ///< less the offset
    std::int64_t viewEnd = 0;
    std::int64_t viewEndFree = 0;
    std::int64_t firstCursor = -1;  ///< negative while unset
    std::int64_t firstCursorFree = -1;
    std::int64_t secondCursor = -1;
    std::int64_t secondCursorFree = -1;

    bool operator==(const LinkRecord&) const = default;

    /// As the kernel hands out new memory: nobody has written yet.
    [[nodiscard]] bool isBlank() const;
    void copyViewFrom(const LinkRecord& other);
    void copyCursorsFrom(const LinkRecord& other);
};
static_assert(sizeof(LinkRecord) == 64 && offsetof(LinkRecord, viewEndFree) == 24 &&
              offsetof(LinkRecord, secondCursorFree) == 56);

/// The offsets of the loaded log over its time axis. Not synchronised. Sums wrap around, as the
/// times of a record may be anything.
class TimeOffsets {
  public:
    /// From `time` on, `offset` holds. Ignored unless the time is above that of the last pair and
    /// the offset another.
    void add(std::int64_t time, std::int64_t offset);
    /// 0 without pairs; before the first pair its offset.
    [[nodiscard]] std::int64_t at(std::int64_t time) const;
    [[nodiscard]] bool empty() const { return pairs_.empty(); }

    /// `time` less the offset that holds at `time`.
    [[nodiscard]] std::int64_t withoutOffset(std::int64_t time) const;
    /// The time of another copy on the axis of this one.
    [[nodiscard]] std::int64_t ownTime(std::int64_t absolute, std::int64_t offsetFree) const;

  private:
    std::vector<std::pair<std::int64_t, std::int64_t>> pairs_;  // by ascending time
};

}  // namespace trelis
