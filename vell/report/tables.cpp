#include "vell/report/tables.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

#include "vell/report/cones.h"
#include "vell/report/texttable.h"
#include "vell/smtlib/termprinter.h"

namespace vell::report {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t longest_text = 60;

std::vector<std::string> row_of(std::string name, std::uint64_t terms, Cost const& cost, Cost const& total,
                                std::vector<std::string> const& more = {}) {
  std::vector<std::string> row{
      std::move(name),           with_commas(terms),         with_commas(cost.fresh),
      with_commas(cost.clauses), with_commas(cost.literals), percent(cost.clauses, total.clauses)};
  row.insert(row.end(), more.begin(), more.end());
  return row;
}

std::string title_of(RootCost const& root) {
  std::string out = root.is_definition ? "value of " + root.name : "line " + std::to_string(root.line);
  if (!root.is_definition && !root.name.empty()) out += " " + root.name;
  return printable(out);
}

std::string operator_table(Profile const& profile) {
  TextTable table({"operator", "width", "terms", "variables", "clauses", "literals", "share", ""});
  for (OperatorCost const& o : profile.operators) {
    std::vector<std::string> row = row_of(printable(o.name), o.terms, o.cost, profile.total);
    row.insert(row.begin() + 1, std::to_string(o.width));
    row.emplace_back();
    table.add(std::move(row));
  }
  if (profile.units.clauses != 0)
    table.add({"unit clauses", "", "", "0", with_commas(profile.units.clauses),
               with_commas(profile.units.literals), percent(profile.units.clauses, profile.total.clauses),
               ""});
  return table.text();
}

std::string assertion_table(Profile const& profile, std::size_t top) {
  std::vector<RootCost const*> roots;
  for (RootCost const& r : profile.roots) roots.push_back(&r);
  std::stable_sort(roots.begin(), roots.end(),
                   [](RootCost const* a, RootCost const* b) { return a->cost.clauses > b->cost.clauses; });
  TextTable table(
      {"assertion", "terms", "variables", "clauses", "literals", "share", "with shared", "formula"});
  for (std::size_t i = 0; i < roots.size() && i < top; ++i) {
    RootCost const& r = *roots[i];
    table.add(row_of(title_of(r), r.terms, r.cost, profile.total,
                     {with_commas(r.cumulative.clauses),
                      printable(smtlib::short_text(*profile.tm, r.term, longest_text))}));
  }
  std::string out = table.text();
  if (roots.size() > top) out += "and " + with_commas(roots.size() - top) + " more\n";
  return out;
}

std::string term_table(Profile const& profile, std::size_t top, run::Limits const& limits) {
  std::vector<std::size_t> const places = most_expensive(profile, top);
  std::vector<Cost> const cones = cumulative(profile, places, limits);
  TextTable table({"term", "line", "variables", "clauses", "literals", "share", "cumulative", "text"});
  for (std::size_t i = 0; i < places.size(); ++i) {
    TermCost const& t = profile.terms[places[i]];
    if (t.own.clauses == 0 && i > 0) break;
    std::uint64_t const line = profile.roots[t.root].line;
    table.add({"#" + std::to_string(t.term->id), line == 0 ? "-" : std::to_string(line),
               with_commas(t.own.fresh), with_commas(t.own.clauses), with_commas(t.own.literals),
               percent(t.own.clauses, profile.total.clauses), with_commas(cones[i].clauses),
               printable(smtlib::short_text(*profile.tm, t.term, longest_text))});
  }
  return table.text();
}

std::string clauses_text(FormulasSize const& size) { return size.clauses ? with_commas(*size.clauses) : "?"; }

std::string pass_table(Profile const& profile) {
  TextTable table({"pass", "replaced", "ms", "formulas", "after", "terms", "after", "clauses", "after", ""});
  for (Step const& s : profile.steps) {
    char ms[32];
    std::snprintf(ms, sizeof ms, "%.1f", s.seconds * 1000);
    table.add({s.pass, with_commas(s.replaced), ms, with_commas(s.before.formulas),
               with_commas(s.after.formulas), with_commas(s.before.terms), with_commas(s.after.terms),
               clauses_text(s.before), clauses_text(s.after), ""});
  }
  return table.text();
}

// "+12" or "-3"; "0" for no difference.
std::string signed_text(std::uint64_t before, std::uint64_t after) {
  return before == after  ? "0"
         : before < after ? "+" + with_commas(after - before)
                          : "-" + with_commas(before - after);
}

struct Counts {
  std::uint64_t terms = 0, variables = 0, clauses = 0, literals = 0;
  bool operator==(Counts const&) const = default;
  void add(Json const& row) {
    terms += row.at("terms").get<std::uint64_t>();
    variables += row.at("variables").get<std::uint64_t>();
    clauses += row.at("clauses").get<std::uint64_t>();
    literals += row.at("literals").get<std::uint64_t>();
  }
};

using Change = std::pair<Counts, Counts>;  // before, after

// The rows that differ, those whose clauses do so the most first.
std::string change_table(std::string const& title, std::map<std::string, Change> const& changes,
                         std::size_t top) {
  std::vector<std::pair<std::string, Change>> rows;
  for (auto const& [name, change] : changes)
    if (change.first != change.second) rows.emplace_back(name, change);
  if (rows.empty()) return "no difference\n";
  auto const distance = [](Change const& c) {
    return c.first.clauses < c.second.clauses ? c.second.clauses - c.first.clauses
                                              : c.first.clauses - c.second.clauses;
  };
  std::stable_sort(rows.begin(), rows.end(),
                   [&](auto const& a, auto const& b) { return distance(a.second) > distance(b.second); });
  TextTable table({title, "terms", "variables", "clauses", "before", "after", "literals", ""});
  for (std::size_t i = 0; i < rows.size() && i < top; ++i) {
    auto const& [before, after] = rows[i].second;
    table.add({rows[i].first, signed_text(before.terms, after.terms),
               signed_text(before.variables, after.variables), signed_text(before.clauses, after.clauses),
               with_commas(before.clauses), with_commas(after.clauses),
               signed_text(before.literals, after.literals), ""});
  }
  std::string out = table.text();
  if (rows.size() > top) out += "and " + with_commas(rows.size() - top) + " more\n";
  return out;
}

std::string operator_key(Json const& row) {
  return printable(row.at("name").get<std::string>()) + " " + row.at("width").dump();
}

std::string assertion_key(Json const& row) {
  std::string const name = row.at("name").get<std::string>();
  if (row.at("kind").get<std::string>() == "definition") return printable("value of " + name);
  if (!name.empty()) return printable(name);
  return "line " + row.at("line").dump();
}

}  // namespace

