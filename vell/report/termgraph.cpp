// A term is drawn only if a term above it is. So what is drawn hangs together, and a box says how much is
// left out below it.

#include "vell/report/termgraph.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <queue>
#include <unordered_map>
#include <unordered_set>

#include "vell/cnf/mapline.h"
#include "vell/cnf/observation.h"
#include "vell/cnf/translation.h"
#include "vell/report/cones.h"
#include "vell/report/graphviz.h"
#include "vell/report/texttable.h"
#include "vell/run/limittest.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/exception.h"

namespace vell::report {

namespace {

// Keeps the bits of chosen terms.
class BitsObserver : public cnf::TranslationObserver {
 public:
  explicit BitsObserver(std::unordered_set<Term_ const*> const& wanted) : wanted_(wanted) {}
  void begin_root(std::size_t) override {}
  void before(Term_ const*) override {}
  void end_root(std::size_t, bv::BvLit) override {}
  void after(Term_ const* term, bv::BvLitList const& bits, bool) override {
    if (wanted_.contains(term)) bits_[term] = bits;
  }
  bv::BvLitList const& of(Term_ const* term) const { return bits_.at(term); }

 private:
  std::unordered_set<Term_ const*> const& wanted_;
  std::unordered_map<Term_ const*, bv::BvLitList> bits_;
};

constexpr std::size_t longest_label = 44;

// Graphviz wants UTF-8.
std::string utf8(std::string const& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size();) {
    unsigned char const c = static_cast<unsigned char>(text[i]);
    std::size_t const length = c < 0x80                ? 1
                               : c >= 0xC2 && c < 0xE0 ? 2
                               : c >= 0xE0 && c < 0xF0 ? 3
                               : c >= 0xF0 && c < 0xF5 ? 4
                                                       : 0;
    std::size_t have = 1;
    while (have < length && i + have < text.size() && (text[i + have] & 0xC0) == 0x80) ++have;
    if (length == 0 || have < length) {
      out += "\xEF\xBF\xBD";
      ++i;
    } else {
      out.append(text, i, length);
      i += length;
    }
  }
  return out;
}

class Drawer {
 public:
  Drawer(Profile const& profile, TermGraphOptions const& options, run::Limits const& limits)
      : profile_(profile),
        options_(options),
        limits_(limits),
        evaluator_(*profile.tm, options.free_division) {
    if (options.model != nullptr) evaluator_.set_assignment(*options.model);
  }

  TermGraph draw() {
    find_starts();
    if (options_.depth != 0) find_levels();
    choose();
    BitsObserver bits = translated();
    graph_.dot =
        "digraph terms {\n  graph [rankdir=TB, nodesep=0.25, ranksep=0.4, bgcolor=white, ordering=out, "
        "label=" +
        dot_string(title()) +
        ", labelloc=t, fontname=Helvetica, fontsize=14];\n"
        "  node [shape=box, style=filled, fillcolor=white, color=\"#333333\", fontname=Helvetica, "
        "fontsize=11, "
        "margin=\"0.1,0.05\"];\n"
        "  edge [color=\"#555555\", arrowsize=0.6];\n";
    for (std::size_t i : roots_) draw_root(i);
    for (std::size_t place : kept_) draw_term(place, bits.of(profile_.terms[place].term));
    graph_.dot += "}\n";
    graph_.drawn = kept_.size();
    return std::move(graph_);
  }

 private:
  std::string title() const {
    return utf8(printable(profile_.input)) +
           (options_.only.empty() ? "" : ", " + utf8(printable(options_.only))) + ": " +
           with_commas(profile_.total.fresh) + " variables, " + with_commas(profile_.total.clauses) +
           " clauses";
  }

  // Assertions, or what the name stands for.
  void find_starts() {
    auto const start = [&](Term_ const* t) {
      std::size_t const place = profile_.index_of(t);
      if (place == Profile::npos) return false;
      if (std::find(starts_.begin(), starts_.end(), place) == starts_.end()) starts_.push_back(place);
      return true;
    };
    std::string const& only = options_.only;
    for (std::size_t i = 0; i < profile_.roots.size(); ++i)
      if (only.empty() || is_only(profile_.roots[i].name)) {
        roots_.push_back(i);
        start(profile_.roots[i].term);
      }
    if (only.empty() || !roots_.empty()) return;
    bool known = false;
    bool found = false;
    cnf::Query const& q = profile_.query;
    for (std::size_t i = 0; i < q.names.size(); ++i)
      if (is_only(q.names[i].name)) {
        known = true;
        found = start(q.name_terms[i]) || found;
      }
    for (Term_ const* c : q.constants)
      if (c->symbol->name == only) {
        known = true;
        found = start(c) || found;
      }
    if (!known) throw Exception("no assertion, constant or term is named " + printable(only));
    if (!found)
      throw Exception(printable(only) +
                      " is not among the terms that are translated; --words=none leaves every term");
  }

