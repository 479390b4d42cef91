// Changes to the text of a definition file that leave everything else in it as it stands: comments,
// blank lines and the order of the groups.
#pragma once

#include <string>
#include <string_view>

namespace trelis {

/// The text without the group of this name. Comments in front of the following group stay with it.
[[nodiscard]] std::string removeGroup(std::string_view text, std::string_view group);

/// The text with a group behind all others, a blank line ahead of it.
[[nodiscard]] std::string appendGroup(std::string_view text, std::string_view groupText);

}  // namespace trelis
