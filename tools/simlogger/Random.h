#pragma once
#include <cstdint>

namespace trelis::sim {

/// A small random generator whose numbers are the same on every machine: SplitMix64 (Steele, Lea
/// and Flood, "Fast splittable pseudorandom number generators", 2014). Not for secrets.
class Random {
  public:
    explicit Random(std::uint64_t seed)
        : state_(seed * 0x9E3779B97F4A7C15ULL + 0x632BE59BD9B4E019ULL) {}

    std::uint64_t next() {
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15ULL;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }

    /// A number from 0 to limit - 1; limit must not be 0.
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(((next() >> 32) * limit) >> 32);
    }

    /// A number from `low` to `high`, both included.
    std::int64_t between(std::int64_t low, std::int64_t high) {
        const auto span = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
        const std::uint64_t pick = span == 0 ? next() : next() % span;
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(low) + pick);
    }

    /// From 0 inclusive to 1 exclusive.
    double real() { return static_cast<double>(next() >> 11) * (1.0 / 9007199254740992.0); }

    bool chance(double probability) { return real() < probability; }

  private:
    std::uint64_t state_;
};

}  // namespace trelis::sim
