#include "vell/cubes/join.h"

#include <optional>
#include <string_view>

#include "vell/cnf/decoder.h"
#include "vell/cubes/cover.h"
#include "vell/cubes/manifest.h"
#include "vell/cubes/proofjoin.h"
#include "vell/cubes/verdict.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

// The text of the model in the verdict on cube k, checked. A script whose quotients by zero are left open is
// not evaluated: the CNF has no values of these.
std::string checked_model(Manifest const& manifest, std::size_t k, JoinOptions const& options) {
  manifest.check_script();
  cnf::DecodedScript script;
  if (!manifest.free_division) script = {manifest.path(manifest.script), manifest.query};
  std::string const text = cnf::decode(manifest.cnf(), manifest.verdict(k), options.word_format, script);
  constexpr std::string_view sat = "sat\n";
  if (!text.starts_with(sat)) throw Exception(manifest.verdict(k) + ": no model");
  return text.substr(sat.size());
}

}  // namespace

Joined join(JoinOptions const& options, run::Limits const& limits) {
  Manifest const manifest = read_manifest(options.folder);
  manifest.check_cnf();
  Joined out;
  out.cubes = manifest.count();
  std::vector<std::string> proofs;
  for (std::size_t k = 1; k <= manifest.count(); ++k) {
    limits.check();
    std::optional<Verdict> verdict;
    try {
      verdict = read_verdict(manifest, k);
    } catch (Exception const& e) {
      out.refused.emplace_back(e.what());
    }
    if (!verdict) {
      out.missing.push_back(k);
      continue;
    }
    if (verdict->sat) {
      out.model = checked_model(manifest, k, options);
      out.answer = sinks::Answer::sat;
      return out;
    }
    if (!options.proof.empty() && verdict->proof_hash.empty()) {
      out.missing.push_back(k);
      out.refused.push_back(manifest.verdict(k) + ": a verdict without a proof");
    }
    proofs.push_back(verdict->proof_hash);
  }
  if (!out.missing.empty()) return out;
  for (std::size_t k = 1; k <= manifest.count(); ++k) manifest.check_cube(k);
  if (!cover_everything(manifest.cubes, limits))
    throw Exception(manifest.path("manifest.json") + ": the cubes leave assignments out");
  if (!options.proof.empty()) join_proofs(manifest, proofs, options.proof, limits);
  out.answer = sinks::Answer::unsat;
  return out;
}

std::string ranges_text(std::vector<std::size_t> const& numbers) {
  std::string out;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    out += (out.empty() ? "" : ", ") + std::to_string(numbers[i]);
    if (last != i) out += "-" + std::to_string(numbers[last]);
    i = last + 1;
  }
  return out;
}

}  // namespace vell::cubes
