#include "vell/engine/engine.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"

namespace vell::engine {
namespace {

struct Result {
  std::string answers;
  bool good = false;
};

Result execute(std::string const& script, IncrementalSolverOptions const& options = {},
               run::StopReason stop = run::StopReason::none) {
  test::Scratch scratch;
  Result run;
  {
    Console console;
    console.set_regular_channel(scratch.file("answers"));
    run::Limits limits;
    if (stop != run::StopReason::none) limits.stop(stop);
    run::Statistics statistics;
    ScriptEngine engine(options, console, limits, statistics);
    run.good = engine.run(io::Source::text(script, "s"));
  }
  run.answers = scratch.read("answers");
  return run;
}

std::string answers(std::string const& script) {
  Result const run = execute(script);
  EXPECT_TRUE(run.good) << run.answers;
  return run.answers;
}

// The error that ends the script, without what was answered before.
std::string failure(std::string const& script) {
  Result const run = execute(script);
  EXPECT_FALSE(run.good);
  std::size_t const at = run.answers.find("(error ");
  return at == std::string::npos ? "" : run.answers.substr(at);
}

TEST(ScriptEngine, AnswersAndModels) {
  EXPECT_EQ(
      "sat\n(\n  (define-fun x () (_ BitVec 4) #b1010)\n  (define-fun |a b| () Bool true)\n)\n"
      "((x #b1010) ((bvnot x) #b0101) (|a b| true))\n",
      answers("(declare-const x (_ BitVec 4))(declare-fun |a b| () Bool)(assert (= x #xa))(assert |a b|)"
              "(check-sat)(get-model)(get-value (x (bvnot   x) |a b|))"));
  EXPECT_EQ("unsat\n", answers("(declare-const p Bool)(assert p)(assert (not p))(check-sat)"));
}

TEST(ScriptEngine, AQuestionOutsideTheStandardChangesNothing) {
  EXPECT_EQ("unsupported\nunsat\n",
            answers("(declare-const p Bool)(assert p)(simplify (and p p))(assert (not p))(check-sat)"));
}

TEST(ScriptEngine, AVariableInNoAssertionIsZero) {
  EXPECT_EQ("sat\n((x #b000) (p false))\n",
            answers("(declare-const x (_ BitVec 3))(declare-const p Bool)(check-sat)(get-value (x p))"));
}

TEST(ScriptEngine, LevelsComeAndGo) {
  EXPECT_EQ(
      "sat\nunsat\nsat\nunsat\nunsat\nsat\n",
      answers(
          "(declare-const x (_ BitVec 8))(assert (bvult x #x10))(check-sat)"
          "(push 1)(assert (bvugt x #x20))(check-sat)(pop 1)(check-sat)"
          "(push 2)(assert (= x #x11))(check-sat)(push)(assert (= x #x01))(check-sat)(pop 3)(check-sat)"));
}

TEST(ScriptEngine, AnAssertionOfAnOuterLevelAfterAnInnerPop) {
  EXPECT_EQ(
      "unsat\nsat\nunsat\n",
      answers(
          "(declare-const p Bool)(declare-const q Bool)(push 1)(assert p)(push 1)(assert (not p))(check-sat)"
          "(pop 1)(assert q)(check-sat)(assert (not q))(check-sat)"));
}

TEST(ScriptEngine, CheckSatAssuming) {
  EXPECT_EQ("unsat\nsat\nunsat\n(q)\nsat\n",
            answers("(set-option :produce-unsat-assumptions true)(declare-const p Bool)(declare-const q Bool)"
                    "(declare-const r Bool)(assert (not (and p q)))(check-sat-assuming (p q))(check-sat)"
                    "(assert (not q))(check-sat-assuming (r q))(get-unsat-assumptions)(check-sat-assuming (p "
                    "(not q)))"));
  EXPECT_EQ("unsat\n(false)\n", answers("(set-option :produce-unsat-assumptions true)(declare-const p Bool)"
                                        "(check-sat-assuming (p false))(get-unsat-assumptions)"));
}

TEST(ScriptEngine, UnsatCoresNameWhatIsNeeded) {
  EXPECT_EQ(
      "unsat\n(a c)\nsat\nunsat\n(d)\n",
      answers("(set-option :produce-unsat-cores true)(declare-const p Bool)(declare-const q Bool)"
              "(push 1)(assert (! p :named a))(assert (! q :named b))(assert (! (not p) :named c))(check-sat)"
              "(get-unsat-core)(pop 1)(check-sat)(assert (! (and p (not p)) :named "
              "d))(check-sat)(get-unsat-core)"));
}

TEST(ScriptEngine, Assignments) {
  EXPECT_EQ("sat\n((n true) (m false))\n",
            answers("(set-option :produce-assignments true)(declare-const x (_ BitVec 2))"
                    "(assert (! (= x #b01) :named n))(assert (not (! (= x #b10) :named "
                    "m)))(check-sat)(get-assignment)"));
}

TEST(ScriptEngine, ResetAndResetAssertions) {
  EXPECT_EQ("unsat\nsat\nsat\n",
            answers("(declare-const p Bool)(assert false)(check-sat)(reset-assertions)(check-sat)"
                    "(reset)(declare-const p (_ BitVec 2))(assert (= p #b11))(check-sat)"));
}

TEST(ScriptEngine, InformationAndOptions) {
  EXPECT_EQ(
      "(:name \"vell-bv\")\n(:error-behavior immediate-exit)\n(:assertion-stack-levels 2)\nunsupported\n"
      "false\nunsupported\nsuccess\ntrue\n\"a \"\"b\"\"\"\nsuccess\n",
      answers("(get-info :name)(get-info :error-behavior)(push 2)(get-info :assertion-stack-levels)"
              "(get-info :nothing)(get-option :produce-unsat-cores)(set-option :nothing 1)"
              "(set-option :print-success true)(get-option :print-success)(echo \"a \"\"b\"\"\")(exit)"));
}

TEST(ScriptEngine, AssertionsArePrintedAndReadBack) {
  std::string const script = "(declare-const x (_ BitVec 8))(declare-const |y z| (_ BitVec 8))";
  std::string const text =
      answers(script +
              "(assert (let ((s (bvadd x |y z|))) (= (bvmul s s) ((_ extract 7 0) (concat s x)))))"
              "(assert (! (bvult x #x05) :named n))(get-assertions)");
  EXPECT_NE(std::string::npos, text.find("(bvadd x |y z|)"));
  EXPECT_NE(std::string::npos, text.find(":named n)"));
  std::size_t const first = text.find("(let");
  std::size_t const end = text.find('\n', first);
  EXPECT_EQ("sat\n", answers(script + "(assert " + text.substr(first, end - first) + ")(check-sat)"));
}

TEST(ScriptEngine, QuestionsWithoutAnAnswerArePassedOver) {
  EXPECT_EQ(
      "(error \"s:1:1: there is no model: the last command was no check-sat that answered sat\")\n\"more\"\n",
      failure("(get-model)(echo \"more\")"));
  EXPECT_EQ("(error \"s:1:1: the last command was no check-sat that answered unknown\")\nsat\n",
            failure("(get-info :reason-unknown)(check-sat)"));
  EXPECT_EQ("(error \"s:1:42: there is no model: the last command was no check-sat that answered sat\")\n",
            failure("(declare-const p Bool)(check-sat)(push 1)(get-value (p))"));
  EXPECT_EQ("(error \"s:1:26: unsat cores are not produced: :produce-unsat-cores is false\")\n",
            failure("(assert false)(check-sat)(get-unsat-core)"));
}

TEST(ScriptEngine, ErrorsEndTheScript) {
  EXPECT_EQ("(error \"s:1:12: logic QF_LRA is not supported\")\n", failure("(set-logic QF_LRA)(check-sat)"));
  EXPECT_EQ("(error \"s:1:24: :produce-unsat-cores must be set before the first check-sat\")\n",
            failure("(check-sat)(set-option :produce-unsat-cores true)"));
  EXPECT_EQ("(error \"s:2:7: more than 10000000 levels\")\n", failure("\n(push 12000000)"));
}

TEST(ScriptEngine, ErrorsOfOptionsPointAtTheirArgument) {
  EXPECT_EQ("(error \"s:2:31: :produce-models takes true or false, not 1\")\n",
            failure("\n(set-option :produce-models   1)"));
  EXPECT_EQ("(error \"s:1:26: :random-seed takes a numeral, not x\")\n",
            failure("(set-option :random-seed x)"));
  EXPECT_EQ("(error \"s:1:31: :bv-output-format takes binary, hexadecimal or decimal, not octal\")\n",
            failure("(set-option :bv-output-format octal)"));
  EXPECT_EQ("(error \"s:1:12: logic QF_VB is not supported; did you mean `QF_BV`?\")\n",
            failure("(set-logic QF_VB)"));
}

TEST(ScriptEngine, AnUnknownOptionThatIsCloseToAKnownOne) {
  testing::internal::CaptureStderr();
  EXPECT_EQ("unsupported\n", answers("(set-option :produce-model true)"));
  EXPECT_EQ("vell-bv: s:1:1: unknown option :produce-model; did you mean `:produce-models`?\n",
            testing::internal::GetCapturedStderr());
}

TEST(ScriptEngine, FormatsOfValues) {
  std::string const script =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 5))(declare-const z (_ BitVec 80))"
      "(assert (= x #xa5))(assert (= y #b10001))(assert (= z (bvshl (_ bv11 80) (_ bv70 80))))";
  std::string const ask = "(check-sat)(get-value (x y z))";
  EXPECT_EQ("sat\n((x #xa5) (y #b10001) (z #x02c00000000000000000))\n",
            answers("(set-option :bv-output-format hexadecimal)" + script + ask));
  EXPECT_EQ(
      "sat\n((x (_ bv165 8)) (y (_ bv17 5)) (z (_ bv12986507827891524337664 80)))\ndecimal\n",
      answers("(set-option :bv-output-format decimal)" + script + ask + "(get-option :bv-output-format)"));
  EXPECT_EQ("sat\n((x #b10100101))\nbinary\n",
            answers("(set-option :bv-output-format binary)" + script +
                    "(check-sat)(get-value (x))(get-option :bv-output-format)"));
}

