#include "vell/report/profile.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "vell/cnf/observation.h"
#include "vell/cnf/translation.h"
#include "vell/report/cones.h"
#include "vell/run/limittest.h"
#include "vell/terms/cone.h"
#include "vell/terms/operators.h"
#include "vell/values/evaluator.h"

namespace vell::report {

namespace {

// Counts for each term what its handler did to the sink.
class Meter : public cnf::TranslationObserver {
 public:
  Meter(Profile& profile, CostSink const& sink) : profile_(profile), sink_(sink) {}

  void begin_root(std::size_t i) override {
    settle_unit();
    root_ = i;
  }
  void before(Term_ const*) override { at_ = sink_.total(); }
  void after(Term_ const* term, bv::BvLitList const&, bool) override {
    TermCost cost;
    cost.term = term;
    cost.own = sink_.total();
    cost.own -= at_;
    cost.root = static_cast<std::uint32_t>(root_);
    profile_.roots[root_].cost += cost.own;
    ++profile_.roots[root_].terms;
    profile_.terms.push_back(cost);
  }
  void end_root(std::size_t, bv::BvLit) override {
    at_ = sink_.total();
    unit_pending_ = true;
  }
  // The unit clause of the formula that was translated last.
  void settle_unit() {
    if (!unit_pending_) return;
    unit_pending_ = false;
    Cost unit = sink_.total();
    unit -= at_;
    profile_.roots[root_].cost += unit;
    profile_.units += unit;
  }

 private:
  Profile& profile_;
  CostSink const& sink_;
  Cost at_;
  std::size_t root_ = 0;
  bool unit_pending_ = false;
};

// The size of the formulas around each pass that replaces something.
class Steps : public words::StepObserver {
 public:
  Steps(Profile& profile, cnf::CnfOptions const& options, run::Limits const& limits)
      : profile_(profile), options_(options), limits_(limits) {}

  void given(words::Formulas& formulas) override { now_ = profile_.given = size_of(formulas); }
  void ran(std::size_t pass, std::uint64_t replaced, double seconds, words::Formulas& formulas) override {
    if (replaced == 0) return;
    FormulasSize const before = now_;
    now_ = size_of(formulas);
    profile_.steps.push_back({words::passes()[pass].name, replaced, seconds, before, now_});
  }

 private:
  FormulasSize size_of(words::Formulas& formulas) {
    cnf::Query query;
    formulas.each([&](words::Formula const& f) {
      query.formulas.push_back(f.term);
      query.positions.emplace_back();
    });
    FormulasSize size;
    size.formulas = query.formulas.size();
    cnf::Translation const translation(query, *profile_.tm, options_.input);
    size.terms = translation.terms().size();
    Configuration::Theory::Bv config{options_.free_division ? 1 : 0};
    sat::ScriptClausifier clausifier(profile_.tm.get(), &config);
    run::Statistics unused;
    run::LimitTest const test(limits_, unused, [] {});
    clausifier.set_termination_test(&test);
    CostSink sink;
    try {
      translation.run(clausifier, sink);
      size.clauses = sink.total().clauses;
    } catch (run::Stopped const&) {
      throw;
    } catch (Exception const&) {
      // A term that is not supported; a later pass may drop it.
    }
    return size;
  }

