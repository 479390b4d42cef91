// Lines of text with random damage.
#pragma once

#include <string>
#include <string_view>

#include "support/TestStore.h"

namespace trelis::test {

/// The line with up to three characters lost, added or replaced.
inline std::string damaged(std::string line, std::string_view alphabet, Randomness& random) {
    for (std::uint32_t edits = random.below(4); edits > 0; --edits) {
        const auto at = random.below(static_cast<std::uint32_t>(line.size()));
        const auto way = random.below(3);
        if (way != 1) line.erase(at, 1);
        if (way != 2)
            line.insert(at, 1, alphabet[random.below(static_cast<std::uint32_t>(alphabet.size()))]);
    }
    return line;
}

}  // namespace trelis::test