  // Names may be written with bars or without.
  bool is_only(std::string const& name) const {
    return name == options_.only || name == "|" + options_.only + "|";
  }

  bool is_drawn(Term_ const* t) const { return !profile_.tm->is_number(t->symbol); }

  // By place: the least number of steps from a start.
  void find_levels() {
    levels_.assign(profile_.terms.size(), 0);
    std::vector<std::size_t> front = starts_;
    for (std::size_t p : front) levels_[p] = 1;
    for (std::uint32_t level = 2; !front.empty() && level <= options_.depth; ++level) {
      std::vector<std::size_t> next;
      for (std::size_t p : front)
        for (std::size_t c : children(p))
          if (levels_[c] == 0) {
            levels_[c] = level;
            next.push_back(c);
          }
      front = std::move(next);
    }
  }

  // Places of the arguments that are drawn as boxes, each once, in their order.
  std::vector<std::size_t> children(std::size_t place) const {
    std::vector<std::size_t> out;
    Term_ const* t = profile_.terms[place].term;
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
      if (!is_drawn(t->children[i])) continue;
      std::size_t const c = profile_.index_of(t->children[i]);
      if (c != Profile::npos && std::find(out.begin(), out.end(), c) == out.end()) out.push_back(c);
    }
    return out;
  }

  // From the starts downward, the most expensive next.
  void choose() {
    double const least = options_.least / 100 * static_cast<double>(profile_.total.clauses);
    using Candidate = std::pair<std::uint64_t, std::size_t>;  // clauses, own and below; place
    std::priority_queue<Candidate> waiting;
    std::unordered_set<std::size_t> seen;
    auto const offer = [&](std::vector<std::size_t> places) {
      std::erase_if(places, [&](std::size_t p) {
        return (!levels_.empty() && levels_[p] == 0) || !seen.insert(p).second;
      });
      std::vector<Cost> const costs = cumulative(profile_, places, limits_);
      for (std::size_t i = 0; i < places.size(); ++i) {
        cumulative_[places[i]] = costs[i].clauses;
        if (static_cast<double>(costs[i].clauses) >= least) waiting.emplace(costs[i].clauses, places[i]);
      }
    };
    offer(starts_);
    while (!waiting.empty() && kept_.size() < options_.most) {
      std::size_t const place = waiting.top().second;
      waiting.pop();
      kept_.push_back(place);
      offer(children(place));
    }
    graph_.skipped = waiting.size();
    std::sort(kept_.begin(), kept_.end(), std::greater<>());  // terms before their arguments
    is_kept_.insert(kept_.begin(), kept_.end());
  }

  BitsObserver translated() {
    for (std::size_t place : kept_) wanted_.insert(profile_.terms[place].term);
    BitsObserver observer(wanted_);
    Configuration::Theory::Bv config{options_.free_division ? 1 : 0};
    cnf::Translation const translation(profile_.query, *profile_.tm, profile_.input);
    cnf::ObservedClausifier clausifier(profile_.tm.get(), &config, observer);
    run::Statistics unused;
    run::LimitTest const test(limits_, unused, [] {});
    clausifier.set_termination_test(&test);
    CostSink sink;
    translation.run(clausifier, sink, &observer);
    return observer;
  }

  void draw_root(std::size_t i) {
    RootCost const& root = profile_.roots[i];
    std::size_t const place = profile_.index_of(root.term);
    if (!is_kept_.contains(place)) return;
    std::string const id = "root" + std::to_string(i);
    std::string label = root.is_definition ? "value of " + root.name
                                           : "line " + std::to_string(root.line) +
                                                 (root.name.empty() ? "" : ": " + root.name);
    graph_.dot += "  " + id + " [id=" + id +
                  ", shape=note, fillcolor=\"#eeeeee\", label=" + dot_string(utf8(printable(label))) +
                  "];\n  " + id + " -> t" + std::to_string(root.term->id) + ";\n";
  }

