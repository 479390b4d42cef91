#include "plot/ListFilter.h"

#include <glibmm/ustring.h>

#include <algorithm>

namespace trelis {
namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<signed char>(c) >= 0; });
}

char lowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    if (!isAscii(text)) return Glib::ustring(lower).lowercase().raw();
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerAscii);
    return lower;
}

int compareNames(std::string_view a, std::string_view b) {
    if (!isAscii(a) || !isAscii(b)) return lowerCase(a).compare(lowerCase(b));
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = lowerAscii(a[i]) - lowerAscii(b[i]);
        if (difference != 0) return difference;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

ListFilter::ListFilter(std::string_view text) : text_(text) {
    const auto slashes = std::count(text.begin(), text.end(), '/');
    const auto first = text.find('/');
    const auto last = text.rfind('/');
    std::array<std::string_view, 3> parts;
    switch (slashes) {
        case 0:
            parts = {"", "", text};
            break;
        case 1:
            parts = {"", text.substr(0, first), text.substr(first + 1)};
            break;
        case 2:
            parts = {text.substr(0, first), text.substr(first + 1, last - first - 1),
                     text.substr(last + 1)};
            break;
        default:
            parts = {text, text, text};
    }
    for (std::size_t level = 0; level < parts.size(); ++level) {
        pieces_[level].text = lowerCase(parts[level]);
        if (parts[level].find_first_of("*?") == std::string_view::npos) continue;
        const std::string pattern = "*" + pieces_[level].text + "*";
        pieces_[level].pattern.reset(g_pattern_spec_new(pattern.c_str()));
    }
}

bool ListFilter::matches(RowType level, std::string_view name) const {
    const Piece& piece = pieces_.at(static_cast<std::size_t>(level));
    if (piece.text.empty()) return true;
    if (piece.pattern) {
        const std::string lower = lowerCase(name);
        return g_pattern_spec_match(piece.pattern.get(), lower.size(), lower.c_str(), nullptr) !=
               FALSE;
    }
    // This runs for every signal at every key press: no memory is taken for a usual name.
    std::array<char, 128> buffer;
    if (name.size() > buffer.size() || !isAscii(name))
        return lowerCase(name).find(piece.text) != std::string::npos;
    std::transform(name.begin(), name.end(), buffer.begin(), lowerAscii);
    return std::string_view(buffer.data(), name.size()).find(piece.text) != std::string_view::npos;
}

}  // namespace trelis