TEST(ScriptEngine, ProduceAssertions) {
  EXPECT_EQ("success\n", answers("(set-option :print-success true)").substr(0, 8));
  EXPECT_EQ("(\n  true\n)\n", answers("(set-option :produce-assertions true)(assert true)(get-assertions)"));
  EXPECT_EQ("(error \"s:1:39: assertions are switched off by :produce-assertions\")\n",
            failure("(set-option :produce-assertions false)(get-assertions)"));
}

TEST(ScriptEngine, NothingIsAnsweredAfterABrokenAssertion) {
  EXPECT_EQ(0u, failure("(declare-const p Bool)(assert (and p q))(check-sat)").find("(error \"s:1:38: "));
  EXPECT_EQ(std::string::npos,
            execute("(declare-const p Bool)(assert (and p q))(check-sat)").answers.find("sat\n"));
}

TEST(ScriptEngine, LimitsMakeItUnknown) {
  std::string const script =
      "(declare-const p Bool)(assert p)(check-sat)(get-info :reason-unknown)(check-sat)";
  EXPECT_EQ("unknown\n(:reason-unknown timeout)\nunknown\n",
            execute(script, {}, run::StopReason::timeout).answers);
  EXPECT_EQ("unknown\n(:reason-unknown memout)\nunknown\n",
            execute(script, {}, run::StopReason::memout).answers);
  // An interrupt ends the script.
  Result const run = execute(script, {}, run::StopReason::interrupted);
  EXPECT_EQ("unknown\n", run.answers);
  EXPECT_FALSE(run.good);
}

