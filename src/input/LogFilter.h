// Which records of a recording a parse wants, prepared so that a record costs one look-up.
#pragma once

#include <cstdint>
#include <vector>

namespace trelis {

class Store;

/// Made when a parse starts and not changed while it runs, so any thread may ask.
class LogFilter {
  public:
    /// What a record is kept for.
    enum class Keep {
        kNothing,
        kGroup,         ///< a message decodes it
        kOrder,         ///< something reads the frames in the order of the file
        kGroupAndOrder  ///< both
    };
    struct Verdict {
        Keep keep = Keep::kNothing;
        std::uint32_t group = 0;  ///< only with a group
    };

    /// From the Store's active maps, masks and flags.
    explicit LogFilter(const Store& store);

    [[nodiscard]] Verdict check(std::uint32_t id, std::uint32_t interface) const {
        if (plain_) [[likely]] {  // nobody wants an order: the look-up alone decides
            const std::uint32_t group = find(id, interface);
            return {group == kNoGroup ? Keep::kNothing : Keep::kGroup, group};
        }
        return checkOrdered(id, interface);
    }

    static constexpr std::uint32_t kNoGroup = 0xFFFFFF;
    /// The number of a message's group, below groupCount(), or kNoGroup.
    [[nodiscard]] std::uint32_t find(std::uint32_t id, std::uint32_t interface) const {
        const std::uint64_t key = keyOf(id, interface);
        for (std::size_t place = hash(key);; place = (place + 1) & placeMask_) {
            const std::uint64_t entry = table_[place];
            if ((entry & kKeyMask) == key) return static_cast<std::uint32_t>(entry >> kKeyBits);
            if (entry == kEmpty) return kNoGroup;
        }
    }
    [[nodiscard]] std::uint32_t groupCount() const { return groupCount_; }

  private:
    // An entry is the group number above the interface number (8 bits) above the id (32 bits).
    static constexpr unsigned kKeyBits = 40;
    static constexpr std::uint64_t kKeyMask = (std::uint64_t{1} << kKeyBits) - 1;
    static constexpr std::uint64_t kEmpty = ~std::uint64_t{0};

    static std::uint64_t keyOf(std::uint32_t id, std::uint32_t interface) {
        return std::uint64_t{interface} << 32 | id;
    }
    // Fibonacci hashing (Knuth, The Art of Computer Programming, 6.4).
    [[nodiscard]] std::size_t hash(std::uint64_t key) const {
        return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> hashShift_);
    }
    [[nodiscard]] Verdict checkOrdered(std::uint32_t id, std::uint32_t interface) const;

    bool plain_ = true;
    bool wantErrors_ = false;
    bool wantBitRates_ = false;
    std::uint32_t interfaceMask_ = 0;
    std::uint32_t groupCount_ = 0;
    unsigned hashShift_ = 60;
    std::size_t placeMask_ = 15;
    std::vector<std::uint64_t> table_;
};

}  // namespace trelis