std::string tables(Profile const& profile, std::size_t top, run::Limits const& limits) {
  std::string out = printable(profile.input) + ", query " +
                    std::to_string(profile.number == 0 ? 1 : profile.number) + ", words " + profile.words +
                    "\n";
  out += with_commas(profile.terms.size()) + " terms, " + with_commas(profile.total.fresh) + " variables, " +
         with_commas(profile.total.clauses) + " clauses, " + with_commas(profile.total.literals) +
         " literals\n";
  out += "\nBy operator and width\n\n" + operator_table(profile);
  out +=
      "\nBy assertion (a term that several share belongs to the first)\n\n" + assertion_table(profile, top);
  out +=
      "\nBy term (cumulative: with everything below, each term once)\n\n" + term_table(profile, top, limits);
  out += "\nBy pass on words (those that replaced something)\n\n";
  if (profile.steps.empty())
    out += "none: " + with_commas(profile.given.terms) + " terms, " + clauses_text(profile.given) +
           " clauses as they were read\n";
  else
    out += pass_table(profile);
  return out;
}

std::string difference(Json const& before, Json const& after, std::size_t top) {
  std::map<std::string, Change> total;
  std::map<std::string, Change> operators;
  std::map<std::string, Change> assertions;
  total["all"].first.add(before.at("total"));
  total["all"].second.add(after.at("total"));
  for (Json const& row : before.at("operators")) operators[operator_key(row)].first.add(row);
  for (Json const& row : after.at("operators")) operators[operator_key(row)].second.add(row);
  for (Json const& row : before.at("assertions")) assertions[assertion_key(row)].first.add(row);
  for (Json const& row : after.at("assertions")) assertions[assertion_key(row)].second.add(row);
  auto const name = [](Json const& j) {
    return printable(j.at("input").get<std::string>()) + ", words " +
           printable(j.at("words").get<std::string>());
  };
  return "from  " + name(before) + "\nto    " + name(after) + "\n\n" + change_table("total", total, 1) +
         "\n" + change_table("operator", operators, static_cast<std::size_t>(-1)) + "\n" +
         change_table("assertion", assertions, top);
}

}  // namespace vell::report
