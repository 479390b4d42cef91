#include "app/diagnostics/Report.h"

#include <glibmm/convert.h>
#include <glibmm/ustring.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "app/diagnostics/Exceptions.h"
#include "app/diagnostics/MessageLog.h"

namespace trelis {
namespace {

constexpr std::size_t kQueuedBytes = 1023;
constexpr std::size_t kLongestText = std::size_t{64} * 1024;

std::string_view colourOf(Level level) {
    switch (level) {
        case Level::kError:
            return "\033[31m";
        case Level::kWarning:
            return "\033[33m";
        case Level::kInfo:
            break;
    }
    return "\033[34m";
}

// Code points of the bytes 0x80 to 0x9F in Windows-1252; its five unassigned bytes stand for the
// replacement character. All other bytes are the code points of Latin-1.
constexpr std::array<char16_t, 32> kWindows1252 = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};

// What the queue takes of a text, without half a character at its end if the text is UTF-8.
std::string_view cutText(std::string_view text) {
    if (text.size() <= kQueuedBytes) return text;
    constexpr std::size_t kMostContinuations = 3;  // bytes of a character behind its first one
    std::size_t end = kQueuedBytes;
    while (end > kQueuedBytes - kMostContinuations &&
           (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    return text.substr(0, end);
}

}  // namespace

std::string_view levelWord(Level level) {
    switch (level) {
        case Level::kError:
            return "ERR";
        case Level::kWarning:
            return "WRN";
        case Level::kInfo:
            break;
    }
    return "INF";
}

void report(Level level, std::string_view text) {
    std::string line;
    line.reserve(text.size() + 16);
    line.append(colourOf(level)).append(levelWord(level)).append(" ");
    line.append(text).append("\033[0m\n");
    // One call, so that lines of different threads interleave as whole lines.
    std::fwrite(line.data(), 1, line.size(), stderr);
    // A widget shows nothing at all of a text with a broken character, such as the bytes of a file
    // name in another encoding, or one that is cut in half.
    const std::string queued = toValidUtf8(cutText(text));
    MessageLog::instance().add(levelWord(level), cutText(queued));
}

void reportFatal(std::string_view text) {
    report(Level::kError, text);
    throw PrintMsgError{};
}

std::string format(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, pattern, arguments);
    va_end(arguments);
    std::string text;
    if (length > 0) {
        text.resize(std::min(static_cast<std::size_t>(length), kLongestText));
        std::vsnprintf(text.data(), text.size() + 1, pattern, again);
    }
    va_end(again);
    return text;
}

std::string toValidUtf8(std::string_view text) {
    const bool ascii = std::all_of(text.begin(), text.end(),
                                   [](char c) { return static_cast<signed char>(c) >= 0; });
    if (ascii || g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        return std::string(text);
    std::string result;
    result.reserve(text.size() * 2);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const char32_t code = byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80U] : byte;
        std::array<char, 6> encoded{};
        const int count = g_unichar_to_utf8(code, encoded.data());
        result.append(encoded.data(), static_cast<std::size_t>(count));
    }
    return result;
}

}  // namespace trelis
