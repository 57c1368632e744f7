#pragma once

// Values of variables, and the values that terms have under them.
//
// Tested by tests/script/model_test.cpp.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "vell/script/options.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"

namespace vell::script {

// A value is its words of 64 bits, least significant first, ceil(width / 64) of them; a Boolean is 0 or 1, a
// floating-point value its IEEE bits.
class VELL_API Model {
 public:
  // terms must outlive the model. With free_division a quotient or remainder by zero has the value that set()
  // gave to the term; otherwise x / 0 is all ones and x % 0 is x.
  explicit Model(TermManager const& terms, bool free_division = false);
  Model(Model&&) noexcept;
  Model& operator=(Model&&) noexcept;
  ~Model();

  // Gives a variable a value; bits at and above its width are ignored, missing words are 0. A variable
  // without a value is 0, false.
  void set(Term_ const* variable, std::span<std::uint64_t const> words);
  void set(Term_ const* variable, std::uint64_t value) { set(variable, std::span(&value, 1)); }

  // The value of a term. Throws Exception for a term that has none, such as an integer. No recursion.
  std::vector<std::uint64_t> words(Term_ const* term);
  bool is_true(Term_ const* formula);
  // The value as SMT-LIB writes it: true, #b0101, (fp #b0 #b01 #b0), roundTowardZero.
  std::string text(Term_ const* term, WordFormat format = WordFormat::binary);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The number of bits of the values of a type: 1 for Bool; 0 for a type without bits.
VELL_API std::uint64_t value_width(TermManager const& terms, Type const* type);

}  // namespace vell::script
