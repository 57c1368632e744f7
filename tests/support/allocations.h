#pragma once

#include <cstdint>

namespace vell::test {

// Number of calls of operator new so far in this program. Linking this in replaces the global operator new.
std::uint64_t allocation_count();

}  // namespace vell::test
