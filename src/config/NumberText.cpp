#include "config/NumberText.h"

#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace trelis {
namespace {

template <typename T>
std::optional<T> readWhole(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    const char* const last = text.data() + text.size();
    T value{};
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc() || end != last) return std::nullopt;
    return value;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<int> readInt(std::string_view text) {
    return readWhole<int>(trimmed(text));
}

std::optional<double> readDouble(std::string_view text) {
    std::string dotted(trimmed(text));
    if (const auto comma = dotted.find(','); comma != std::string::npos) dotted[comma] = '.';
    const auto value = readWhole<double>(dotted);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

}  // namespace trelis
