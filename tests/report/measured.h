#pragma once

// Profiles of short scripts.

#include <string>

#include "tests/support/scratch.h"
#include "vell/report/profile.h"

namespace vell::report::test {

inline Profile measured(std::string const& script, char const* words = "none", std::uint64_t query = 0) {
  vell::test::Scratch scratch;
  cnf::CnfOptions options;
  options.input = scratch.write("in.smt2", script);
  options.passes = words::parse_passes(words);
  options.query = query;
  run::Limits limits;
  run::Statistics statistics;
  return measure(options, limits, statistics);
}

}  // namespace vell::report::test
