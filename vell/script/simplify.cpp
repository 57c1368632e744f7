#include "vell/script/simplify.h"

#include <unordered_map>
#include <vector>

#include "vell/script/border.h"
#include "vell/script/controlparts.h"
#include "vell/words/simplifier.h"

namespace vell::script {

Simplified simplify(TermManager& terms, std::span<Term_ const* const> formulas, Options const& options,
                    Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    work.statistics().enter(run::Phase::clausifying);
    words::Formulas batch;
    batch.first = batch.substitute_only = true;
    for (std::size_t i = 0; i < formulas.size(); ++i) batch.permanent.push_back({formulas[i], i});
    run::Tunables const tunables = tunables_of(options);
    words::Simplifier simplifier(terms, options.free_division, passes_of(options), work.limits(), tunables);
    simplifier.simplify(batch);
    simplifier.report(work.statistics());
    Simplified out;
    out.formulas = words::terms_of(batch.permanent);
    std::unordered_map<Term_ const*, Term_ const*> values;
    for (words::Definition const& d : simplifier.definitions()) values[d.variable] = d.value;
    for (std::vector<fp::StandIn> const* list :
         {&simplifier.lowering().variables(), &simplifier.lowering().open_values()})
      for (fp::StandIn const& s : *list) {
        auto const value = values.find(s.word);
        out.definitions.push_back({s.term, value == values.end() ? s.word : value->second});
      }
    for (words::Definition const& d : simplifier.definitions())
      out.definitions.push_back({d.variable, d.value});
    return out;
  });
}

}  // namespace vell::script
