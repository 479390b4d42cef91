// Diagnostics of the stream library: standard error only, with a time stamp, never the message log.
#pragma once

namespace trelis {

enum class StreamLevel { kInfo, kWarning, kError };

/// Writes one coloured line with local time, level word and text. After an error standard error is
/// flushed and the file systems are synchronised, so that the trace survives a crash of the
/// machine. Callable from any thread.
[[gnu::format(printf, 2, 3)]] void streamLog(StreamLevel level, const char* pattern, ...);

}  // namespace trelis
