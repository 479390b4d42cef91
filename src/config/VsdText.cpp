#include "config/VsdText.h"

#include <algorithm>
#include <optional>

#include "config/NumberText.h"

namespace trelis {
namespace {

/// The group that a line begins, if it is the head of one.
std::optional<std::string_view> headOf(std::string_view line) {
    const auto bare = trimmed(line);
    if (bare.size() < 2 || bare.front() != '[' || bare.back() != ']') return std::nullopt;
    return bare.substr(1, bare.size() - 2);
}

bool isRemark(std::string_view line) {
    const auto bare = trimmed(line);
    return bare.empty() || bare.front() == '#';
}

}  // namespace

std::string removeGroup(std::string_view text, std::string_view group) {
    std::string kept;
    std::string remarks;  // seen since the last key of the group: those of whatever follows
    bool inGroup = false;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size() - 1) + 1;
        const auto line = text.substr(0, end);
        text.remove_prefix(end);
        if (const auto head = headOf(line)) {
            if (inGroup) kept += remarks;
            remarks.clear();
            inGroup = *head == group;
        }
        if (!inGroup)
            kept += line;
        else if (isRemark(line))
            remarks += line;
        else
            remarks.clear();
    }
    return kept;
}

std::string appendGroup(std::string_view text, std::string_view groupText) {
    std::string result(text);
    while (!result.empty() && trimmed({&result.back(), 1}).empty())
        result.pop_back();
    if (!result.empty()) result += "\n\n";
    result += groupText;
    if (result.empty() || result.back() != '\n') result += '\n';
    return result;
}

}  // namespace trelis
