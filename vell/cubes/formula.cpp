#include "vell/cubes/formula.h"

#include "vell/cnf/dimacsreader.h"

namespace vell::cubes {

Formula read_formula(std::string const& path) {
  cnf::DimacsReader reader(path);
  Formula out;
  out.variables = static_cast<std::int32_t>(reader.variables());
  out.map = reader.map();
  for (std::vector<std::int32_t> clause; reader.next(clause);) {
    out.clauses.insert(out.clauses.end(), clause.begin(), clause.end());
    out.clauses.push_back(0);
  }
  return out;
}

std::string literals_text(std::span<std::int32_t const> literals) {
  std::string out;
  for (std::int32_t l : literals) out += ' ' + std::to_string(l);
  return out + " 0";
}

}  // namespace vell::cubes
