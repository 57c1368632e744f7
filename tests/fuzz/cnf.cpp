// cnf, then decode: what the writer makes of a script, a SAT solver decides, and the values it finds must be
// taken for a model.

#include <vector>

#include "tests/fuzz/fuzz.h"
#include "vell/cnf/decoder.h"
#include "vell/cnf/writer.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sinks/solversink.h"
#include "vell/terms/exception.h"

namespace vell::fuzz {
namespace {

// The solver's lines for the file.
std::string solve(std::string const& cnf) {
  sinks::SolverSink sink(std::make_unique<sat::CadicalSolver>());
  long variables = 0;
  std::istringstream in(cnf);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == 'c') continue;
    if (line[0] == 'p') {
      if (std::sscanf(line.c_str(), "p cnf %ld", &variables) != 1) finding("header", line);
      for (long v = 0; v < variables; ++v) sink.new_lit();
      continue;
    }
    std::istringstream numbers(line);
    sink.lits.clear();
    for (int n = 0; numbers >> n && n != 0;) sink.lits.push_back(n > 0 ? n + 1 : n - 1);
    sink.add_clause();
  }
  auto const start = std::chrono::steady_clock::now();
  sink.set_terminate(
      [start] { return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(500); });
  switch (sink.solve({})) {
    case sinks::Answer::unsat: return "s UNSATISFIABLE\n";
    case sinks::Answer::unknown: return "s UNKNOWN\n";
    case sinks::Answer::sat: break;
  }
  std::string out = "s SATISFIABLE\nv";
  for (long v = 1; v <= variables; ++v)
    out += (sink.value(static_cast<bv::BvLit>(v + 1)) ? " " : " -") + std::to_string(v);
  return out + " 0\n";
}

}  // namespace
}  // namespace vell::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using namespace vell;
  // The first byte chooses the form of the file.
  if (size == 0) return -1;
  std::string const text(reinterpret_cast<char const*>(data + 1), size - 1);
  if (fuzz::too_large(text)) return -1;
  std::string const& folder = fuzz::folder();
  fuzz::write_file(folder + "/in.smt2", text);
  cnf::CnfOptions options;
  options.input = folder + "/in.smt2";
  options.output = folder + "/out.cnf";
  options.annotate = (data[0] & 1) != 0;
  options.raw = (data[0] & 2) != 0;
  options.free_division = (data[0] & 4) != 0;
  if ((data[0] & 8) != 0) options.passes = words::Passes::none;
  if ((data[0] & 16) != 0) options.query = 2;
  run::Limits limits;
  fuzz::Deadline const deadline(limits);
  run::Statistics statistics;
  try {
    cnf::write_cnf(options, limits, statistics);
  } catch (Exception const&) {
    return 0;  // refused
  }
  fuzz::write_file(folder + "/solution", fuzz::solve(fuzz::read_file(options.output)));
  try {
    cnf::decode(options.output, folder + "/solution");
  } catch (Exception const& e) {
    fuzz::finding(std::string("not decoded: ") + e.what(), fuzz::read_file(options.output));
  }
  return 0;
}