  void draw_term(std::size_t place, bv::BvLitList const& bits) {
    TermCost const& cost = profile_.terms[place];
    Term_ const* t = cost.term;
    std::string const id = "t" + std::to_string(t->id);
    std::string const name = operator_name_of(*profile_.tm, t);
    std::string label =
        name == "variable" ? smtlib::short_text(*profile_.tm, t, longest_label) + ": variable" : name;
    label += " " + std::to_string(operator_width_of(*profile_.tm, t));
    bool numerals = t->symbol->arity != 0 && name != "variable";
    for (std::uint64_t i = 0; numerals && i < t->symbol->arity; ++i) numerals = is_drawn(t->children[i]);
    if (!numerals && t->symbol->arity != 0)
      label += "\n" + smtlib::short_text(*profile_.tm, t, longest_label);
    double const share = profile_.total.clauses == 0 ? 0
                                                     : static_cast<double>(cost.own.clauses) /
                                                           static_cast<double>(profile_.total.clauses);
    label += "\n#" + std::to_string(t->id);
    if (std::uint64_t const line = profile_.roots[cost.root].line; line != 0)
      label += ", line " + std::to_string(line);
    if (cost.uses > 1) label += ", " + std::to_string(cost.uses) + " uses";
    if (cost.own.clauses != 0)
      label += "\n" + with_commas(cost.own.clauses) + " clauses, " +
               percent(cost.own.clauses, profile_.total.clauses);
    label += "\nbits " + bits_summary(bits);
    std::string marks;
    if (options_.model != nullptr) {
      std::string value = evaluator_.text(t);
      if (value.size() > longest_label) value = value.substr(0, longest_label - 3) + "...";
      label += "\n= " + value;
      if (t->symbol->get_output_type() == profile_.tm->bool_type && evaluator_.is_true(t))
        marks = ", color=\"#b06a00\", penwidth=3";
    }
    // The area of the box follows the clauses; its text may need more. A lighter shade for a smaller share.
    char shape[128];
    double const side = 0.3 + 3.0 * std::sqrt(share);
    std::snprintf(shape, sizeof shape, ", width=%.2f, height=%.2f, fillcolor=\"0.58 %.3f 1.0\"", side * 1.6,
                  side, 0.05 + 0.55 * std::sqrt(share));
    graph_.dot += "  " + id + " [id=" + id + ", label=" + dot_string(utf8(printable_lines(label))) + shape +
                  (cost.uses > 1 ? ", peripheries=2" : "") +
                  (cost.own.clauses == 0 ? ", style=\"filled,rounded\"" : "") + marks + "];\n";
    std::size_t left_out = 0;
    std::uint64_t clauses = 0;
    for (std::size_t c : children(place)) {
      if (is_kept_.contains(c)) {
        graph_.dot += "  " + id + " -> t" + std::to_string(profile_.terms[c].term->id) + ";\n";
        continue;
      }
      ++left_out;
      if (auto const found = cumulative_.find(c); found != cumulative_.end())
        clauses = std::max(clauses, found->second);
    }
    if (left_out == 0) return;
    std::string const rest = "rest" + std::to_string(t->id);
    graph_.dot += "  " + rest + " [id=" + rest + ", shape=plaintext, style=\"\", label=" +
                  dot_string((left_out == 1 ? "1 term" : std::to_string(left_out) + " terms") + " left out" +
                             (clauses == 0 ? ""
                                           : "\n" + with_commas(clauses) + " clauses" +
                                                 (left_out > 1 ? " below one" : ""))) +
                  "];\n  " + id + " -> " + rest + " [style=dashed];\n";
  }

  static std::string printable_lines(std::string text) {
    for (char& c : text)
      if (c != '\n' && (static_cast<unsigned char>(c) < 32 || c == 127)) c = ' ';
    return text;
  }

  Profile const& profile_;
  TermGraphOptions const& options_;
  run::Limits const& limits_;
  values::Evaluator evaluator_;
  TermGraph graph_;
  std::vector<std::size_t> starts_;  // places
  std::vector<std::size_t> roots_;   // that are drawn
  std::vector<std::uint32_t> levels_;
  std::vector<std::size_t> kept_;
  std::unordered_set<std::size_t> is_kept_;
  std::unordered_map<std::size_t, std::uint64_t> cumulative_;
  std::unordered_set<Term_ const*> wanted_;
};

}  // namespace

TermGraph term_graph(Profile const& profile, TermGraphOptions const& options, run::Limits const& limits) {
  return Drawer(profile, options, limits).draw();
}

std::string bits_summary(bv::BvLitList const& bits, std::size_t most) {
  auto const dimacs = [](bv::BvLit l) {
    return bv::is_constant(l) ? std::string(l == bv::l_true ? "T" : "F")
                              : std::to_string(l > 0 ? l - 1 : l + 1);
  };
  std::string out;
  std::size_t pieces = 0;
  for (std::size_t i = 0; i < bits.size();) {
    if (pieces++ == most) return out + " ...";
    if (!out.empty()) out += ' ';
    // The longest row from here with one step between neighbours.
    bv::BvLit const first = bits[i];
    bool const constant = bv::is_constant(first);
    bv::BvLit const step = i + 1 < bits.size() ? bits[i + 1] - first : 0;
    std::size_t n = 1;
    while (i + n < bits.size() && bits[i + n] - bits[i + n - 1] == step &&
           bv::is_constant(bits[i + n]) == constant && (bits[i + n] > 0) == (first > 0))
      ++n;
    if (constant && n > 1)
      out += std::to_string(n) + "*" + dimacs(first);
    else if (n > 2 && step != 0)
      out += dimacs(first) + ".." + dimacs(bits[i + n - 1]) +
             (std::abs(step) == 1 ? "" : " by " + std::to_string(std::abs(step)));
    else if (n > 2)
      out += std::to_string(n) + "*(" + dimacs(first) + ")";
    else
      out += dimacs(bits[i]), n = 1;
    i += n;
  }
  return out;
}

}  // namespace vell::report