TEST(ScriptEngine, DivisionByZeroIsFreeOnlyWhenAsked) {
  std::string const script =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(assert (= y #x00))"
      "(assert (= (bvudiv x y) #x12))(check-sat)";
  EXPECT_EQ("unsat\n", execute(script).answers);
  IncrementalSolverOptions options;
  options.free_division = true;
  EXPECT_EQ("sat\n", execute(script, options).answers);
}

// The term whose quotient is open must reach the solver with the operands that the model is checked with.
TEST(ScriptEngine, FreeQuotientsOfSimplifiedOperands) {
  IncrementalSolverOptions options;
  options.free_division = true;
  EXPECT_EQ("sat\n", execute("(declare-const x (_ BitVec 1))"
                             "(assert (= (bvudiv (ite (= (bvmul x x) (bvmul x x)) x x) #b0) #b1))(check-sat)",
                             options)
                         .answers);
  EXPECT_EQ("sat\n",
            execute("(declare-const x (_ BitVec 2))(declare-const y (_ BitVec 2))"
                    "(assert (= (bvudiv (bvmul x y) #b00) #b01))"
                    "(assert (= (bvmul ((_ zero_extend 2) x) ((_ zero_extend 2) y)) #x6))(check-sat)",
                    options)
                .answers);
}

TEST(ScriptEngine, ExternalSolver) {
  IncrementalSolverOptions options;
  options.solver_command = "cadical -q {cnf}";
  EXPECT_EQ("sat\n((x #b00010001))\nunsat\nsat\n",
            execute("(declare-const x (_ BitVec 8))(assert (= (bvmul x #x03) #x33))(check-sat)(get-value (x))"
                    "(push 1)(assert (bvugt x #xf0))(assert (bvult x #x10))(check-sat)(pop 1)(check-sat)",
                    options)
                .answers);
  options.solver_command = "true {cnf}";
  EXPECT_EQ("(error \"s:1:1: --solver: the command printed no answer (s line)\")\n",
            execute("(check-sat)", options).answers);
  options.solver_command = "no-such-program {cnf} 2>/dev/null";
  EXPECT_FALSE(execute("(check-sat)", options).good);
}

// A solver that lies about being satisfiable: the model is checked, and no `sat` is said.
TEST(ScriptEngine, AWrongModelIsNoAnswer) {
  IncrementalSolverOptions options;
  options.solver_command = "echo 's SATISFIABLE'; echo 'v 0' # {cnf}";
  testing::internal::CaptureStderr();
  Result const run = execute(
      "(set-option :words \"none\")(declare-const p Bool)(assert p)(check-sat)"
      "(get-info :reason-unknown)",
      options);
  EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("--solver: the model that "));
  EXPECT_EQ("unknown\n(:reason-unknown incomplete)\n", run.answers);
  EXPECT_FALSE(run.good);
}

TEST(ScriptEngine, ManyRoundsReuseWhatWasTranslated) {
  std::string script =
      "(declare-const x (_ BitVec 16))(declare-const y (_ BitVec 16))(assert (= (bvmul x y) #x0fa5))";
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    bool const odd = i % 2 == 1;
    script +=
        "(push 1)(assert (= ((_ extract 0 0) x) " + std::string(odd ? "#b1" : "#b0") + "))(check-sat)(pop 1)";
    expected += odd ? "sat\n" : "unsat\n";
  }
  EXPECT_EQ(expected, answers(script));
}

TEST(ScriptEngine, ChannelsAreRedirected) {
  test::Scratch scratch;
  std::string const name = scratch.file("out");
  EXPECT_EQ("", answers("(set-option :regular-output-channel \"" + name + "\")(check-sat)"));
  EXPECT_EQ("sat\n", scratch.read("out"));
  EXPECT_NE("", failure("(set-option :regular-output-channel \"/no/such/folder/f\")"));
}

}  // namespace
}  // namespace vell::engine
