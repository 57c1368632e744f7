// Handlers of if-then-else, and a logger that dies with its clausifier.

#include "vell/bv/standardclausifier.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "tests/support/allocations.h"
#include "vell/bv/inspector.h"
#include "vell/sinks/recordingsink.h"
#include "vell/terms/exception.h"

namespace vell::bv {
namespace {

TEST(StandardClausifierTest, HasTheHandlersOfTheBaseAndThoseOfIfThenElse) {
  TermManager tm;
  StandardClausifier c(&tm);
  auto const& hooks = WordClausifierInspector(c).hooks();
  ASSERT_EQ(hooks.size(), SymbolTag::fp_is_positive + 1u);
  EXPECT_TRUE(hooks[SymbolTag::bool_ite] == &WordClausifier::bool_ite);
  EXPECT_TRUE(hooks[SymbolTag::term_ite] == &WordClausifier::word_ite);
  for (WordClausifier::Hook const& h : WordClausifier::builtin_hooks())
    EXPECT_EQ(hooks[h.tag] == h.handler, h.tag != SymbolTag::fp_to_sbv && h.tag != SymbolTag::fp_to_ubv);
  for (OperatorInfo const& op : operator_table) EXPECT_TRUE(hooks[op.tag] != nullptr) << op.name;

  sinks::RecordingSink sink;
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  Term_ const* x = tm.mk_variable("x", tm.bv_type(2));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(2));
  c.bit_blast(tm.mk_app(SymbolTag::term_ite, {p, x, y}), &sink);
  EXPECT_EQ(sink.clauses().size(), 8u);
  c.bit_blast(tm.mk_app(SymbolTag::bool_ite, {p, p, tm.mk_variable("q", tm.bool_type)}), &sink);
  EXPECT_EQ(sink.clauses().size(), 12u);
}

// Without a handler they would be variables.
TEST(StandardClausifierTest, RefusesWhatItWouldGetWrong) {
  TermManager tm;
  StandardClausifier c(&tm);
  sinks::RecordingSink sink;
  Term_ const* const x = tm.mk_variable("x", tm.fp_type(5, 10));
  for (OperatorInfo const& op : floating_operator_table) {
    if (op.typing != OperatorInfo::Typing::fp_test) continue;
    std::vector<Term_ const*> const operands(static_cast<std::size_t>(op.arity), x);
    EXPECT_THROW(c.bit_blast(tm.mk_app(op.tag, operands), &sink), Exception) << op.name;
  }
  for (SymbolTag::tag tag : {SymbolTag::fp_to_sbv, SymbolTag::fp_to_ubv}) {
    Term_ const* const away = tm.mk_rounding_mode(Symbol::Role::rounding_away);
    EXPECT_THROW(c.bit_blast(tm.mk_app(tag, {away, x}, 4), &sink), Exception);
    c.bit_blast(tm.mk_app(tag, {tm.mk_rounding_mode(Symbol::Role::rounding_even), x}, 4), &sink);
  }
}

TEST(StandardClausifierTest, LeavesNothingBehind) {
  TermManager tm;
  Configuration::Theory::Bv config;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  sinks::RecordingSink sink;
  auto const round = [&] {
    std::unique_ptr<WordClausifierInterface> c = std::make_unique<StandardClausifier>(&tm, &config);
    c->bit_blast(x, &sink);
  };
  round();
  std::uint64_t const before = test::live_allocations();
  for (int i = 0; i < 10; ++i) round();
  EXPECT_EQ(test::live_allocations(), before);
}

TEST(StandardClausifierTest, WritesToItsOwnLoggerUntilItIsGivenOne) {
  TermManager tm;
  StandardClausifier c(&tm);
  WordClausifierInspector const inspect(c);
  EXPECT_EQ(inspect.logger(), &c.own_logger());
  EXPECT_FALSE(inspect.owns_logger());
  testing::internal::CaptureStderr();
  c.bit_not(2);
  c.own_logger().set_verbosity(3);
  c.bit_not(2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "BV:Word clausifier - bit_not \n");
  std::ostringstream s;
  Logger other(s, 3);
  c.set_logger(&other);
  c.bit_not(2);
  EXPECT_EQ(s.str(), "BV:Word clausifier - bit_not \n");
}

}  // namespace
}  // namespace vell::bv
