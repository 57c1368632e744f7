#include "vell/cubes/cubesolver.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

#include "vell/cubes/verdict.h"
#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/run/cleanup.h"
#include "vell/run/tunables.h"
#include "vell/sat/solvers.h"
#include "vell/sinks/solversink.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

// A file of its own name until it is kept, for a program that writes it.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string const& final_name)
      : final_(final_name), name_(final_name + ".part-XXXXXX") {
    int const fd = run::cleanup::make_file(name_);
    if (fd < 0) throw io::OutputError(final_ + ": " + std::strerror(errno));
    close(fd);
  }
  ~TemporaryFile() {
    if (!kept_) run::cleanup::remove_file(name_);
  }
  TemporaryFile(TemporaryFile const&) = delete;
  TemporaryFile& operator=(TemporaryFile const&) = delete;

  std::string const& name() const { return name_; }
  void keep() {
    if (!run::cleanup::keep_file(name_, final_)) throw io::OutputError(final_ + ": " + std::strerror(errno));
    kept_ = true;
  }

 private:
  std::string final_;
  std::string name_;
  bool kept_ = false;
};

// A literal of DIMACS as the sink has it.
bv::BvLit of_sink(std::int32_t l) { return l > 0 ? l + 1 : l - 1; }

void check_model(Formula const& formula, Cube const& cube, std::vector<std::int32_t> const& values) {
  auto const holds = [&](std::int32_t l) { return values[static_cast<std::size_t>(std::abs(l)) - 1] == l; };
  bool good = std::all_of(cube.begin(), cube.end(), holds);
  formula.each([&](std::span<std::int32_t const> clause) {
    good = good && std::any_of(clause.begin(), clause.end(), holds);
  });
  if (!good) throw Exception("the solver's values do not satisfy the clauses and the cube");
}

sinks::Answer answer_of(Verdict const& verdict) {
  return verdict.sat ? sinks::Answer::sat : sinks::Answer::unsat;
}

// The verdict that is there, if it will do.
std::optional<Verdict> found(Manifest const& manifest, CubeSolverOptions const& options) {
  try {
    std::optional<Verdict> verdict = read_verdict(manifest, options.cube);
    bool const proved = verdict && (verdict->sat || !verdict->proof_hash.empty());
    return !options.proof || proved ? verdict : std::nullopt;
  } catch (Exception const&) {
    return std::nullopt;
  }
}

}  // namespace

sinks::Answer solve_cube(CubeSolverOptions const& options, run::Limits const& limits,
                         run::Statistics& statistics) {
  using sinks::Answer;
  Manifest const manifest = read_manifest(options.folder);
  std::size_t const k = options.cube;
  if (k == 0 || k > manifest.count())
    throw Exception(options.folder + ": cube " + std::to_string(k) + " of " +
                    std::to_string(manifest.count()));
  if (std::optional<Verdict> const verdict = found(manifest, options)) return answer_of(*verdict);
  manifest.check_cube(k);
  manifest.check_cnf();
  Formula const formula = read_formula(manifest.cnf());
  if (formula.variables != manifest.variables)
    throw Exception(manifest.path("manifest.json") +
                    ": broken: another number of variables than the CNF has");
  Cube const& cube = manifest.cubes[k - 1];

  statistics.enter(run::Phase::solving);
  run::Tunables const tunables;
  std::optional<TemporaryFile> proof;
  if (options.proof) proof.emplace(manifest.path(manifest.proof_name(k)));
  sat::SolverOptions o;
  o.seed = options.seed;
  o.command = options.command;
  o.ipasir = options.ipasir;
  if (proof) o.proof = proof->name();
  auto const solver = std::make_unique<sinks::SolverSink>(sat::make_solver(o, limits, tunables));
  for (std::int32_t v = 1; v <= formula.variables; ++v) solver->new_lit();
  formula.each([&](std::span<std::int32_t const> clause) {
    solver->lits.clear();
    for (std::int32_t l : clause) solver->lits.push_back(of_sink(l));
    solver->add_clause();
  });
  for (std::int32_t l : cube) solver->add_clause({of_sink(l)});
  limits.check();
  solver->set_terminate([&] { return limits.stopped(); });
  sinks::Effort effort;
  if (options.conflict_limit != 0) effort.conflicts = options.conflict_limit;
  Answer const answer = solver->solve({}, effort);
  limits.check();
  if (answer == Answer::unknown) return answer;

  Verdict verdict;
  verdict.sat = answer == Answer::sat;
  if (verdict.sat) {
    for (std::int32_t v = 1; v <= formula.variables; ++v)
      verdict.values.push_back(solver->value(of_sink(v)) ? v : -v);
    check_model(formula, cube, verdict.values);
  } else if (proof) {
    verdict.proof_hash = io::input_digest(proof->name());
    proof->keep();
  }
  write_verdict(manifest, k, verdict);
  return answer;
}

}  // namespace vell::cubes
