#pragma once

// A model as `vell-bv decode` or get-model prints it.
//
// Tested by tests/report/model_test.cpp.

#include <map>
#include <string>
#include <vector>

#include "vell/values/evaluator.h"

namespace vell::report {

// For an Evaluator: the values by name; a constant that the model does not have, or has with another width,
// is 0.
class Model : public values::Assignment {
 public:
  // Element 0 is the least significant bit.
  using Bits = std::vector<bool>;

  // Reads a file, "-" for standard input. Throws Exception for one that is no model, or says unsat or
  // unknown.
  static Model read(std::string const& path);

  // Null for a name without a value. Names are without bars.
  Bits const* find(std::string const& name) const;
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override;

 private:
  std::map<std::string, Bits> values_;
};

}  // namespace vell::report
