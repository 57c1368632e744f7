#pragma once

// Which passes on words run before formulas become clauses, as --words and the option :words name them.
//
// Tested by tests/words/passes_test.cpp.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vell::words {

// A set of passes, by their place in the table passes() (simplifier.h).
class Passes {
 public:
  static Passes const all;
  static Passes const none;  // every formula is clausified as it stands

  constexpr bool contains(std::size_t pass) const { return (bits_ >> pass & 1) != 0; }
  constexpr void set(std::size_t pass, bool on) {
    std::uint64_t const bit = std::uint64_t{1} << pass;
    bits_ = on ? bits_ | bit : bits_ & ~bit;
  }
  constexpr bool operator==(Passes const&) const = default;

 private:
  constexpr explicit Passes(std::uint64_t bits) : bits_(bits) {}
  std::uint64_t bits_;
};

inline constexpr Passes Passes::all{~std::uint64_t{0}};
inline constexpr Passes Passes::none{0};

// Reads "all", "none", or names of passes with + or - in front, separated by commas and applied from left to
// right to all passes: "-products", "none,+equations". Throws Exception, with the name and those that exist,
// for anything else.
Passes parse_passes(std::string_view text);
// "all", "none" or the shortest such text that parse_passes() reads as `passes`.
std::string passes_text(Passes passes);

}  // namespace vell::words
