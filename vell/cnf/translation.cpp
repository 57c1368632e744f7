#include "vell/cnf/translation.h"

#include "vell/bv/inspector.h"
#include "vell/io/outputfile.h"
#include "vell/run/limits.h"

namespace vell::cnf {

Translation::Translation(Query const& query, TermManager& tm, std::string const& input)
    : query_(query),
      file_(input == "-" ? "<stdin>" : input),
      roots_(roots_of(query)),
      schedule_(schedule_of(query, tm, roots_)) {}

std::vector<Term_ const*> Translation::roots_of(Query const& query) {
  std::vector<Term_ const*> roots = query.formulas;
  for (words::Definition const& d : query.definitions) roots.push_back(d.value);
  return roots;
}

bv::Schedule Translation::schedule_of(Query const& query, TermManager& tm,
                                      std::vector<Term_ const*> const& roots) {
  sat::ScriptClausifier const clausifier(&tm, nullptr);
  // Map lines ask for the bits of these at the end.
  std::vector<Term_ const*> kept = query.constants;
  for (words::Definition const& d : query.definitions) kept.push_back(d.value);
  kept.insert(kept.end(), query.auxiliary.begin(), query.auxiliary.end());
  kept.insert(kept.end(), query.name_terms.begin(), query.name_terms.end());
  return {bv::WordClausifierInspector(clausifier).hooks(), tm.term_count(), roots, kept};
}

void Translation::run(bv::WordClausifier& clausifier, bv::ClauseSink& sink, TranslationObserver* observer,
                      bool traced) const {
  for (std::size_t i = 0; i < roots_.size(); ++i) {
    bool const is_formula = i < query_.formulas.size();
    if (observer != nullptr) observer->begin_root(i);
    bv::BvLit literal = bv::l_undef;
    try {
      literal = traced ? clausifier.bit_blast(roots_[i], &sink) : schedule_.translate(i, clausifier, &sink);
    } catch (run::Stopped const&) {
      throw;
    } catch (io::OutputError const&) {
      throw;
    } catch (Exception const& e) {
      if (!is_formula) throw;
      throw io::Error(file_, query_.positions[i], e.what());
    }
    if (observer != nullptr) observer->end_root(i, literal);
    if (!is_formula) continue;
    sink.lits.assign(1, literal);
    sink.add_clause();
  }
}

}  // namespace vell::cnf
