#pragma once

// Places of virtual operations in the table, as the Itanium C++ ABI represents pointers to members.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vell::test {

// Slot of a virtual member function, counted from the first entry of the table; -1 for one that is not
// virtual.
template <typename F>
std::ptrdiff_t virtual_slot(F member) {
  std::uintptr_t word = 0;
  std::memcpy(&word, &member, sizeof word);
  return (word & 1) != 0 ? static_cast<std::ptrdiff_t>((word - 1) / sizeof(void*)) : -1;
}

}  // namespace vell::test
