// A table of numbers as a tree of its columns, and the interpolation in it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trelis {

/// A level is a column, and rows that share their leading columns share a path. The children of a
/// node stay in the order of the file; among equal rows the first one counts. Read-only once built.
class LookupTree {
  public:
    /// Parses the text of a table: a row a line, columns separated by blanks or tabs, a point or a
    /// comma as the decimal sign. A line ends at the first text that is no number. Columns behind
    /// `columns` are left out.
    /// std::invalid_argument for a table of more than kMostNodes numbers.
    LookupTree(std::string_view text, unsigned columns);
    /// An empty table.
    LookupTree() = default;

    static constexpr std::size_t kMostNodes = 8'000'000;

    /// The value of the column behind the keys, linear between the rows in each key and clamped to
    /// the first and last row. std::runtime_error if a row on the way has too few columns. At most
    /// 99 keys.
    [[nodiscard]] double interpolate(std::span<const double> keys) const;

  private:
    /// The children of a node lie side by side.
    struct LookupNode {
        double value = 0.0;
        /// The greatest of the values from the first sibling up to this one. The first sibling
        /// above a key is found in it by bisection, also where a column does not ascend.
        double greatest = 0.0;
        std::uint32_t firstChild = 0;
        std::uint32_t childCount = 0;
    };

    [[nodiscard]] double interpolate(const LookupNode* node, std::span<const double> keys) const;
    [[nodiscard]] std::span<const LookupNode> childrenOf(const LookupNode& node) const;

    std::vector<LookupNode> nodes_ = std::vector<LookupNode>(1);  ///< the root first
};

}  // namespace trelis
