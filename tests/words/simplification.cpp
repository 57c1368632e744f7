#include "tests/words/simplification.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "vell/sat/sweep.h"
#include "vell/terms/cone.h"
#include "vell/words/successorcomparisons.h"
#include "vell/words/wordpolynomials.h"

namespace vell::test {

namespace {

using T = Term_ const*;
using Terms = std::vector<T>;
using Column = TruthTable::Column;

run::Tunables const tunables;

std::vector<words::Formula> with_origins(Terms const& terms) {
  std::vector<words::Formula> out;
  for (T t : terms) out.push_back({t, out.size()});
  return out;
}

std::string at(std::size_t row) { return " at assignment " + std::to_string(row); }

// The first row in which the two differ and `where` holds.
std::optional<std::size_t> difference(Column const& a, Column const& b, Column const* where = nullptr) {
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i] != b[i] && (where == nullptr || (*where)[i] != 0)) return i;
  return std::nullopt;
}

// Gives a variable without values some.
void assign_any(TruthTable& table, T variable) {
  if (table.has(variable)) return;
  Column column(table.rows());
  for (std::size_t i = 0; i < column.size(); ++i)
    column[i] = static_cast<TruthTable::Value>(((i + variable->id) * 0x9e3779b97f4a7c15u) >> 45 &
                                               table.mask(variable));
  table.assign(variable, std::move(column));
}

unsigned bits_of_all(TermManager const& tm, Terms const& variables) {
  unsigned bits = 0;
  for (T v : variables) bits += bits_of(tm, v);
  return bits;
}

}  // namespace

std::vector<Pass> const& passes() {
  static std::vector<Pass> const ways = [] {
    std::vector<Pass> out;
    for (words::PassRow const& row : words::passes()) {
      std::string const name = row.name;
      if (row.guarantee == words::Guarantee::equivalent) {
        out.push_back({name, &row, Guarantee::together, false});
        if (!row.first_batch_only) out.push_back({name + "-retractable", &row, Guarantee::each, true});
      }
      if (row.guarantee != words::Guarantee::equivalent)
        out.push_back({name, &row, Guarantee::completed, false});
    }
    return out;
  }();
  return ways;
}

Checked::Checked(TermManager& tm, Case const& c, run::Limits const& limits)
    : tm_(tm), case_(c), limits_(limits), table_(tm, bits_of_all(tm, c.variables), c.free_division, c.salt) {
  unsigned first = 0;
  for (T v : c.variables) {
    table_.assign(v, first);
    first += bits_of(tm, v);
  }
}

std::string Checked::pass(Pass const& pass) {
  changed_ = defined_ = false;
  if (case_.free_division && !pass.row->free_division_too) return "";
  words::Formulas formulas;
  formulas.first = !pass.retractable;
  (pass.retractable ? formulas.retractable : formulas.permanent) = with_origins(case_.formulas);
  (pass.retractable ? formulas.assumed : formulas.retractable) = with_origins(case_.kept);
  pass.row->make({tm_, case_.free_division, limits_, tunables})->apply(formulas);
  Work const work{tm_,
                  case_.free_division,
                  words::terms_of(pass.retractable ? formulas.retractable : formulas.permanent),
                  words::terms_of(pass.retractable ? formulas.assumed : formulas.retractable),
                  formulas.definitions,
                  limits_};
  return outcome(work, pass.guarantee);
}

