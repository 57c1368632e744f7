// Holds docs/encodings.md to the code: sizes, clauses, foldings and examples of conversions are measured.
//
// Every row of a table of sizes must be met by a measurement, and every measurement by exactly one row; the
// same goes for the blocks of clauses.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/formula.h"
#include "tests/support/lab.h"
#include "tests/support/markdown.h"
#include "tests/support/measurements.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;

MarkdownFile const& encodings() {
  static MarkdownFile const file = read_markdown(std::string(VELL_SOURCE_DIR) + "/docs/encodings.md");
  return file;
}

// ---- sizes ----

// "all", or conditions on n such as "n = 1" or "n >= 2, n <= 11".
bool admits(std::string const& widths, std::int64_t n) {
  if (widths == "all") return true;
  std::istringstream conditions(widths);
  for (std::string condition; std::getline(conditions, condition, ',');) {
    std::istringstream words(condition);
    std::string name;
    std::string relation;
    std::int64_t bound = 0;
    if (!(words >> name >> relation >> bound) || name != "n" || !(words >> std::ws).eof()) {
      ADD_FAILURE() << "no condition: " << condition;
      return false;
    }
    bool const holds = relation == "="    ? n == bound
                       : relation == ">=" ? n >= bound
                                          : relation == "<=" && n <= bound;
    if (!holds) return false;
  }
  return true;
}

struct SizeRow {
  int line;
  std::string name, widths, clauses, fresh, literals;
  bool met = false;
};

std::vector<SizeRow> size_rows() {
  std::vector<SizeRow> rows;
  std::vector<std::string> const columns = {"Widths", "Clauses", "Fresh literals", "Literals"};
  for (MarkdownTable const& table : encodings().tables) {
    if (table.header.size() != 5 || !std::equal(columns.begin(), columns.end(), table.header.begin() + 1))
      continue;
    for (MarkdownTable::Row const& row : table.rows) {
      EXPECT_EQ(row.cells.size(), 5u) << "line " << row.line;
      if (row.cells.size() == 5)
        rows.push_back({row.line, row.cells[0], row.cells[1], row.cells[2], row.cells[3], row.cells[4]});
    }
  }
  return rows;
}

std::int64_t value_of(std::string const& formula, Variables const& variables, int line) {
  FormulaResult const result = evaluate(formula, variables);
  EXPECT_EQ(result.error, "") << "line " << line << ": " << formula;
  return result.value;
}

// Compares one measured cost with the row that speaks for it.
void compare(std::vector<SizeRow>& rows, std::string const& name, Variables const& variables,
             Cost const& measured) {
  std::int64_t const n = variables.at("n");
  int found = 0;
  for (SizeRow& row : rows) {
    if (row.name != name || !admits(row.widths, n)) continue;
    ++found;
    row.met = true;
    Cost const documented = {value_of(row.clauses, variables, row.line),
                             value_of(row.fresh, variables, row.line),
                             value_of(row.literals, variables, row.line)};
    ASSERT_EQ(documented, measured) << "docs/encodings.md:" << row.line << ": " << name << " at n = " << n;
  }
  ASSERT_EQ(found, 1) << "rows for " << name << " at n = " << n;
}

