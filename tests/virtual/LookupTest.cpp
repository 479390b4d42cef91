#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TestStore.h"
#include "virtual/LookupTree.h"

namespace trelis {
namespace {

TEST(LookupTreeTest, hasAValueForAnyKeys) {
    EXPECT_TRUE(std::isnan(LookupTree("1 10\n2 20\n", 2).interpolate(std::vector{std::nan("")})));
    const LookupTree grid("1 1 10\n1 2 20\n2 1 30\n2 2 40\n", 3);
    EXPECT_EQ(grid.interpolate(std::vector{1.5, 1.5}), 25);
    EXPECT_EQ(grid.interpolate(std::vector{0.0, 9.0}), 20);
    EXPECT_EQ(LookupTree("7\n8\n", 1).interpolate({}), 7);  // only the first row counts
}

TEST(LookupTreeTest, readsRows) {
    struct Case {
        const char* text;
        double key;
        double value;
    };
    for (const auto& [text, key, value] : {
             Case{"1\t10\n 2   20", 1.5, 15},
             {"1 1,5\n2 2,5\n", 1.5, 2},       // a comma is a decimal sign
             {"1 10 x\n2 20 # y\n", 1.5, 15},  // a line ends at what is no number
             {"# head\n\n1 10\n\n2 20\n", 1.5, 15},
             {"1 10\n1 99\n2 20\n", 1, 10},  // of equal rows the first one counts
             {"-1 10\n-0.5 20\n", -0.75, 15},
             {"0 10\n-0 99\n1 20\n", 0, 10},  // the two zeros are equal
             {"1 10 99\n2 20\n", 1, 10},      // further columns are left out
             {"1 10\r\n2 20\r\n", 2, 20},
             // Deliberate: the digits of an exponent are read again as the next column.
             {"1 1e2\n3 9\n", 1, 100},
             {"1e1 5 77\n20 6 78\n", 10, 1},
         })
        EXPECT_DOUBLE_EQ(LookupTree(text, 2).interpolate(std::vector{key}), value) << text;
}

TEST(LookupTreeTest, findsShortRowsWhenItReachesThem) {
    const LookupTree tree("1 1 10\n2\n", 3);
    EXPECT_EQ(tree.interpolate(std::vector{0.5, 3.0}), 10);
    EXPECT_THROW(static_cast<void>(tree.interpolate(std::vector{1.5, 1.0})), std::runtime_error);
    EXPECT_THROW(static_cast<void>(LookupTree("", 1).interpolate({})), std::runtime_error);
}

// ---- against the definition, node by node; columns need not ascend

using Rows = std::vector<std::vector<double>>;

double plainLookup(const Rows& rows, std::span<const double> keys) {
    if (keys.empty()) return rows.front().front();
    std::vector<std::pair<double, Rows>> children;  // in the order of the file
    for (const auto& row : rows) {
        auto child = std::find_if(children.begin(), children.end(),
                                  [&](const auto& known) { return known.first == row.front(); });
        if (child == children.end()) child = children.insert(child, {row.front(), {}});
        child->second.emplace_back(row.begin() + 1, row.end());
    }
    const auto below = [&](const auto& child) {
        return plainLookup(child.second, keys.subspan(1));
    };
    const double key = keys.front();
    if (key <= children.front().first) return below(children.front());
    if (key >= children.back().first) return below(children.back());
    const auto upper = std::find_if(children.begin(), children.end(),
                                    [&](const auto& child) { return child.first >= key; });
    if (upper->first == key) return below(*upper);
    const auto lower = upper - 1;
    const double low = below(*lower);
    return (below(*upper) - low) * (key - lower->first) / (upper->first - lower->first) + low;
}

TEST(LookupTreeTest, agreesWithAPlainWalk) {
    test::Randomness random;
    SCOPED_TRACE(random.trace());
    for (int round = 0; round < 200; ++round) {
        const unsigned columns = 2 + random.below(3);
        Rows rows(1 + random.below(60));
        std::string text;
        for (auto& row : rows) {
            while (row.size() < columns) {
                row.push_back(random.below(9));
                text += std::to_string(row.back()) + " ";
            }
            text += '\n';
        }
        const LookupTree tree(text, columns);
        for (int query = 0; query < 50; ++query) {
            std::vector<double> keys(columns - 1);
            for (double& key : keys)
                key = random.below(20) / 2.0 - 0.5;
            ASSERT_EQ(tree.interpolate(keys), plainLookup(rows, keys)) << text;
        }
    }
}

// A million rows with different keys, in falling order: neither loading nor looking up may walk
// them one by one. A path of a million numbers is no deeper than the inputs need.
TEST(LookupTreeTest, holdsAMillionNumbers) {
    std::string rows;
    std::string wide;
    for (int row = 1'000'000; row > 0; --row) {
        rows += std::to_string(row) + " " + std::to_string(row % 10) + "\n";
        wide += "1 ";
    }
    const LookupTree tree(rows, 2);
    for (int key = 0; key < 1'000'000; key += 50)
        ASSERT_EQ(tree.interpolate(std::vector{key + 0.5}), 0);
    EXPECT_EQ(LookupTree(wide, 2).interpolate(std::vector{3.0}), 1);
}

}  // namespace
}  // namespace trelis