std::string Checked::outcome(Work const& work, Guarantee guarantee) {
  changed_ = work.formulas != case_.formulas || work.kept != case_.kept;
  defined_ = !work.definitions.empty();
  if (!changed_ && !defined_) return "";
  if (guarantee == Guarantee::completed && defined_) return complete(work, case_.formulas, case_.kept);
  if (defined_) return "definitions where none are promised";
  if (guarantee == Guarantee::each) {
    if (work.formulas.size() != case_.formulas.size()) return "another number of formulas";
    for (std::size_t i = 0; i < work.formulas.size(); ++i)
      if (auto const row = difference(table_.column(case_.formulas[i]), table_.column(work.formulas[i])))
        return "formula " + std::to_string(i) + " changes its value" + at(*row);
  }
  Column const all = table_.conjunction(case_.formulas);
  if (auto const row = difference(all, table_.conjunction(work.formulas)))
    return "the formulas change their value" + at(*row);
  for (std::size_t i = 0; i < work.kept.size(); ++i)
    if (auto const row = difference(table_.column(case_.kept[i]), table_.column(work.kept[i]),
                                    guarantee == Guarantee::each ? nullptr : &all))
      return "formula " + std::to_string(i) + " of those kept changes its value" + at(*row);
  return "";
}

// The variables of the case that are left, and the new ones; false where there are too many for a table.
bool Checked::tabulate(Work const& work, Terms& surviving, Terms& fresh, unsigned& bits) const {
  Terms held = work.formulas;
  for (words::Definition const& d : work.definitions) held.push_back(d.value);
  auto const is_defined = [&](T v) {
    return std::any_of(work.definitions.begin(), work.definitions.end(),
                       [v](auto const& d) { return d.variable == v; });
  };
  for (T v : case_.variables)
    if (!is_defined(v)) surviving.push_back(v);
  for (T v : variables_below_all(tm_, held))
    if (!is_defined(v) && std::find(surviving.begin(), surviving.end(), v) == surviving.end())
      fresh.push_back(v);
  bits = bits_of_all(tm_, surviving) + bits_of_all(tm_, fresh);
  return bits <= TruthTable::max_bits;
}

// Fills the table with the assignments of what is left, and the values that the definitions bring back.
std::string Checked::fill(Work const& work, TruthTable& table) const {
  Terms surviving;
  Terms fresh;
  unsigned bits = 0;
  tabulate(work, surviving, fresh, bits);
  Cone left;
  left.add(work.formulas);
  left.add(work.kept);
  for (words::Definition const& d : work.definitions)
    if (left.contains(d.variable))
      return std::string("the variable ") + d.variable->symbol->name + " is defined and still held";
  unsigned first = 0;
  for (Terms const* variables : {&surviving, &fresh})
    for (T v : *variables) {
      table.assign(v, first);
      first += bits_of(tm_, v);
    }
  for (std::size_t i = work.definitions.size(); i-- > 0;) {
    words::Definition const& d = work.definitions[i];
    if (table.has(d.variable))
      return std::string("the variable ") + d.variable->symbol->name + " is defined twice";
    Column value = table.column(d.value);
    table.assign(d.variable, std::move(value));
  }
  return "";
}

// Whether the models of what is left, completed, are those of the formulas given, and those kept have their
// values there.
std::string Checked::complete(Work const& work, Terms const& formulas, Terms const& kept) {
  Terms surviving;
  Terms fresh;
  unsigned bits = 0;
  if (!tabulate(work, surviving, fresh, bits)) return "";
  TruthTable table(tm_, bits, case_.free_division, case_.salt);
  if (std::string what = fill(work, table); !what.empty()) return what;
  // New variables that nothing holds any more: nothing depends on their values.
  for (Terms const* terms : {&formulas, &work.formulas, &kept, &work.kept})
    for (T v : variables_below_all(tm_, *terms)) assign_any(table, v);
  Column const now = table.conjunction(work.formulas);
  Column const before = table.conjunction(formulas);
  for (std::size_t i = 0; i < now.size(); ++i)
    if (now[i] != 0 && before[i] == 0) return "a completed model is none of the formulas" + at(i);
  for (std::size_t i = 0; i < work.kept.size(); ++i)
    if (auto const row = difference(table.column(kept[i]), table.column(work.kept[i]), &now))
      return "formula " + std::to_string(i) + " of those kept changes its value" + at(*row);

  // What the variables that are left can be.
  std::vector<bool> possible(std::size_t{1} << bits_of_all(tm_, surviving));
  std::vector<bool> still(possible.size());
  for (std::size_t i = 0; i < now.size(); ++i)
    if (now[i] != 0) still[i & (still.size() - 1)] = true;
  Column const models = table_.conjunction(formulas);
  for (std::size_t i = 0; i < models.size(); ++i) {
    if (models[i] == 0) continue;
    std::size_t number = 0;
    unsigned place = 0;
    for (T v : surviving) {
      number |= std::size_t{table_.column(v)[i]} << place;
      place += bits_of(tm_, v);
    }
    possible[number] = true;
  }
  for (std::size_t i = 0; i < still.size(); ++i)
    if (possible[i] != still[i])
      return std::string(possible[i] ? "a model is lost" : "a model is new") +
             ", of the variables that are left" + at(i);
  return "";
}

