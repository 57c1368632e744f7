#include "vell/cubes/cubewriter.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unordered_map>

#include "vell/cnf/query.h"
#include "vell/cubes/cover.h"
#include "vell/cubes/manifest.h"
#include "vell/cubes/weights.h"
#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/run/cleanup.h"
#include "vell/smtlib/syntax.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

// A folder that takes its name when everything is in it.
class NewFolder {
 public:
  explicit NewFolder(std::string name) : name_(std::move(name)) {
    while (name_.size() > 1 && name_.ends_with('/')) name_.pop_back();
    std::error_code ignored;
    bool const empty =
        std::filesystem::is_directory(name_, ignored) && std::filesystem::is_empty(name_, ignored);
    if (std::filesystem::exists(name_, ignored) && !empty)
      throw io::OutputError(name_ + ": it exists, and is no empty folder");
    std::size_t const slash = name_.find_last_of('/');
    std::string const base = slash == std::string::npos ? "." : slash == 0 ? "/" : name_.substr(0, slash);
    if (!run::cleanup::make_folder(base, name_.substr(slash == std::string::npos ? 0 : slash + 1) + ".part",
                                   part_))
      throw io::OutputError(name_ + ": " + std::strerror(errno));
  }
  ~NewFolder() {
    if (!part_.empty()) run::cleanup::remove_folder(part_);
  }
  NewFolder(NewFolder const&) = delete;
  NewFolder& operator=(NewFolder const&) = delete;

  std::string const& path() const { return part_; }
  void commit() {
    mode_t const mask = umask(0);
    umask(mask);
    chmod(part_.c_str(), 0777 & ~mask);
    if (!run::cleanup::keep_folder(part_, name_)) throw io::OutputError(name_ + ": " + std::strerror(errno));
    part_.clear();
  }

 private:
  std::string name_;
  std::string part_;
};

void write_file(std::string const& path, std::string const& text) {
  io::OutputFile file(path);
  file.write(text.data(), text.size());
  file.commit();
}

// Variables of the CNF: the bits of the constants, the heaviest constant first, of each the most significant
// bit first.
std::vector<std::int32_t> candidates(CubeOptions const& options, Formula const& formula,
                                     run::Limits const& limits, run::Statistics& statistics) {
  TermManager tm;
  cnf::Query const query = cnf::read_query(options.cnf, tm, limits, statistics);
  std::unordered_map<std::string, cnf::MapLine const*> lines;
  for (cnf::MapLine const& m : formula.map) lines.emplace(m.symbol, &m);
  std::vector<std::int32_t> out;
  std::vector<bool> taken(static_cast<std::size_t>(formula.variables) + 1);
  for (Term_ const* t : by_weight(tm, query.formulas, limits)) {
    auto const line = lines.find(smtlib::quote_symbol(t->symbol->name));
    if (line == lines.end()) continue;
    std::vector<std::string> const& bits = line->second->bits;
    for (auto bit = bits.rbegin(); bit != bits.rend(); ++bit) {
      int const variable = std::abs(std::atoi(bit->c_str()));  // 0 for T, F and ?
      if (variable == 0 || taken[static_cast<std::size_t>(variable)]) continue;
      taken[static_cast<std::size_t>(variable)] = true;
      out.push_back(variable);
    }
  }
  return out;
}

std::vector<Cube> split(CubeOptions const& options, Formula const& formula, run::Limits const& limits,
                        run::Statistics& statistics) {
  std::vector<std::int32_t> const bits = candidates(options, formula, limits, statistics);
  std::vector<Cube> start = {Cube{}};
  if (options.split == Split::lookahead)
    start = split_by_lookahead(formula, options.count, options.lookahead_steps, limits);
  return split_by_propagation(formula, std::move(start), bits, options.count, limits);
}

void write_icnf(std::string const& path, Formula const& formula, std::vector<Cube> const& cubes) {
  io::OutputFile file(path);
  std::string text = "p inccnf\n";
  auto const line = [&](std::string const& head, std::span<std::int32_t const> literals) {
    std::string const rest = literals_text(literals);
    text += head.empty() ? rest.substr(1) : head + rest;
    text += '\n';
    if (text.size() < std::size_t{1} << 16) return;
    file.write(text.data(), text.size());
    text.clear();
  };
  formula.each([&](std::span<std::int32_t const> clause) { line("", clause); });
  for (Cube const& cube : cubes) line("a", cube);
  file.write(text.data(), text.size());
  file.commit();
}

}  // namespace

std::size_t write_cubes(CubeOptions const& given, run::Limits const& limits, run::Statistics& statistics) {
  CubeOptions options = given;
  if (options.cnf.input == "-")
    throw Exception("cubes reads a script more than once: give it a file, not standard input");
  std::string const before = io::input_digest(options.cnf.input);
  NewFolder folder(options.folder);
  Manifest manifest;
  manifest.folder = folder.path();
  manifest.query = options.cnf.query;
  manifest.free_division = options.cnf.free_division;
  manifest.split = options.split == Split::words ? "words" : "lookahead";

  options.cnf.output = manifest.cnf();
  options.cnf.symbols = "*";
  cnf::write_cnf(options.cnf, limits, statistics);
  Formula const formula = read_formula(manifest.cnf());
  statistics.enter(run::Phase::solving);
  manifest.variables = formula.variables;
  manifest.cubes = split(options, formula, limits, statistics);
  if (!cover_everything(manifest.cubes, limits))
    throw Exception("internal error: the cubes do not cover every assignment");

  statistics.enter(run::Phase::writing);
  manifest.script = "script" + std::filesystem::path(options.cnf.input).extension().string();
  std::error_code error;
  std::filesystem::copy_file(options.cnf.input, manifest.path(manifest.script), error);
  if (error) throw io::OutputError(options.folder + ": " + error.message());
  manifest.script_hash = io::input_digest(manifest.path(manifest.script));
  if (manifest.script_hash != before) throw Exception(options.cnf.input + ": it changed while it was read");
  manifest.cnf_hash = io::input_digest(manifest.cnf());
  write_icnf(manifest.path("cubes.icnf"), formula, manifest.cubes);
  manifest.icnf_hash = io::input_digest(manifest.path("cubes.icnf"));
  for (std::size_t k = 1; k <= manifest.count(); ++k) {
    limits.check();
    std::string const text = cube_text(manifest, k);
    write_file(manifest.cube(k), text);
    manifest.cube_hashes.push_back(io::text_digest(text));
  }
  write_manifest(manifest);
  limits.check();
  folder.commit();
  return manifest.count();
}

}  // namespace vell::cubes
