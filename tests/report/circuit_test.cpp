#include "vell/report/circuit.h"

#include <gtest/gtest.h>

#include <set>

#include "vell/bv/wordclausifier.h"
#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell::report {
namespace {

Circuit made(std::string const& name, std::uint64_t width, std::vector<std::string> constants = {}) {
  CircuitOptions options;
  options.name = name;
  options.width = width;
  options.constants = std::move(constants);
  return make_circuit(options);
}

std::uint64_t result_of(Circuit const& c, std::vector<std::uint64_t> const& numbers) {
  std::vector<std::vector<bool>> inputs;
  for (std::size_t i = 0; i < c.inputs.size(); ++i) {
    inputs.emplace_back();
    for (std::size_t k = 0; k < c.inputs[i].bits.size(); ++k) inputs[i].push_back((numbers[i] >> k & 1) != 0);
  }
  std::vector<bool> const values = circuit_values(c, inputs);
  std::uint64_t out = 0;
  for (std::size_t k = 0; k < c.result.bits.size(); ++k) {
    bv::BvLit const l = c.result.bits[k];
    bool const bit =
        bv::is_constant(l) ? l == bv::l_true : values[static_cast<std::size_t>(std::abs(l))] == (l > 0);
    if (bit) out |= std::uint64_t{1} << k;
  }
  return out;
}

TEST(Circuit, ValuesAreThoseOfTheOperator) {
  struct Row {
    char const* name;
    std::uint64_t (*expected)(std::uint64_t x, std::uint64_t y);
  };
  Row const rows[] = {
      {"bvadd", [](std::uint64_t x, std::uint64_t y) { return (x + y) & 7; }},
      {"bvsub", [](std::uint64_t x, std::uint64_t y) { return (x - y) & 7; }},
      {"bvmul", [](std::uint64_t x, std::uint64_t y) { return x * y & 7; }},
      {"bvudiv", [](std::uint64_t x, std::uint64_t y) { return y == 0 ? 7 : x / y; }},
      {"bvurem", [](std::uint64_t x, std::uint64_t y) { return y == 0 ? x : x % y; }},
      {"bvshl", [](std::uint64_t x, std::uint64_t y) { return y > 2 ? 0 : x << y & 7; }},
      {"bvult", [](std::uint64_t x, std::uint64_t y) -> std::uint64_t { return x < y; }},
      {"bvsle", [](std::uint64_t x, std::uint64_t y) -> std::uint64_t { return (x ^ 4) <= (y ^ 4); }},
      {"=", [](std::uint64_t x, std::uint64_t y) -> std::uint64_t { return x == y; }},
      {"concat", [](std::uint64_t x, std::uint64_t y) { return x << 3 | y; }},
  };
  for (Row const& row : rows) {
    Circuit const c = made(row.name, 3);
    for (std::uint64_t x = 0; x < 8; ++x)
      for (std::uint64_t y = 0; y < 8; ++y)
        EXPECT_EQ(row.expected(x, y), result_of(c, {x, y})) << row.name << x << y;
  }
}

TEST(Circuit, ConstantBits) {
  for (std::string const constant : {"#b101", "#b1?1", "1?1", "?"}) {
    Circuit const c = made("bvadd", 3, {"?", constant});
    for (std::uint64_t x = 0; x < 8; ++x) EXPECT_EQ((x + 5) % 8, result_of(c, {x, 5})) << constant;
  }
  EXPECT_EQ(bv::l_true, made("bvadd", 4, {"#xA"}).inputs[0].bits[3]);
  EXPECT_LT(made("bvmul", 4, {"0101"}).cells.size(), made("bvmul", 4).cells.size());
  EXPECT_EQ(0u, made("bvshl", 4, {"?", "0001"}).cells.size());
  EXPECT_EQ(1u, made("and", 1).cells.size());
  EXPECT_EQ(0u, made("and", 1, {"1"}).cells.size());
}

// Each with a handler, and each of its cells known.
TEST(Circuit, EveryHandlerIsDrawn) {
  std::vector<std::string> const names = operator_names();
  EXPECT_EQ(names.size(), std::set<std::string>(names.begin(), names.end()).size());
  std::set<SymbolTag::tag> tags;
  for (OperatorInfo const& info : operator_table) tags.insert(info.tag);
  for (bv::WordClausifier::Hook const& hook : bv::WordClausifier::builtin_hooks())
    EXPECT_TRUE(tags.contains(hook.tag)) << hook.tag;
  EXPECT_EQ(36u, bv::WordClausifier::builtin_hooks().size());
  for (std::string const& name : names)
    for (std::uint64_t const width : {1, 2, 3, 4}) {
      Circuit const c = made(name, width);
      EXPECT_FALSE(c.result.bits.empty()) << name;
      for (Cell const& cell : c.cells) {
        EXPECT_NE("gate", cell.kind) << name << " " << width;
        EXPECT_NE("free", cell.kind) << name << " " << width;
      }
    }
}

TEST(Circuit, IndexedOperators) {
  EXPECT_EQ(4u, made("(_ extract 5 2)", 8).result.bits.size());
  EXPECT_EQ("((_ rotate_left 3) x)", made("(_ rotate_left 3)", 8).title);
  EXPECT_EQ(11u, made("(_ sign_extend 3)", 8).result.bits.size());
  EXPECT_EQ(5u, made("fp.to_ubv", 5).result.bits.size());
  EXPECT_LT(made("fp.to_ubv", 5, {"RTZ"}).cells.size(), made("fp.to_ubv", 5).cells.size());
}

TEST(Circuit, Refusals) {
  EXPECT_THROW(made("bvnix", 4), Exception);
  EXPECT_THROW(made("bvadd", 0), Exception);
  EXPECT_THROW(made("bvadd", 4, {"?", "?", "?"}), Exception);
  EXPECT_THROW(made("bvadd", 4, {"101"}), Exception);
  EXPECT_THROW(made("bvadd", 4, {"1012"}), Exception);
  EXPECT_THROW(made("bvadd", 4, {"#xG"}), Exception);
  EXPECT_THROW(made("(_ extract 9 2)", 8), Exception);
  EXPECT_THROW(made("(_ extract 9)", 8), Exception);
  EXPECT_THROW(made("(_ extract a 2)", 8), Exception);
  EXPECT_THROW(made("fp.to_sbv", 5, {"RNA"}), Exception);
  EXPECT_THROW(made("bvudiv", 32), Exception);  // too many cells
}

}  // namespace
}  // namespace vell::report