std::string Checked::solver() {
  words::Simplifier simplifier(tm_, case_.free_division, words::Passes::all, limits_, tunables);
  words::Formulas first_batch;
  first_batch.first = true;
  first_batch.permanent = with_origins(case_.formulas);
  first_batch.retractable = with_origins(case_.kept);
  simplifier.simplify(first_batch);
  Work const work{tm_,
                  case_.free_division,
                  words::terms_of(first_batch.permanent),
                  words::terms_of(first_batch.retractable),
                  first_batch.definitions,
                  limits_};
  if (std::string what = outcome(work, Guarantee::completed); !what.empty()) return "first check: " + what;

  words::Formulas batch;
  batch.permanent = with_origins(case_.permanent);
  batch.retractable = with_origins(case_.passing);
  simplifier.simplify(batch);
  // Variables that the later formulas mention have come back, or stand below terms that must stay: then
  // formulas among the later ones say what they are.
  Terms now = work.formulas;
  Terms const permanent = words::terms_of(batch.permanent);
  Terms const passing = words::terms_of(batch.retractable);
  Cone held;
  held.add(permanent);
  held.add(passing);
  words::Definitions still = simplifier.definitions();
  std::erase_if(still, [&](words::Definition const& d) {
    return d.variable == nullptr || (d.replaced == nullptr && held.contains(d.variable));
  });
  now.insert(now.end(), permanent.begin(), permanent.end());
  Terms before = case_.formulas;
  before.insert(before.end(), case_.permanent.begin(), case_.permanent.end());
  for (std::size_t i = 0; i < passing.size(); ++i) changed_ |= passing[i] != case_.passing[i];
  std::string const what =
      complete({tm_, case_.free_division, now, passing, still, limits_}, before, case_.passing);
  return what.empty() ? "" : "later: " + what;
}

std::string Checked::polynomials() {
  changed_ = defined_ = false;
  words::WordPolynomials polynomials(tm_, case_.free_division, limits_);
  std::vector<std::uint64_t> sum(table_.rows());
  std::vector<std::uint64_t> product(table_.rows());
  for (T t : terms_of(case_)) {
    if (t->symbol->get_output_type() == tm_.bool_type) continue;
    auto const& v = polynomials.value(t);
    std::fill(sum.begin(), sum.end(), 0);
    for (auto const& [monomial, coefficient] : v.p.terms()) {
      // Modulo 2^64: more than any exact value has.
      std::uint64_t const low = mpz_get_ui(coefficient.get_mpz_t());
      std::fill(product.begin(), product.end(), coefficient < 0 ? 0 - low : low);
      for (words::Atom a : monomial) {
        Column const& factor = table_.column(polynomials.term_of(a));
        for (std::size_t i = 0; i < product.size(); ++i) product[i] *= factor[i];
      }
      for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += product[i];
    }
    Column const& value = table_.column(t);
    std::uint64_t const mask = v.exact ? ~std::uint64_t{0} : (std::uint64_t{1} << bits_of(tm_, t)) - 1;
    std::uint64_t const least = v.exact ? v.low.get_ui() : 0;
    std::uint64_t const most = v.exact ? v.high.get_ui() : mask;
    if (v.exact && (v.low < 0 || v.high > 0xffff))
      return "the range of term " + std::to_string(t->id) + " is too large";
    for (std::size_t i = 0; i < sum.size(); ++i) {
      if ((sum[i] & mask) != value[i])
        return "the polynomial of term " + std::to_string(t->id) + " has another value" + at(i);
      if (value[i] < least || value[i] > most)
        return "the value of term " + std::to_string(t->id) + " is out of its range" + at(i);
    }
    changed_ |= v.p.terms().size() > 1;
  }
  return "";
}

