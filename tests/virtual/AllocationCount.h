// Counts what this program takes from operator new.
#pragma once

#include <cstddef>

namespace trelis::test {

std::size_t allocationCount();

}  // namespace trelis::test
