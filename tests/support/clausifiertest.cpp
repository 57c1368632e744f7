#include "tests/support/clausifiertest.h"

#include <algorithm>
#include <sstream>

namespace vell::test {

namespace {

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

// Calls f with every non-empty line of text, trimmed.
template <typename F>
void for_each_line(std::string_view text, F f) {
  while (!text.empty()) {
    std::size_t const end = text.find('\n');
    std::string_view const line = trim(text.substr(0, end));
    if (!line.empty()) f(line);
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
}

std::string quoted_trace(std::string const& line) {
  if (line.starts_with(trace_prefix)) return "log \"" + line.substr(trace_prefix.size()) + "\"";
  return "trace \"" + line + "\"";
}

// One line per element, the first difference marked.
::testing::AssertionResult match(std::vector<std::string> const& actual,
                                 std::vector<std::string> const& expected) {
  if (actual == expected) return ::testing::AssertionSuccess();
  std::size_t const n = std::max(actual.size(), expected.size());
  auto report = ::testing::AssertionFailure() << "\n";
  bool marked = false;
  for (std::size_t i = 0; i < n; ++i) {
    std::string const e = i < expected.size() ? expected[i] : "(nothing)";
    std::string const a = i < actual.size() ? actual[i] : "(nothing)";
    if (a == e) {
      report << "    " << a << "\n";
    } else {
      report << (marked ? "  ! " : "==> ") << a << "      expected: " << e << "\n";
      marked = true;
    }
  }
  return report;
}

}  // namespace

Events parse_events(std::string_view text) {
  Events events;
  for_each_line(text, [&](std::string_view line) {
    std::string_view constexpr many = "clauses ";
    if (!line.starts_with(many)) {
      events.emplace_back(line);
      return;
    }
    line.remove_prefix(many.size());
    for (;;) {
      std::size_t const bar = line.find('|');
      events.push_back("clause " + std::string(trim(line.substr(0, bar))));
      if (bar == std::string_view::npos) break;
      line.remove_prefix(bar + 1);
    }
  });
  return events;
}

std::string join_lines(std::vector<std::string> const& lines) {
  std::string s;
  for (std::string const& l : lines) s += l + "\n";
  return s;
}

std::string to_string(bv::BvLitList const& bits) {
  std::string s;
  for (bv::BvLit b : bits) s += (s.empty() ? "" : " ") + std::to_string(b);
  return s;
}

// ---- recorders ----

namespace {
void count_down(int& left, char const* what) {
  if (left == 0) throw Interrupted(what);
  if (left > 0) --left;
}
}  // namespace

bv::BvLit RecordingSink::new_lit() {
  count_down(new_lits_left, "new_lit");
  events_.push_back("new " + std::to_string(next));
  return next++;
}

bool RecordingSink::atom_lit(Term_ const* term, bv::BvLit& out) {
  count_down(atoms_left, "atom_lit");
  auto const it = atoms.find(term);
  bool const known = it != atoms.end();
  events_.push_back("atom " + term->to_shallow_str() + " " + (known ? std::to_string(it->second) : "none"));
  if (known) out = it->second;
  return known;
}

void RecordingSink::add_clause() {
  count_down(clauses_left, "add_clause");
  events_.push_back("clause " + to_string(lits));
  clauses.push_back(lits);
}

void RecordingTerminationTest::operator()() const {
  events_.push_back("poll");
  count_down(polls_left, "terminated");
}

void RecordingFpCombination::encode_term(Term_ const* term) {
  events_.push_back("fpencode " + term->to_shallow_str());
}

bool RecordingFpCombination::is_encoded(Term_ const* term) const { return bits.contains(term); }

void RecordingFpCombination::get_term_bits(Term_ const* term, bv::BvLitList* out) {
  events_.push_back("fpbits " + term->to_shallow_str());
  auto const it = bits.find(term);
  if (it != bits.end()) *out = it->second;
}

TraceRecorder::int_type TraceRecorder::overflow(int_type c) {
  if (c == traits_type::eof()) return traits_type::not_eof(c);
  if (c == '\n') {
    events_.push_back(quoted_trace(pending_));
    pending_.clear();
  } else {
    pending_ += static_cast<char>(c);
  }
  return c;
}

std::streamsize TraceRecorder::xsputn(char const* text, std::streamsize n) {
  for (std::streamsize i = 0; i < n; ++i) overflow(static_cast<unsigned char>(text[i]));
  return n;
}

// ---- fixture ----

Term_ const* ClausifierTest::raw_term(SymbolTag::tag tag, Type const* type,
                                      std::vector<Term_ const*> const& children, std::string_view label) {
  SymbolSpec spec;
  spec.name = label.empty() ? "op" : label;
  spec.arity = children.size();
  spec.output_type = type;
  spec.tag = tag;
  spec.label = label;
  return tm.mk_term(tm.make_symbol(spec), children);
}

bv::BvLitList ClausifierTest::bits(Term_ const* t) {
  bv::BvLitList* list = c.lookup(t);
  if (list == nullptr) {
    ADD_FAILURE() << t->to_shallow_str() << " is not cached";
    return {};
  }
  return *list;
}

bv::BvLitList ClausifierTest::take(bv::BvLitList* list) {
  bv::BvLitList copy = *list;
  c.release(list);
  return copy;
}

std::string ClausifierTest::trail() {
  std::string s;
  for (Term_ const* t : inspect.trail()) {
    if (!s.empty()) s += ' ';
    s += t == nullptr ? "|" : t->to_shallow_str();
  }
  return s;
}

std::vector<std::string> ClausifierTest::trace_levels(Action const& action) {
  constexpr int highest = 6;
  auto lines_at = [&](int verbosity) {
    Recorder r;
    bv::WordClausifier fresh(&tm, &config);
    fresh.set_logger(&r.logger);
    r.logger.set_verbosity(verbosity);
    r.sink.atoms = sink.atoms;
    action(fresh, r.sink);
    if (!r.trace.pending().empty()) r.events.push_back("pending \"" + r.trace.pending() + "\"");
    std::vector<std::string> lines;
    for (std::string const& e : r.events) {
      if (e.starts_with("log ")) lines.push_back(e.substr(4));
      if (e.starts_with("trace ") || e.starts_with("pending ")) lines.push_back(e);
    }
    return lines;
  };

  std::vector<std::string> const all = lines_at(highest);
  std::vector<int> level(all.size(), highest);
  for (int v = highest - 1; v >= 0; --v) {
    std::size_t at = 0;
    for (std::string const& line : lines_at(v)) {
      while (at < all.size() && (all[at] != line || level[at] != v + 1)) ++at;
      if (at == all.size()) {
        ADD_FAILURE() << "written at verbosity " << v << " and not above: " << line;
        break;
      }
      level[at++] = v;
    }
  }
  std::vector<std::string> result;
  for (std::size_t i = 0; i < all.size(); ++i) result.push_back(std::to_string(level[i]) + " " + all[i]);
  return result;
}

::testing::AssertionResult ClausifierTest::match_trace_levels(Action const& action,
                                                              std::string_view expected) {
  return match_lines(trace_levels(action), expected);
}

::testing::AssertionResult match_events(Events& actual, std::string_view expected) {
  ::testing::AssertionResult const result = match(actual, parse_events(expected));
  actual.clear();
  return result;
}

::testing::AssertionResult match_lines(std::vector<std::string> const& actual, std::string_view expected) {
  std::vector<std::string> lines;
  for_each_line(expected, [&](std::string_view line) { lines.emplace_back(line); });
  return match(actual, lines);
}

}  // namespace vell::test
