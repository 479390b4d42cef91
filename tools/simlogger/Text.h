#pragma once
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// Small helpers for texts; numbers are read and written with a point, whatever the locale.
namespace trelis::sim {

inline std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// Takes the text up to the next of `stops` off the front; the stop itself goes too.
inline std::string_view takeUntil(std::string_view& text, std::string_view stops) {
    const auto end = text.find_first_of(stops);
    const std::string_view head = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return head;
}

/// Takes the next word off the front; empty at the end.
inline std::string_view takeWord(std::string_view& text) {
    text = trimmed(text);
    return takeUntil(text, " \t");
}

inline std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    for (auto word = takeWord(text); !word.empty(); word = takeWord(text))
        words.push_back(word);
    return words;
}

/// The whole text as a number; whole numbers may be written as 0x...
template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    Number value{};
    std::from_chars_result result{};
    if constexpr (std::is_integral_v<Number>) {
        const bool hex = text.starts_with("0x") || text.starts_with("0X");
        if (hex) text.remove_prefix(2);
        result = std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
    } else {
        result = std::from_chars(text.data(), text.data() + text.size(), value);
    }
    if (text.empty() || result.ec != std::errc{} || result.ptr != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// The shortest text that reads back as the same number.
inline std::string numberText(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return {buffer, result.ptr};
}

}  // namespace trelis::sim
