#pragma once

#include <cstdint>

namespace vell::test {

// Number of calls of operator new so far in this program. Linking this in replaces the global operator new.
std::uint64_t allocation_count();
// Number of allocations that were not given back yet.
std::uint64_t live_allocations();

}  // namespace vell::test
