// Numbers as users type them into the rows of a form.
#pragma once

#include <optional>
#include <string_view>

namespace trelis {

/// The text without blanks and line ends around it.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// The number that the whole text is, blanks around it aside; a plus sign may lead. Empty for
/// anything else and for what does not fit. Whatever the locale.
[[nodiscard]] std::optional<int> readInt(std::string_view text);

/// The same for a finite number, with a point or a comma as its decimal sign.
[[nodiscard]] std::optional<double> readDouble(std::string_view text);

}  // namespace trelis
