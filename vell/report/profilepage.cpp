#include "vell/report/profilepage.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <queue>
#include <set>
#include <unordered_map>

#include "vell/report/cones.h"
#include "vell/report/pages.h"
#include "vell/smtlib/termprinter.h"

namespace vell::report {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t longest_text = 90;

class Page {
 public:
  Page(Profile const& profile, std::string_view script, run::Limits const& limits, PageLimits const& page)
      : profile_(profile), script_(script), limits_(limits), page_(page) {}

  std::string text() {
    choose_roots();
    choose_terms();
    Json data;
    data["input"] = profile_.input;
    data["query"] = profile_.number == 0 ? 1 : profile_.number;
    data["words"] = profile_.words;
    data["total"] = {{"terms", profile_.terms.size()},
                     {"variables", profile_.total.fresh},
                     {"clauses", profile_.total.clauses},
                     {"literals", profile_.total.literals},
                     {"lengths", profile_.total.by_length}};
    data["more_roots"] = profile_.roots.size() - roots_.size();
    data["roots"] = roots_json();
    data["names"] = Json::array();
    Json nodes = nodes_json();
    for (std::string const& name : names_) data["names"].push_back(name);
    data["nodes"] = std::move(nodes);
    data["operators"] = Json::array();
    for (OperatorCost const& o : profile_.operators)
      data["operators"].push_back({o.name, o.width, o.terms, o.cost.fresh, o.cost.clauses, o.cost.literals});
    data["passes"] = Json::array();
    for (Step const& s : profile_.steps)
      data["passes"].push_back({s.pass, s.replaced, s.seconds * 1000, s.before.terms, s.after.terms,
                                s.before.clauses ? Json(*s.before.clauses) : Json(nullptr),
                                s.after.clauses ? Json(*s.after.clauses) : Json(nullptr)});
    data["script"] = script_json();
    return filled_page(profile_template(), "Clauses of " + profile_.input, data);
  }

 private:
  std::string short_text(Term_ const* t) const { return smtlib::short_text(*profile_.tm, t, longest_text); }

  void choose_roots() {
    for (std::size_t i = 0; i < profile_.roots.size(); ++i) roots_.push_back(i);
    auto const more = [this](std::size_t a, std::size_t b) {
      return profile_.roots[a].cost.clauses > profile_.roots[b].cost.clauses;
    };
    std::stable_sort(roots_.begin(), roots_.end(), more);
    if (roots_.size() > page_.assertions) roots_.resize(page_.assertions);
    std::sort(roots_.begin(), roots_.end());
    for (std::size_t i = 0; i < roots_.size(); ++i) place_of_root_[roots_[i]] = i;
  }

  // From the assertions downward, those with the most clauses in their part of the tree.
  void choose_terms() {
    tree_ = tree_clauses(profile_);
    std::vector<std::size_t> first(profile_.terms.size(), Profile::npos);  // child in the tree
    std::vector<std::size_t> next(profile_.terms.size(), Profile::npos);   // its next sibling
    using Candidate = std::pair<std::uint64_t, std::size_t>;
    std::priority_queue<Candidate> waiting;
    for (std::size_t k = profile_.terms.size(); k-- > 0;) {
      TermCost const& t = profile_.terms[k];
      if (t.parent == 0) {
        if (place_of_root_.contains(t.root)) waiting.emplace(tree_[k], k);
        continue;
      }
      next[k] = first[t.parent - 1];
      first[t.parent - 1] = k;
    }
    while (!waiting.empty() && kept_.size() < page_.terms) {
      std::size_t const k = waiting.top().second;
      waiting.pop();
      place_of_term_[k] = kept_.size();
      kept_.push_back(k);
      for (std::size_t c = first[k]; c != Profile::npos; c = next[c]) waiting.emplace(tree_[c], c);
    }
  }

  Json roots_json() const {
    // What the clauses of an assertion are, by length: those of the terms that it was the first to need.
    std::vector<Cost> sums(profile_.roots.size());
    for (TermCost const& t : profile_.terms) sums[t.root] += t.own;
    Json out = Json::array();
    for (std::size_t const i : roots_) {
      RootCost const& r = profile_.roots[i];
      out.push_back({{"line", r.line == 0 ? Json(nullptr) : Json(r.line)},
                     {"name", r.name},
                     {"text", short_text(r.term)},
                     {"terms", r.terms},
                     {"clauses", r.cost.clauses},
                     {"unit", r.cost.clauses - sums[i].clauses},
                     {"variables", r.cost.fresh},
                     {"literals", r.cost.literals},
                     {"cumulative", r.cumulative.clauses},
                     {"lengths", r.cost.by_length}});
    }
    return out;
  }