std::string Checked::successor_comparisons() {
  changed_ = defined_ = false;
  for (T t : terms_of(case_)) {
    T now = words::replace_successor_comparison(tm_, t);
    if ((now != nullptr) != words::is_successor_comparison(tm_, t))
      return "a comparison with a successor is one and is none";
    if (now == nullptr) continue;
    changed_ = true;
    if (auto const row = difference(table_.column(t), table_.column(now)))
      return "a comparison changes its value" + at(*row);
  }
  return "";
}

std::string Checked::signals() {
  changed_ = defined_ = false;
  if (case_.free_division) return "";
  for (sat::EqualSignals const& s : sat::sweep(tm_, case_.formulas, limits_).equal) {
    changed_ = true;
    Column const& a = table_.column(s.a.term);
    Column const& b = table_.column(s.b.term);
    for (std::size_t i = 0; i < a.size(); ++i)
      if ((((a[i] >> s.a.bit) ^ (b[i] >> s.b.bit)) & 1) != (s.opposite ? 1 : 0))
        return "signals are not equal" + at(i);
  }
  return "";
}

namespace {

// Sweeping runs a SAT solver: one case in so many.
constexpr std::uint64_t cases_for_a_sweep = 64;

struct Check {
  std::string name;
  Pass const* pass;                 // one of the passes, or
  std::string (Checked::*check)();  // a check of its own
  std::string run(Checked& checked) const {
    return pass != nullptr ? checked.pass(*pass) : (checked.*check)();
  }
};

std::vector<Check> const& checks() {
  static std::vector<Check> const all = [] {
    std::vector<Check> out;
    for (Pass const& p : passes()) out.push_back({p.name, &p, nullptr});
    out.push_back({"polynomials", nullptr, &Checked::polynomials});
    out.push_back({"successor-comparisons", nullptr, &Checked::successor_comparisons});
    out.push_back({"solver", nullptr, &Checked::solver});
    out.push_back({"signals", nullptr, &Checked::signals});
    return out;
  }();
  return all;
}

std::string run(TermManager& tm, Case const& c, Check const& check, Tally* tally, std::size_t index) {
  try {
    Checked checked(tm, c);
    std::string what = check.run(checked);
    if (tally != nullptr) {
      tally->changed[index] += checked.changed() ? 1 : 0;
      tally->defined[index] += checked.defined() ? 1 : 0;
    }
    return what;
  } catch (std::exception const& e) {
    return e.what();
  }
}

}  // namespace

bool check_cases(std::uint64_t first, std::uint64_t count, std::string const& only, Tally& tally,
                 Failed& failed, void (*before)(std::uint64_t seed)) {
  tally.names.clear();
  for (Check const& c : checks()) tally.names.push_back(c.name);
  tally.changed.resize(checks().size());
  tally.defined.resize(checks().size());
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    if (before != nullptr) before(seed);
    TermManager tm;
    Case const c = random_case(tm, seed);
    ++tally.cases;
    for (std::size_t i = 0; i < checks().size(); ++i) {
      Check const& check = checks()[i];
      if (!only.empty() && check.name != only) continue;
      if (check.name == "signals" && only.empty() && seed % cases_for_a_sweep != 0) continue;
      std::string const what = run(tm, c, check, &tally, i);
      if (what.empty()) continue;
      Case const small = shrink(tm, c, [&](Case const& s) { return !run(tm, s, check, nullptr, i).empty(); });
      failed = {seed, check.name, run(tm, small, check, nullptr, i), script_of(tm, small)};
      return false;
    }
  }
  return true;
}

}  // namespace vell::test
