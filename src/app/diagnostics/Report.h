// The one way by which a message reaches the user: standard error at once, the message log for the
// window. Callable from any thread.
#pragma once

#include <string>
#include <string_view>

namespace trelis {

/// Severity of a message. The numbers are those of MessageLogEntry::level.
enum class Level { kInfo = 0, kWarning = 1, kError = 2 };

/// The three-letter word in front of a message: "INF", "WRN" or "ERR".
std::string_view levelWord(Level level);

/// Writes the coloured text with its level word to standard error as one line, and queues the text
/// (as valid UTF-8, cut to 1023 bytes) in the MessageLog.
void report(Level level, std::string_view text);

/// report(kError, text), then throws PrintMsgError.
[[noreturn]] void reportFatal(std::string_view text);

/// printf-style formatting into a string, for texts with numbers. Texts longer than 64 KiB are cut.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

/// Replaces what is not valid UTF-8 in a text from a file: the whole text is then taken as
/// Windows-1252. Valid texts come back unchanged.
std::string toValidUtf8(std::string_view text);

}  // namespace trelis
