#pragma once

#include <cstdint>
#include <initializer_list>

#include "vell/terms/symboltag.h"

namespace vell::words {

// A set of operators.
class Tags {
 public:
  constexpr Tags(std::initializer_list<SymbolTag::tag> tags) {
    for (SymbolTag::tag t : tags) bits_ |= std::uint64_t{1} << t;
  }
  constexpr bool contain(std::uint32_t tag) const { return tag < 64 && (bits_ >> tag & 1) != 0; }

 private:
  std::uint64_t bits_ = 0;
};

}  // namespace vell::words
