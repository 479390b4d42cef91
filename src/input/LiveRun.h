// What every running input does around its frames: the start of the time axis, its growth, the end.
#pragma once

#include <cstdint>

namespace trelis {

class Store;
struct Frame;

/// The axis of a live run grows in steps of this, in ms: a quarter of an hour.
inline constexpr std::uint64_t kLiveWindowMs = 900000;

/// The wall clock in ms since the epoch.
std::uint64_t wallClockMs();

/// Whether the worker is to leave its live input. Any thread.
[[nodiscard]] bool liveStopAsked(const Store& store);

/// Sets up the time axis for frames whose first one belongs to `startTime` (ms since the epoch) and
/// makes the look-up of the active messages anew. With a window all signals are decoded from now
/// on, without one those that are in use.
void beginLiveRun(Store& store, std::uint64_t startTime);

/// After a batch of frames: keeps the end of the axis at least one window ahead of the data, and
/// hands the lines of a dump to its reader.
void growLiveAxis(Store& store);

/// Closes the axis behind the last frame and the dump, if one runs. Without a window all messages
/// are finished, as at the end of a parse of files, so that results are final.
void endLiveRun(Store& store);

}  // namespace trelis
