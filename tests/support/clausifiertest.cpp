#include "tests/support/clausifiertest.h"

#include <sstream>

namespace vell::test {

// ---- recorders ----

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
    events_.push_back("trace " + pending_);
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

// ---- helpers ----

std::int64_t stray_lists(bv::WordClausifier const& c) {
  bv::WordClausifierInspector const inspect(c);
  auto const& pool = inspect.list_pool();
  std::int64_t cached = 0;
  for (std::uint64_t b = 0; b < inspect.bits_cache().bucket_count(); ++b)
    for (auto const* n = inspect.bits_cache().chain(b); n != nullptr; n = n->next)
      if (n->value != nullptr) ++cached;
  return static_cast<std::int64_t>(pool.chunk_count() * 1024 - pool.free_count()) - cached;
}

bv::BvLitList random_word(std::mt19937& random, std::size_t width, double constants) {
  bv::BvLitList bits(width);
  std::uniform_real_distribution<> chance;
  for (bv::BvLit& b : bits) {
    b = chance(random) < constants ? 1 : 2 + static_cast<bv::BvLit>(random() % 8);
    if (random() % 2 != 0) b = -b;
  }
  return bits;
}

// ---- fixture ----

Term_ const* ClausifierTest::raw_term(SymbolTag::tag tag, Type const* type,
                                      std::vector<Term_ const*> const& children, std::string_view label,
                                      Symbol::Role role) {
  SymbolSpec spec;
  spec.name = label.empty() ? "op" : label;
  spec.arity = children.size();
  spec.output_type = type;
  spec.tag = tag;
  spec.role = role;
  spec.label = label;
  return tm.mk_term(tm.make_symbol(spec), children);
}

Term_ const* ClausifierTest::rounding_mode_term(int mode) {
  static constexpr Symbol::Role roles[] = {Symbol::Role::rounding_even, Symbol::Role::rounding_zero,
                                           Symbol::Role::rounding_plus_inf, Symbol::Role::rounding_minus_inf};
  return raw_term(SymbolTag::none, tm.rounding_mode_type, {}, "mode" + std::to_string(mode), roles[mode]);
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
    if (!r.trace.pending().empty()) r.events.push_back("partial " + r.trace.pending());
    std::vector<std::string> lines;
    std::string const prefix = log_event("");
    for (std::string const& e : r.events) {
      if (e.starts_with(prefix))
        lines.push_back('"' + e.substr(prefix.size()) + '"');
      else if (e.starts_with("trace "))
        lines.push_back("trace \"" + e.substr(6) + '"');
      else if (e.starts_with("partial "))
        lines.push_back(e);
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

}  // namespace vell::test
