#include "virtual/LookupTree.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "model/ParseNumber.h"

namespace trelis {
namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

// A node while the file is read: children are a list in the order of the file.
struct DraftNode {
    double value = 0.0;
    std::uint32_t parent = 0;
    std::uint32_t firstChild = kNone;
    std::uint32_t lastChild = kNone;
    std::uint32_t nextSibling = kNone;
    std::uint32_t childCount = 0;
};

// Merges rows into a tree. Children are found in a hash table, with open addressing: searching
// among them one by one would take the square of the number of rows.
class Draft {
  public:
    Draft() : nodes_(1), slots_(kFirstSlots, kNone) {}

    std::uint32_t childOf(std::uint32_t parent, double value) {
        const double key = value == 0.0 ? 0.0 : value;  // the two zeros are equal
        for (std::size_t slot = slotOf(parent, key);; slot = (slot + 1) & (slots_.size() - 1)) {
            if (slots_[slot] == kNone) {
                slots_[slot] = append(parent, key);
                if (nodes_.size() * 2 > slots_.size()) grow();
                return static_cast<std::uint32_t>(nodes_.size() - 1);
            }
            const DraftNode& node = nodes_[slots_[slot]];
            if (node.parent == parent && node.value == key) return slots_[slot];
        }
    }
    [[nodiscard]] const std::vector<DraftNode>& nodes() const { return nodes_; }

  private:
    static constexpr std::size_t kFirstSlots = 64;

    // The finalizer of MurmurHash3 (public domain): every bit of the key reaches the low bits.
    [[nodiscard]] std::size_t slotOf(std::uint32_t parent, double value) const {
        std::uint64_t hash = std::bit_cast<std::uint64_t>(value) + parent * 0x9E3779B97F4A7C15U;
        hash = (hash ^ hash >> 33U) * 0xFF51AFD7ED558CCDU;
        hash = (hash ^ hash >> 33U) * 0xC4CEB9FE1A85EC53U;
        return (hash ^ hash >> 33U) & (slots_.size() - 1);
    }

    std::uint32_t append(std::uint32_t parent, double value) {
        if (nodes_.size() > LookupTree::kMostNodes)
            throw std::invalid_argument("Lookup table is too large");
        const auto added = static_cast<std::uint32_t>(nodes_.size());
        nodes_.push_back({.value = value, .parent = parent});
        DraftNode& owner = nodes_[parent];
        if (owner.childCount++ == 0)
            owner.firstChild = added;
        else
            nodes_[owner.lastChild].nextSibling = added;
        owner.lastChild = added;
        return added;
    }

    void grow() {
        slots_.assign(slots_.size() * 2, kNone);
        for (std::uint32_t i = 1; i < nodes_.size(); ++i) {
            std::size_t slot = slotOf(nodes_[i].parent, nodes_[i].value);
            while (slots_[slot] != kNone)
                slot = (slot + 1) & (slots_.size() - 1);
            slots_[slot] = i;
        }
    }

    std::vector<DraftNode> nodes_;  // the root first
    std::vector<std::uint32_t> slots_;
};

void addRow(Draft& draft, std::string_view line, unsigned columns) {
    std::uint32_t node = 0;
    for (unsigned column = 0; column < columns; ++column) {
        const auto number = parseNumber(line);
        // Zero times a huge power of ten is no number either.
        if (!number || number->end == 0 || std::isnan(number->value)) return;
        node = draft.childOf(node, number->value);
        line.remove_prefix(std::min(number->end, line.size()));
    }
}

}  // namespace

LookupTree::LookupTree(std::string_view text, unsigned columns) {
    Draft draft;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        addRow(draft, text.substr(0, end), columns);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    // Level by level, so that siblings lie side by side.
    const auto& drafts = draft.nodes();
    std::vector<std::uint32_t> order{0};
    order.reserve(drafts.size());
    nodes_.resize(drafts.size());
    for (std::uint32_t i = 0; i < order.size(); ++i) {
        const DraftNode& source = drafts[order[i]];
        nodes_[i].value = source.value;
        nodes_[i].firstChild = static_cast<std::uint32_t>(order.size());
        nodes_[i].childCount = source.childCount;
        double greatest = -std::numeric_limits<double>::infinity();
        for (std::uint32_t child = source.firstChild; child != kNone;
             child = drafts[child].nextSibling) {
            greatest = std::max(greatest, drafts[child].value);
            nodes_[order.size()].greatest = greatest;
            order.push_back(child);
        }
    }
}

std::span<const LookupTree::LookupNode> LookupTree::childrenOf(const LookupNode& node) const {
    if (node.childCount == 0)
        throw std::runtime_error("LookupTable file format error, last column not found");
    return {nodes_.data() + node.firstChild, node.childCount};
}

double LookupTree::interpolate(std::span<const double> keys) const {
    return interpolate(nodes_.data(), keys);
}

double LookupTree::interpolate(const LookupNode* node, std::span<const double> keys) const {
    for (; !keys.empty(); keys = keys.subspan(1)) {
        const double key = keys.front();
        const auto children = childrenOf(*node);
        if (std::isnan(key)) return key;
        if (key <= children.front().value) {
            node = &children.front();
        } else if (key >= children.back().value) {
            node = &children.back();
        } else {
            // The last child is above the key, so there is a first one that is not below it.
            const auto upper = std::partition_point(
                children.begin(), children.end(),
                [key](const LookupNode& child) { return child.greatest < key; });
            if (upper->value > key) {
                const auto lower = upper - 1;
                const double low = interpolate(&*lower, keys.subspan(1));
                const double high = interpolate(&*upper, keys.subspan(1));
                return (high - low) * (key - lower->value) / (upper->value - lower->value) + low;
            }
            node = &*upper;
        }
    }
    return childrenOf(*node).front().value;
}

}  // namespace trelis
