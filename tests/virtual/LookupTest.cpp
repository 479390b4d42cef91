#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "virtual/LookupTree.h"

namespace trelis {
namespace {

TEST(LookupTreeTest, interpolatesAndClamps) {
    const LookupTree line("1 10\n2 20\n4 0\n", 2);
    for (const auto& [key, value] : std::vector<std::pair<double, double>>{
             {0, 10}, {1, 10}, {1.5, 15}, {2, 20}, {3, 10}, {4, 0}, {9, 0}})
        EXPECT_DOUBLE_EQ(line.interpolate(std::vector{key}), value) << key;
    EXPECT_TRUE(std::isnan(line.interpolate(std::vector{std::nan("")})));

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
    EXPECT_THROW(static_cast<void>(LookupTree("", 2).interpolate(std::vector{1.0})),
                 std::runtime_error);
}

// ---- against the definition, node by node; columns need not ascend

struct PlainNode {
    double value = 0;
    std::vector<PlainNode> children;
};

double plainLookup(const PlainNode& node, const std::vector<double>& keys, std::size_t depth) {
    if (depth == keys.size()) return node.children.at(0).value;
    const double key = keys[depth];
    const auto& children = node.children;
    if (key <= children.front().value) return plainLookup(children.front(), keys, depth + 1);
    if (key >= children.back().value) return plainLookup(children.back(), keys, depth + 1);
    const PlainNode* lower = nullptr;
    for (const PlainNode& child : children) {
        if (child.value == key) return plainLookup(child, keys, depth + 1);
        if (child.value < key) {
            lower = &child;
            continue;
        }
        const double low = plainLookup(*lower, keys, depth + 1);
        const double high = plainLookup(child, keys, depth + 1);
        return (high - low) * (key - lower->value) / (child.value - lower->value) + low;
    }
    return std::nan("");
}

TEST(LookupTreeTest, agreesWithAPlainWalk) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    for (int round = 0; round < 200; ++round) {
        const std::size_t keyCount = 1 + generator() % 3;
        PlainNode root;
        std::string text;
        for (std::size_t row = 1 + generator() % 60; row > 0; --row) {
            PlainNode* node = &root;
            for (std::size_t column = 0; column <= keyCount; ++column) {
                const int value = static_cast<int>(generator() % 9);
                text += std::to_string(value) + " ";
                auto found = std::find_if(node->children.begin(), node->children.end(),
                                          [&](const PlainNode& n) { return n.value == value; });
                if (found == node->children.end()) {
                    node->children.push_back({static_cast<double>(value), {}});
                    found = node->children.end() - 1;
                }
                node = &*found;
            }
            text += '\n';
        }
        const LookupTree tree(text, static_cast<unsigned>(keyCount) + 1);
        for (int query = 0; query < 50; ++query) {
            std::vector<double> keys(keyCount);
            for (double& key : keys)
                key = static_cast<double>(generator() % 20) / 2 - 0.5;
            ASSERT_EQ(tree.interpolate(keys), plainLookup(root, keys, 0)) << text;
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
