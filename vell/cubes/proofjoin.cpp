// A proof of F and a cube becomes a part of a proof of F: each lemma gets the cube's negation as further
// literals, behind its own. What followed by unit propagation under the cube follows now: the negation of the
// longer lemma makes the cube true first. So does what followed by resolution on the first literal, unless
// the cube or a clause that was deleted has to do with it, which no proof of the embedded solver does. The
// part ends with the cube's negation, and the lemmas are deleted. Clauses of F are never deleted, since the
// next part needs them. At the end stand the negations of all cubes, and the proof that these are
// unsatisfiable together.

#include "vell/cubes/proofjoin.h"

#include <unistd.h>

#include <cstdlib>
#include <map>

#include "vell/cnf/dimacsreader.h"
#include "vell/cubes/cover.h"
#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/run/cleanup.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

// A folder for the proof that the cubes cover everything.
class Place {
 public:
  Place() {
    char const* base = std::getenv("TMPDIR");
    if (!run::cleanup::make_folder(base != nullptr && *base != '\0' ? base : "/tmp", "vell-bv", name_))
      throw io::OutputError(name_ + ": a temporary folder cannot be made");
  }
  ~Place() { run::cleanup::remove_folder(name_); }
  Place(Place const&) = delete;
  Place& operator=(Place const&) = delete;
  std::string file() const { return name_ + "/cover.drat"; }

 private:
  std::string name_;
};

class Joiner {
 public:
  Joiner(Manifest const& manifest, std::string const& path, run::Limits const& limits)
      : manifest_(manifest), limits_(limits), out_(path) {}

  void add_part(std::size_t k) {
    Cube negation;
    for (std::int32_t l : manifest_.cubes[k - 1]) negation.push_back(-l);
    copy(manifest_.path(manifest_.proof_name(k)), negation);
    write("", negation);
    // A lemma stays alive as often as it was added and not deleted.
    for (auto const& [lemma, times] : alive_)
      for (std::size_t i = 0; i < times; ++i) write("d ", lemma);
    alive_.clear();
  }

  void finish() {
    Place const place;
    if (!prove_cover(manifest_.cubes, place.file(), limits_))
      throw Exception(manifest_.folder + ": the cubes leave assignments out");
    copy(place.file(), {});
    write("", {});
    out_.write(text_.data(), text_.size());
    limits_.check();
    out_.commit();
  }

 private:
  // The proof's lemmas with the further literals, and the deletions of those.
  void copy(std::string const& path, Cube const& more) {
    cnf::Lines lines(path);
    for (std::string_view line; lines.next(line);) {
      limits_.check();
      bool const deletion = line.starts_with("d ");
      if (deletion) line.remove_prefix(2);
      Cube lemma;
      std::int64_t l = 0;
      bool ended = false;
      while (lines.take_number(line, l)) {
        if (ended || l < -INT32_MAX || l > INT32_MAX) lines.refuse("no line of a DRAT proof");
        ended = l == 0;
        if (!ended) lemma.push_back(static_cast<std::int32_t>(l));
      }
      if (!ended && lemma.empty()) continue;
      if (!ended) lines.refuse("a line of a proof without a 0 at its end");
      lemma.insert(lemma.end(), more.begin(), more.end());
      Cube key = lemma;
      std::sort(key.begin(), key.end());
      if (!deletion) {
        ++alive_[std::move(key)];
        write("", lemma);
        continue;
      }
      auto const found = alive_.find(key);
      if (found == alive_.end()) continue;  // a clause of the formula
      if (--found->second == 0) alive_.erase(found);
      write("d ", lemma);
    }
  }

  void write(char const* head, Cube const& literals) {
    text_ += head + literals_text(literals).substr(1) + "\n";
    if (text_.size() < std::size_t{1} << 16) return;
    out_.write(text_.data(), text_.size());
    text_.clear();
  }

  Manifest const& manifest_;
  run::Limits const& limits_;
  io::OutputFile out_;
  std::string text_;
  std::map<Cube, std::size_t> alive_;  // lemmas of the part, their literals sorted, and how often each
};

}  // namespace

void join_proofs(Manifest const& manifest, std::vector<std::string> const& hashes, std::string const& path,
                 run::Limits const& limits) {
  for (std::size_t k = 1; k <= manifest.count(); ++k) {
    std::string const name = manifest.path(manifest.proof_name(k));
    if (access(name.c_str(), R_OK) != 0 || io::input_digest(name) != hashes.at(k - 1))
      throw Exception(name + ": it is not the proof that the verdict names");
  }
  Joiner joiner(manifest, path, limits);
  for (std::size_t k = 1; k <= manifest.count(); ++k) joiner.add_part(k);
  joiner.finish();
}

}  // namespace vell::cubes
