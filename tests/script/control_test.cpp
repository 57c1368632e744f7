#include "vell/script/control.h"

#include <gtest/gtest.h>

#include "vell/script/cnf.h"

namespace vell::script {
namespace {

TEST(Control, KeepsTheFirstReason) {
  Control control;
  EXPECT_EQ(Reason::none, control.stopped());
  control.stop(Reason::timeout);
  control.stop(Reason::memout);
  EXPECT_EQ(Reason::timeout, control.stopped());
}

TEST(Control, StopsNoCheckWithoutOne) {
  Control control;
  control.stop_check();
  EXPECT_FALSE(control.checking());
  EXPECT_FALSE(control.check_stopped());
  EXPECT_EQ(Reason::none, control.stopped());
}

TEST(Control, HasFigures) {
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bv_type(8));
  Term_ const* const formula = terms.mk_app(SymbolTag::bv_ult, {x, terms.mk_bv(9, 8)});
  Control control;
  Cnf const cnf(terms, std::span(&formula, 1), {}, &control);
  EXPECT_TRUE(control.progress().starts_with("clausifying: ")) << control.progress();
  EXPECT_NE(std::string::npos, control.statistics_text().find("clauses"));
  EXPECT_TRUE(control.statistics_json().starts_with("{"));
  EXPECT_EQ(cnf.clauses(), control.clauses());
  EXPECT_EQ(cnf.variables(), control.variables());
}

TEST(Control, ReasonsHaveNames) {
  EXPECT_STREQ("timeout", reason_text(Reason::timeout));
  EXPECT_STREQ("memout", reason_text(Reason::memout));
  EXPECT_STREQ("resourceout", reason_text(Reason::resourceout));
}

}  // namespace
}  // namespace vell::script