void compare_all(std::vector<SizeRow>& rows, std::string const& name, Measurement const& m) {
  for (std::int64_t const n : m.widths) {
    if (::testing::Test::HasFatalFailure()) return;
    if (m.free) {
      Lab l;
      m.free(l, n);
      compare(rows, name, {{"n", n}}, l.sink.cost);
    } else {
      for (std::uint64_t const constant : constants_of(n)) {
        Lab l;
        m.with_constant(l, n, constant);
        compare(rows, name, properties(constant, n), l.sink.cost);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST(Encodings, SizesAreTheMeasuredOnes) {
  std::vector<SizeRow> rows = size_rows();
  ASSERT_FALSE(rows.empty());
  for (auto const& [name, m] : measurements()) {
    compare_all(rows, name, m);
    if (HasFatalFailure()) return;
  }
  for (SizeRow const& row : rows)
    EXPECT_TRUE(row.met) << "docs/encodings.md:" << row.line << ": nothing measures " << row.name << ", "
                         << row.widths;
}

TEST(Encodings, AnUnsignedConversionCostsWhatASignedOneOfOneBitMoreDoes) {
  for (Format const& f : formats)
    for (int mode = 0; mode < 5; ++mode)
      for (std::int64_t const n : {1, 8, 24, 31, 64}) {
        Lab by_sign;
        by_sign.blast(conversion(by_sign, SymbolTag::fp_to_sbv, f, mode, n + 1));
        Lab without;
        without.blast(conversion(without, SymbolTag::fp_to_ubv, f, mode, n));
        EXPECT_EQ(by_sign.sink.cost, without.sink.cost) << f.name << " " << mode_names[mode] << " " << n;
      }
}

// ---- clauses ----

struct ClauseBlock {
  std::vector<std::string> inputs;  // names of literals 2, 3, ...
  std::vector<std::string> fresh;   // names of the literals drawn after them
  std::size_t first;                // clauses before this one are not in the block
  std::size_t count;
  std::function<void(Lab&)> run;
};

std::map<std::string, ClauseBlock> const& clause_blocks() {
  auto const words = [](std::function<void(Lab&, BvLitList&, BvLitList&)> f) {
    return [f](Lab& l) {
      BvLitList x = {2, 4};
      BvLitList y = {3, 5};
      f(l, x, y);
    };
  };
  auto const ule =
      words([](Lab& l, BvLitList& x, BvLitList& y) { l.c.release(l.c.word_ule(&l.sink, &x, &y, 0)); });
  auto const ult =
      words([](Lab& l, BvLitList& x, BvLitList& y) { l.c.release(l.c.word_ult(&l.sink, &x, &y, 0)); });
  auto const equal = words([](Lab& l, BvLitList& x, BvLitList& y) { l.c.word_equal(&l.sink, &x, &y, 0); });
  static std::map<std::string, ClauseBlock> const blocks = {
      {"bit_and", {{"a", "b"}, {"x"}, 0, 3, [](Lab& l) { l.c.bit_and(&l.sink, 2, 3); }}},
      {"bit_or", {{"a", "b"}, {"x"}, 0, 3, [](Lab& l) { l.c.bit_or(&l.sink, 2, 3); }}},
      {"bit_xor", {{"a", "b"}, {"x"}, 0, 4, [](Lab& l) { l.c.bit_xor(&l.sink, 2, 3); }}},
      {"bit_ite", {{"c", "t", "e"}, {"x"}, 0, 4, [](Lab& l) { l.c.bit_ite(&l.sink, 2, 3, 4); }}},
      {"full_adder",
       {{"a", "b", "c"},
        {"s", "k"},
        0,
        14,
        [](Lab& l) {
          BvLit sum, carry;
          l.c.full_adder(&l.sink, sum, carry, 2, 3, 4);
        }}},
      {"word_ule stage", {{"x0", "y0", "a", "b"}, {"r", "v"}, 6, 6, ule}},
      {"word_ult stage", {{"x0", "y0", "a", "b"}, {"r", "v"}, 6, 6, ult}},
      {"word_equal bit 0", {{"a", "b", "x1", "y1"}, {"v", "v1"}, 0, 4, equal}},
      {"word_equal stage", {{"x0", "y0", "a", "b"}, {"r", "v"}, 4, 5, equal}},
      // The last operand is translated first.
      {"signs",
       {{"b", "a"},
        {"c", "o"},
        6,
        6,
        [](Lab& l) {
          Type const* bit = l.tm.bv_type(1);
          l.blast(l.make(SymbolTag::bv_slt, {l.tm.mk_variable("x", bit), l.tm.mk_variable("y", bit)}));
        }}},
      // The comparison of x with 0 takes one literal, -x, which is not the atom's.
      {"tie",
       {{"r", "atom"},
        {},
        0,
        2,
        [](Lab& l) {
          l.sink.every_atom = 3;
          Term_ const* x = l.tm.mk_variable("x", l.tm.bv_type(1));
          l.c.set_bits(x, &l.sink, {2});
          l.blast(l.make(SymbolTag::equal, {l.tm.mk_bv(1, 1), x}));
        }}},
      {"bit_blast_theory_eq",
       {{"a", "b", "lit"},
        {"e"},
        4,
        2,
        [](Lab& l) {
          Type const* bit = l.tm.bv_type(1);
          Term_ const* x = l.tm.mk_variable("x", bit);
          Term_ const* y = l.tm.mk_variable("y", bit);
          l.c.set_bits(x, &l.sink, {2});
          l.c.set_bits(y, &l.sink, {3});
          l.c.bit_blast_theory_eq(4, x, y, &l.sink);
        }}},
      {"set_bits",
       {{"x", "b"},
        {},
        0,
        2,
        [](Lab& l) {
          Term_ const* x = l.tm.mk_variable("x", l.tm.bv_type(1));
          l.c.set_bits(x, &l.sink, {2});
          l.c.set_bits(x, &l.sink, {3});
        }}},
      {"make_bits",
       {{"x"},
        {"y"},
        0,
        2,
        [](Lab& l) {
          Term_ const* x = l.tm.mk_variable("x", l.tm.bv_type(1));
          l.c.set_bits(x, &l.sink, {2});
          BvLitList out;
          l.c.make_bits(x, out, &l.sink);
        }}},
  };
  return blocks;
}

std::string squeeze(std::string const& text) {
  std::istringstream lines(text);
  std::string squeezed;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string separator;
    for (std::string word; words >> word; separator = " ") squeezed += separator + word;
    squeezed += "\n";
  }
  return squeezed;
}

std::string measured_clauses(ClauseBlock const& block) {
  std::vector<std::string> names = block.inputs;
  names.insert(names.end(), block.fresh.begin(), block.fresh.end());
  Lab l;
  l.sink.keep = true;
  // Of a comparison of fresh variables, the variables are the first fresh literals.
  bool const variables_are_fresh = &block == &clause_blocks().at("signs");
  l.sink.next = variables_are_fresh ? 2 : static_cast<BvLit>(block.inputs.size()) + 2;
  block.run(l);
  EXPECT_EQ(static_cast<std::size_t>(l.sink.next) - 2, names.size());
  std::string text;
  EXPECT_EQ(l.sink.clauses.size() >= block.first + block.count, true);
  for (std::size_t i = block.first; i < block.first + block.count && i < l.sink.clauses.size(); ++i) {
    for (BvLit const literal : l.sink.clauses[i])
      text += (literal < 0 ? "-" : "") + names.at(static_cast<std::size_t>(std::abs(literal)) - 2) + " ";
    text += "\n";
  }
  return squeeze(text);
}

TEST(Encodings, ClausesAreTheEmittedOnes) {
  std::set<std::string> met;
  for (MarkdownFence const& fence : encodings().fences) {
    std::string const prefix = "clauses ";
    if (fence.info.rfind(prefix, 0) != 0) continue;
    std::string const name = fence.info.substr(prefix.size());
    ASSERT_TRUE(clause_blocks().contains(name))
        << "docs/encodings.md:" << fence.line << ": nothing emits " << name;
    EXPECT_TRUE(met.insert(name).second) << name << " stands there twice";
    EXPECT_EQ(squeeze(fence.text), measured_clauses(clause_blocks().at(name)))
        << "docs/encodings.md:" << fence.line;
  }
  for (auto const& [name, block] : clause_blocks())
    EXPECT_TRUE(met.contains(name)) << "no block for " << name;
}

// ---- foldings ----

BvLit literal_of(std::string text) {
  bool const negative = !text.empty() && text[0] == '-';
  if (negative) text.erase(0, 1);
  static std::map<std::string, BvLit> const literals = {{"T", 1}, {"F", -1}, {"a", 2}, {"b", 3},
                                                        {"c", 4}, {"t", 5},  {"e", 6}};
  auto const found = literals.find(text);
  EXPECT_NE(found, literals.end()) << text;
  if (found == literals.end()) return 0;
  return negative ? -found->second : found->second;
}

BvLitList literals_of(std::string text) {
  std::replace(text.begin(), text.end(), ',', ' ');
  std::istringstream words(text);
  BvLitList literals;
  for (std::string word; words >> word;) literals.push_back(literal_of(word));
  return literals;
}

TEST(Encodings, FoldingsAreTheMeasuredOnes) {
  std::vector<std::string> const header = {"Call", "Result"};
  std::map<std::string, int> calls;
  for (MarkdownTable const& table : encodings().tables) {
    if (table.header != header) continue;
    for (MarkdownTable::Row const& row : table.rows) {
      ASSERT_EQ(row.cells.size(), 2u) << row.line;
      std::string const& call = row.cells[0];
      std::size_t const open = call.find('(');
      ASSERT_TRUE(open != std::string::npos && call.back() == ')') << row.line;
      std::string const gate = call.substr(0, open);
      BvLitList const in = literals_of(call.substr(open + 1, call.size() - open - 2));
      Lab l;
      BvLitList out;
      ASSERT_EQ(in.size(), gate == "bit_ite" || gate == "full_adder" ? 3u : 2u) << row.line;
      if (gate == "bit_and") {
        out = {l.c.bit_and(&l.sink, in[0], in[1])};
      } else if (gate == "bit_or") {
        out = {l.c.bit_or(&l.sink, in[0], in[1])};
      } else if (gate == "bit_xor") {
        out = {l.c.bit_xor(&l.sink, in[0], in[1])};
      } else if (gate == "bit_ite") {
        out = {l.c.bit_ite(&l.sink, in[0], in[1], in[2])};
      } else if (gate == "full_adder") {
        out.resize(2);
        l.c.full_adder(&l.sink, out[0], out[1], in[0], in[1], in[2]);
      } else {
        FAIL() << "line " << row.line << ": no gate " << gate;
      }
      ++calls[gate];
      EXPECT_EQ(out, literals_of(row.cells[1])) << "docs/encodings.md:" << row.line;
      EXPECT_EQ(l.sink.cost, Cost{}) << "docs/encodings.md:" << row.line;
    }
  }
  for (char const* gate : {"bit_and", "bit_or", "bit_xor", "bit_ite", "full_adder"})
    EXPECT_GE(calls[gate], 5) << gate;
}

// ---- examples of conversions ----

// The integer that the pattern's value rounds to, in floating-point arithmetic: a double holds every value of
// the formats of the examples exactly.
std::string rounded_value(std::uint64_t pattern, Format const& f, int mode, bool is_signed,
                          std::int64_t width) {
  std::uint64_t const last_exponent = (std::uint64_t{1} << f.e) - 1;
  std::uint64_t const fraction = pattern & ((std::uint64_t{1} << f.s) - 1);
  std::uint64_t const exponent = pattern >> f.s & last_exponent;
  if (exponent == last_exponent) return "none";
  int const unit = static_cast<int>(std::max<std::uint64_t>(exponent, 1)) -
                   static_cast<int>(last_exponent / 2) - static_cast<int>(f.s);
  double v = std::ldexp(static_cast<double>(fraction + (exponent == 0 ? 0 : std::uint64_t{1} << f.s)), unit);
  if ((pattern >> (f.e + f.s) & 1) != 0) v = -v;
  double const rounded = mode == 0   ? std::nearbyint(v)
                         : mode == 1 ? std::trunc(v)
                         : mode == 2 ? std::ceil(v)
                                     : std::floor(v);
  double const lowest = is_signed ? -std::ldexp(1.0, static_cast<int>(width) - 1) : 0;
  double const end = std::ldexp(1.0, static_cast<int>(width) - (is_signed ? 1 : 0));
  if (rounded < lowest || rounded >= end) return "out of range";
  return std::to_string(static_cast<long long>(rounded));
}

TEST(Encodings, ConversionExamplesAreTheComputedOnes) {
  std::vector<std::string> const header = {"Format",     "Value",  "Pattern",      "Mode",
                                           "Conversion", "Result", "Rounded value"};
  int examples = 0;
  for (MarkdownTable const& table : encodings().tables) {
    if (table.header != header) continue;
    for (MarkdownTable::Row const& row : table.rows) {
      SCOPED_TRACE("docs/encodings.md:" + std::to_string(row.line));
      ASSERT_EQ(row.cells.size(), header.size());
      Format f{"", 0, 0};
      for (Format const& known : formats)
        if (row.cells[0] == known.name) f = known;
      if (f.e == 0) {
        unsigned long e = 0;
        unsigned long s = 0;
        ASSERT_EQ(std::sscanf(row.cells[0].c_str(), "(%lu,%lu)", &e, &s), 2);
        f = {"", e, s};
      }
      std::string pattern = row.cells[2];
      pattern.erase(std::remove(pattern.begin(), pattern.end(), ' '), pattern.end());
      ASSERT_TRUE(pattern.rfind("0x", 0) == 0 || pattern.rfind("0b", 0) == 0);
      std::uint64_t const bits = std::stoull(pattern.substr(2), nullptr, pattern[1] == 'x' ? 16 : 2);
      auto const mode = std::find(mode_names, mode_names + 4, row.cells[3]) - mode_names;
      ASSERT_LT(mode, 4);
      std::istringstream words(row.cells[4]);
      std::string kind;
      std::int64_t width = 0;
      ASSERT_TRUE(words >> kind >> width);
      ASSERT_TRUE(kind == "signed" || kind == "unsigned");

      Lab l;
      Term_ const* x = l.tm.mk_variable("x", l.tm.fp_type(f.e, f.s));
      l.c.set_bits(x, &l.sink, l.constant(bits, static_cast<std::int64_t>(f.e + f.s + 1)));
      Term_ const* t = l.make(kind == "signed" ? SymbolTag::fp_to_sbv : SymbolTag::fp_to_ubv,
                              {l.mode(static_cast<int>(mode)), x}, static_cast<std::uint64_t>(width));
      l.blast(t);
      BvLitList result;
      ASSERT_TRUE(l.c.get_bits(t, result));
      EXPECT_EQ(l.sink.cost, Cost{});
      std::int64_t value = 0;
      for (std::size_t i = 0; i < result.size(); ++i)
        if (result[i] == bv::l_true) value += std::int64_t{1} << i;
      if (kind == "signed" && result.back() == bv::l_true) value -= std::int64_t{1} << width;
      EXPECT_EQ(std::to_string(value), row.cells[5]);
      EXPECT_EQ(rounded_value(bits, f, static_cast<int>(mode), kind == "signed", width), row.cells[6]);
      ++examples;
    }
  }
  EXPECT_GE(examples, 10);
}

}  // namespace
}  // namespace vell::test
