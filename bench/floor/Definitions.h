#pragma once
#include <cstdint>
#include <string>
#include <vector>

/// The few lines of DBC and VSD files that the benchmark's own files hold.
namespace trelis::floors {

/// Where a signal lies and what it means, ready for decoding.
struct SignalPlan {
    std::uint64_t mask;
    std::uint8_t shift;
    std::uint8_t spare;  ///< 64 less the number of bits, to extend the sign
    bool swapped;        ///< big-endian: taken from the data with its bytes reversed
    bool isSigned;
    double factor;
    double offset;
    std::size_t index;  ///< among all signals
};

struct MessagePlan {
    std::uint32_t id;
    std::uint8_t interface;
    std::vector<SignalPlan> signals;
};

/// The messages and signals that the groups of a VSD file name as inputs; all of its DBC files if
/// it has no groups.
std::vector<MessagePlan> readPlans(const std::string& vsdPath);

}  // namespace trelis::floors