  // See `nodes` in the script of the page for the places.
  Json nodes_json() {
    std::vector<Cost> const cones = cumulative(profile_, kept_, limits_);
    std::map<std::string, std::size_t> names;
    Json out = Json::array();
    for (std::size_t i = 0; i < kept_.size(); ++i) {
      TermCost const& t = profile_.terms[kept_[i]];
      auto const [name, is_new] = names.emplace(operator_name_of(*profile_.tm, t.term), names_.size());
      if (is_new) names_.push_back(name->first);
      Json arguments = Json::array();
      for (std::uint64_t c = 0; c < t.term->symbol->arity; ++c) {
        auto const found = place_of_term_.find(profile_.index_of(t.term->children[c]));
        if (found != place_of_term_.end()) arguments.push_back(found->second);
      }
      Json lengths = t.own.by_length;
      while (!lengths.empty() && lengths.back() == 0) lengths.erase(lengths.size() - 1);
      Json row = Json::array();
      row.push_back(t.term->id);
      row.push_back(name->second);
      row.push_back(operator_width_of(*profile_.tm, t.term));
      row.push_back(place_of_root_.at(t.root));
      row.push_back(t.parent == 0 ? Json(-1) : Json(place_of_term_.at(t.parent - 1)));
      row.push_back(t.own.clauses);
      row.push_back(tree_[kept_[i]]);
      row.push_back(cones[i].clauses);
      row.push_back(t.own.fresh);
      row.push_back(t.own.literals);
      row.push_back(t.uses);
      row.push_back(short_text(t.term));
      row.push_back(std::move(lengths));
      row.push_back(std::move(arguments));
      out.push_back(std::move(row));
    }
    return out;
  }

  std::string cut(std::string_view line) const {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() <= page_.line_bytes) return std::string(line);
    std::size_t end = page_.line_bytes;
    while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) --end;
    return std::string(line.substr(0, end)) + " ...";
  }

  // [number, text, clauses] for each line shown; number 0: a note about lines left out.
  Json script_json() const {
    std::map<std::uint64_t, std::uint64_t> heat;
    for (RootCost const& r : profile_.roots)
      if (r.line != 0) heat[r.line] += r.cost.clauses;
    std::vector<std::string_view> lines;
    for (std::string_view rest = script_; !rest.empty();) {
      std::size_t const end = std::min(rest.find('\n'), rest.size());
      lines.push_back(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    std::set<std::size_t> const shown = shown_lines(lines, heat);
    Json out = Json::array();
    std::size_t next = 1;
    auto const gap = [&](std::size_t to) {
      if (next >= to) return;
      std::uint64_t clauses = 0;
      for (auto i = heat.lower_bound(next); i != heat.end() && i->first < to; ++i) clauses += i->second;
      std::size_t const count = to - next;
      out.push_back({0,
                     std::to_string(count) + (count == 1 ? " line" : " lines") + ", " +
                         std::to_string(clauses) + " clauses: not shown",
                     clauses});
    };
    for (std::size_t const n : shown) {
      gap(n);
      auto const found = heat.find(n);
      out.push_back({n, cut(lines[n - 1]), found == heat.end() ? 0 : found->second});
      next = n + 1;
    }
    gap(lines.size() + 1);
    return out;
  }

  // Numbers from 1: every line, or those with the most clauses and their neighbours.
  std::set<std::size_t> shown_lines(std::vector<std::string_view> const& lines,
                                    std::map<std::uint64_t, std::uint64_t> const& heat) const {
    std::set<std::size_t> shown;
    std::size_t bytes = 0;
    auto const add = [&](std::size_t n) {
      if (n == 0 || n > lines.size() || shown.contains(n)) return true;
      std::size_t const size = std::min(lines[n - 1].size(), page_.line_bytes) + 16;
      if (shown.size() == page_.lines || bytes + size > page_.script_bytes) return false;
      bytes += size;
      shown.insert(n);
      return true;
    };
    std::vector<std::pair<std::uint64_t, std::uint64_t>> hot;
    for (auto const& [line, clauses] : heat) hot.emplace_back(clauses, line);
    std::stable_sort(hot.begin(), hot.end(), [](auto const& a, auto const& b) { return a.first > b.first; });
    for (std::uint64_t around : {0, 1, 2})
      for (auto const& [clauses, line] : hot)
        if (!add(line + around) || (line > around && !add(line - around))) return shown;
    for (std::size_t n = 1; n <= lines.size(); ++n)
      if (!add(n)) return shown;
    return shown;
  }

  Profile const& profile_;
  std::string_view script_;
  run::Limits const& limits_;
  PageLimits const& page_;
  std::vector<std::size_t> roots_;  // places in profile.roots
  std::unordered_map<std::size_t, std::size_t> place_of_root_;
  std::vector<std::uint64_t> tree_;
  std::vector<std::size_t> kept_;  // places in profile.terms
  std::unordered_map<std::size_t, std::size_t> place_of_term_;
  std::vector<std::string> names_;
};

}  // namespace

std::string profile_page(Profile const& profile, std::string_view script, run::Limits const& limits,
                         PageLimits const& page) {
  return Page(profile, script, limits, page).text();
}

}  // namespace vell::report
