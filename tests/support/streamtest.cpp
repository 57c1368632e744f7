#include "tests/support/streamtest.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vell::test {

using bv::BvLit;
using bv::BvLitList;

namespace {

constexpr BvLit first_literal = 100;
constexpr int compared_slots = 12;

// A few lines of each text around the first difference.
std::string difference(std::string const& actual, std::string const& expected) {
  std::size_t const at = static_cast<std::size_t>(
      std::mismatch(actual.begin(),
                    actual.begin() + static_cast<std::ptrdiff_t>(std::min(actual.size(), expected.size())),
                    expected.begin())
          .first -
      actual.begin());
  auto excerpt = [at](std::string const& s) {
    std::size_t begin = std::min(at, s.size());
    for (int lines = 0; begin > 0 && (s[begin - 1] != '\n' || ++lines < 4); --begin) {
    }
    std::size_t end = std::min(at, s.size());
    for (int lines = 0; end < s.size() && (s[end] != '\n' || ++lines < 4); ++end) {
    }
    return s.substr(begin, end - begin);
  };
  return "actual:\n" + excerpt(actual) + "\nexpected:\n" + excerpt(expected);
}

}  // namespace

bool expect_same_stream(TermManager& tm, StreamCase const& test, std::string const& what) {
  for (int const verbosity : {2, 3, 4, 5}) {
    std::string const where = what + " at verbosity " + std::to_string(verbosity);
    EventText events(verbosity);
    events.sink.next = first_literal;
    Configuration::Theory::Bv config;
    config.div_semantics = test.div_semantics;
    bv::WordClausifier c(&tm, &config);
    bv::WordClausifierInspector inspect(c);
    BvLitList* base = c.new_BvLitList({});
    c.release(base);
    test.prepare(c);
    c.set_logger(&events.logger);

    CircuitModel model(verbosity, first_literal, static_cast<int>(inspect.bits_cache().size()));
    model.div_semantics = test.div_semantics;

    std::vector<BvLitList> const actual = test.act(c, &events.sink);
    std::vector<BvLitList> const expected = test.model(model);
    if (events.text != model.text) {
      ADD_FAILURE() << where << "\n" << difference(events.text, model.text);
      return false;
    }
    if (actual != expected) {
      ADD_FAILURE() << where << ": other results after the same events";
      return false;
    }
    if (stray_lists(c) != 0) {
      ADD_FAILURE() << where << ": " << stray_lists(c) << " lists are neither cached nor given back";
      return false;
    }
    if (!test.compare_pool) continue;
    std::vector<BvLitList*> next;
    for (int i = 0; i < compared_slots; ++i) {
      next.push_back(c.new_BvLitList({}));
      int const slot = static_cast<int>(next.back() - base);
      int const expected_slot = model.take_slot();
      if (slot != expected_slot) {
        ADD_FAILURE() << where << ": list " << i << " taken from the pool next is in place " << slot
                      << " instead of " << expected_slot;
        for (BvLitList* l : next) c.release(l);
        return false;
      }
    }
    for (BvLitList* l : next) c.release(l);
  }
  return true;
}

std::int64_t stray_lists(bv::WordClausifier const& c) {
  bv::WordClausifierInspector const inspect(c);
  auto const& pool = inspect.list_pool();
  std::int64_t cached = 0;
  for (std::uint64_t b = 0; b < inspect.bits_cache().bucket_count(); ++b)
    for (auto const* n = inspect.bits_cache().chain(b); n != nullptr; n = n->next)
      if (n->value != nullptr) ++cached;
  return static_cast<std::int64_t>(pool.chunk_count() * 1024 - pool.free_count()) - cached;
}

BvLitList random_word(std::mt19937& random, std::size_t width, double constants) {
  BvLitList bits(width);
  std::uniform_real_distribution<> chance;
  for (BvLit& b : bits) {
    b = chance(random) < constants ? 1 : 2 + static_cast<BvLit>(random() % 8);
    if (random() % 2 != 0) b = -b;
  }
  return bits;
}

BvLitList take(bv::WordClausifier& c, BvLitList* list) {
  BvLitList copy = *list;
  c.release(list);
  return copy;
}

Term_ const* stream_term(TermManager& tm, SymbolTag::tag tag, Type const* type,
                         std::vector<Term_ const*> const& children, std::string const& label,
                         Symbol::Role role, std::uint64_t parameter0, std::uint64_t parameter1) {
  SymbolSpec spec;
  spec.name = label;
  spec.arity = children.size();
  spec.output_type = type;
  spec.tag = tag;
  spec.role = role;
  spec.parameter0 = parameter0;
  spec.parameter1 = parameter1;
  spec.label = label;
  return tm.mk_term(tm.make_symbol(spec), children);
}

Term_ const* rounding_mode_term(TermManager& tm, int mode) {
  static constexpr Symbol::Role roles[] = {Symbol::Role::rounding_even, Symbol::Role::rounding_zero,
                                           Symbol::Role::rounding_plus_inf, Symbol::Role::rounding_minus_inf};
  return stream_term(tm, SymbolTag::none, tm.rounding_mode_type, {}, "mode" + std::to_string(mode),
                     roles[mode]);
}

}  // namespace vell::test
