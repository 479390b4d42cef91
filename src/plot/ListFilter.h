// The search text of the signal list, taken apart for the levels of the tree.
#pragma once

#include <glib.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace trelis {

/// The levels of the signal list; the numbers stand in the list's `rowType` column.
enum class RowType : unsigned {
    kInterface = 0,
    kMessage = 1,
    kSignal = 2,
    kPlaceholder = 3,  ///< stands in a message row for signals that nobody looked at yet
};

/// Lower case as the list compares names.
std::string lowerCase(std::string_view text);

/// Orders names as the list shows them, ignoring case: below, at or above 0.
int compareNames(std::string_view a, std::string_view b);

/// One pattern a level. A "/" in the text parts signal from message, a second one message from
/// interface; a piece is searched anywhere in the name, ignoring case, and may hold `*` and `?`.
class ListFilter {
  public:
    ListFilter() = default;
    explicit ListFilter(std::string_view text);

    /// Whether there is nothing to filter by.
    [[nodiscard]] bool isEmpty() const { return text_.empty(); }
    [[nodiscard]] const std::string& text() const { return text_; }
    [[nodiscard]] bool matches(RowType level, std::string_view name) const;

  private:
    struct FreePattern {
        void operator()(GPatternSpec* pattern) const { g_pattern_spec_free(pattern); }
    };
    /// A piece without wild cards is searched as it is, which is quicker.
    struct Piece {
        std::string text;
        std::unique_ptr<GPatternSpec, FreePattern> pattern;
    };

    std::string text_;
    std::array<Piece, 3> pieces_;
};

}  // namespace trelis