  Profile& profile_;
  cnf::CnfOptions const& options_;
  run::Limits const& limits_;
  FormulasSize now_;
};

std::string base_name(std::string const& path) {
  return path == "-" ? "<stdin>" : path.substr(path.find_last_of('/') + 1);
}

// What the file calls a variable that was eliminated, or a term that stays for its name.
std::string name_of(cnf::Query const& query, Term_ const* defined) {
  if (auto const found = query.auxiliary_names.find(defined); found != query.auxiliary_names.end())
    return found->second;
  for (std::size_t i = 0; i < query.name_terms.size(); ++i)
    if (query.name_terms[i] == defined) return query.names[i].name;
  return defined->symbol->name;
}

void list_roots(Profile& profile) {
  cnf::Query const& query = profile.query;
  for (std::size_t i = 0; i < query.formulas.size(); ++i) {
    RootCost root;
    root.term = query.formulas[i];
    root.line = query.positions[i].line;
    root.name = query.labels[i];
    profile.roots.push_back(std::move(root));
  }
  for (words::Definition const& d : query.definitions) {
    RootCost root;
    root.term = d.value;
    root.name = name_of(query, d.variable);
    root.is_definition = true;
    profile.roots.push_back(std::move(root));
  }
}

// Who uses whom, from the terms in their order.
void link(Profile& profile) {
  profile.places_.assign(profile.tm->term_count() + 1, 0);
  for (std::size_t k = 0; k < profile.terms.size(); ++k)
    profile.places_[profile.terms[k].term->id] = static_cast<std::uint32_t>(k + 1);
  for (std::size_t k = 0; k < profile.terms.size(); ++k) {
    Term_ const* term = profile.terms[k].term;
    for (std::uint64_t i = 0; i < term->symbol->arity; ++i) {
      std::size_t const c = profile.index_of(term->children[i]);
      if (c == Profile::npos) continue;
      TermCost& child = profile.terms[c];
      ++child.uses;
      if (child.parent == 0) child.parent = static_cast<std::uint32_t>(k + 1);
    }
  }
  // A root that a later root has as an argument belongs to the earlier one.
  for (RootCost const& root : profile.roots)
    if (std::size_t const k = profile.index_of(root.term); k != Profile::npos) ++profile.terms[k].uses;
  for (TermCost& t : profile.terms)
    if (t.parent != 0 && profile.terms[t.parent - 1].root != t.root) t.parent = 0;
}

void sum_operators(Profile& profile) {
  std::map<std::pair<std::string, std::uint64_t>, OperatorCost> sums;
  for (TermCost const& t : profile.terms) {
    std::string const name = operator_name_of(*profile.tm, t.term);
    std::uint64_t const width = operator_width_of(*profile.tm, t.term);
    OperatorCost& sum = sums[{name, width}];
    sum.name = name;
    sum.width = width;
    ++sum.terms;
    sum.cost += t.own;
  }
  for (auto& [key, sum] : sums) profile.operators.push_back(std::move(sum));
  std::stable_sort(profile.operators.begin(), profile.operators.end(),
                   [](OperatorCost const& a, OperatorCost const& b) {
                     return std::pair(a.cost.clauses, a.cost.fresh) > std::pair(b.cost.clauses, b.cost.fresh);
                   });
}

void sum_roots(Profile& profile, run::Limits const& limits) {
  std::vector<std::size_t> places;
  for (RootCost const& root : profile.roots) places.push_back(profile.index_of(root.term));
  std::vector<Cost> const costs = cumulative(profile, places, limits);
  for (std::size_t i = 0; i < costs.size(); ++i) profile.roots[i].cumulative = costs[i];
}

}  // namespace

std::string operator_name_of(TermManager const& tm, Term_ const* term) {
  if (tm.is_number(term->symbol)) return "numeral";
  SymbolTag::tag const tag = term->symbol->tag();
  if (tag != SymbolTag::none) return operator_name(tag);
  return term->symbol->role() == Symbol::Role::uninterpreted ? "variable" : term->symbol->name;
}

std::uint64_t operator_width_of(TermManager const& tm, Term_ const* term) {
  Type const* type = term->symbol->get_output_type();
  SymbolTag::tag const tag = term->symbol->tag();
  bool const chooses = tag == SymbolTag::bool_ite;
  if (type == tm.bool_type && term->symbol->arity != 0 && !chooses)
    type = term->children[0]->symbol->get_output_type();
  return values::value_width(tm, type);
}

std::vector<std::size_t> most_expensive(Profile const& profile, std::size_t count) {
  std::vector<std::size_t> places(profile.terms.size());
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = i;
  auto const more = [&](std::size_t a, std::size_t b) {
    Cost const& x = profile.terms[a].own;
    Cost const& y = profile.terms[b].own;
    return std::tuple(x.clauses, x.literals, x.fresh, b) > std::tuple(y.clauses, y.literals, y.fresh, a);
  };
  count = std::min(count, places.size());
  std::partial_sort(places.begin(), places.begin() + static_cast<std::ptrdiff_t>(count), places.end(), more);
  places.resize(count);
  return places;
}

Profile measure(cnf::CnfOptions const& options, run::Limits const& limits, run::Statistics& statistics) {
  Profile profile;
  profile.tm = std::make_unique<TermManager>();
  Steps steps(profile, options, limits);
  profile.query = cnf::read_query(options, *profile.tm, limits, statistics, &steps);
  profile.input = base_name(options.input);
  profile.number = options.query;
  profile.words = words::passes_text(profile.query.passes);
  statistics.enter(run::Phase::clausifying);
  list_roots(profile);

  CostSink sink;
  Meter meter(profile, sink);
  Configuration::Theory::Bv config{options.free_division ? 1 : 0};
  cnf::Translation const translation(profile.query, *profile.tm, options.input);
  profile.terms.reserve(translation.terms().size());
  cnf::ObservedClausifier clausifier(profile.tm.get(), &config, meter);
  auto const report = [&] {
    statistics.fresh_literals = sink.total().fresh;
    statistics.clauses = sink.total().clauses;
    statistics.literals = sink.total().literals;
  };
  run::LimitTest const test(limits, statistics, report);
  clausifier.set_termination_test(&test);
  translation.run(clausifier, sink, &meter);
  meter.settle_unit();
  report();
  profile.total = sink.total();

  link(profile);
  sum_operators(profile);
  sum_roots(profile, limits);
  return profile;
}

}  // namespace vell::report
