#include "vell/script/cnf.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/scratch.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/script/error.h"
#include "vell/script/script.h"
#include "vell/terms/theory.h"

namespace vell::script {
namespace {

using test::Scratch;

std::string contents(std::string const& path) {
  std::ostringstream out;
  out << std::ifstream(path).rdbuf();
  return out.str();
}

// What stands in a file without its comments.
std::string without_comments(std::string const& text) {
  std::istringstream in(text);
  std::string out;
  for (std::string line; std::getline(in, line);)
    if (!line.starts_with("c ")) out += line + "\n";
  return out;
}

std::vector<std::int32_t> solve(Cnf const& cnf) {
  sat::CadicalSolver solver(0);
  for (std::uint64_t i = 0; i < cnf.clauses(); ++i)
    solver.add(cnf.literals().subspan(cnf.offsets()[i], cnf.offsets()[i + 1] - cnf.offsets()[i]));
  std::vector<std::int32_t> model;
  if (solver.solve({}, {}) != sinks::Answer::sat) return model;
  for (std::uint64_t v = 1; v <= cnf.variables(); ++v) {
    std::int32_t const l = static_cast<std::int32_t>(v);
    model.push_back(solver.value(l) ? l : -l);
  }
  return model;
}

constexpr char factors[] =
    "(declare-const x (_ BitVec 8))\n(declare-const y (_ BitVec 8))\n(declare-const spare Bool)\n"
    "(assert (= (bvmul ((_ zero_extend 8) x) ((_ zero_extend 8) y)) #x008f))\n"
    "(assert (bvult x y))\n(assert (bvugt x #x01))\n(check-sat)\n";

struct Formulas {
  explicit Formulas(std::string const& text) : script(Script::text(terms, text)) {
    for (Formula const& f : script.formulas()) list.push_back(f.term);
  }
  TermManager terms;
  Script script;
  std::vector<Term_ const*> list;
};

TEST(Cnf, IsSatisfiedByAModel) {
  for (char const* words : {"all", "none"})
    for (bool raw : {false, true}) {
      Formulas f(factors);
      CnfOptions options;
      options.words = words;
      options.raw = raw;
      Cnf const cnf(f.terms, f.list, options);
      Model model = cnf.decode(solve(cnf));
      EXPECT_EQ((std::vector<std::uint64_t>{11}), model.words(f.script.find("x"))) << words << raw;
      EXPECT_EQ((std::vector<std::uint64_t>{13}), model.words(f.script.find("y"))) << words << raw;
      for (Term_ const* t : f.list) EXPECT_TRUE(model.is_true(t));
    }
}

// The same clauses as the command line's, constants and all.
TEST(Cnf, HasTheClausesOfTheFile) {
  Scratch scratch;
  for (char const* words : {"all", "none"})
    for (bool raw : {false, true}) {
      Formulas f(factors);
      CnfFileOptions options;
      options.words = words;
      options.raw = raw;
      std::string const file = scratch.file("file.cnf");
      std::string const memory = scratch.file("memory.cnf");
      write_cnf(scratch.write("a.smt2", factors), file, options);
      Cnf(f.terms, f.list, options).write(memory);
      EXPECT_EQ(without_comments(contents(file)), without_comments(contents(memory))) << words << raw;
    }
}

TEST(Cnf, NamesTheBits) {
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bv_type(2));
  Term_ const* unused = terms.mk_variable("unused", terms.bv_type(2));
  Term_ const* wide = mk_app(terms, "concat", {terms.mk_bv(1, 2), x});
  Term_ const* formula = terms.mk_app(SymbolTag::bv_ult, {wide, terms.mk_bv(6, 4)});
  CnfOptions options;
  options.words = "none";
  Cnf const cnf(terms, std::span(&formula, 1), options);
  EXPECT_EQ((std::vector<std::int32_t>{1, 2}), cnf.bits(x));
  EXPECT_EQ((std::vector<std::int32_t>{1, 2, Cnf::true_bit, Cnf::false_bit}), cnf.bits(wide));
  EXPECT_EQ((std::vector<std::int32_t>{Cnf::any_bit, Cnf::any_bit}), cnf.bits(unused));
  ASSERT_EQ(1U, cnf.constants().size());
  EXPECT_EQ(x, cnf.constants()[0]);
  options.raw = true;
  Cnf const raw(terms, std::span(&formula, 1), options);
  EXPECT_EQ((std::vector<std::int32_t>{2, 3, 1, -1}), raw.bits(wide));
  EXPECT_EQ(1, raw.literals()[0]);
  EXPECT_EQ(1U, raw.offsets()[1]);
}

// A variable that a formula defines has the bits of its value.
TEST(Cnf, NamesTheBitsOfEliminatedVariables) {
  Formulas f(
      "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(assert (= y (bvnot x)))"
      "(assert (bvult x y))");
  Cnf const cnf(f.terms, f.list);
  std::vector<std::int32_t> const x = cnf.bits(f.script.find("x"));
  std::vector<std::int32_t> const y = cnf.bits(f.script.find("y"));
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(x[i], -y[i]);
  Model model = cnf.decode(solve(cnf));
  for (Term_ const* t : f.list) EXPECT_TRUE(model.is_true(t));
}

TEST(Cnf, WritesNamesBehindConstants) {
  Scratch scratch;
  TermManager terms;
  Term_ const* x = terms.mk_variable("a b", terms.bool_type);
  Term_ const* no = terms.mk_app(SymbolTag::bool_not, {x});
  CnfOptions options;
  options.words = "none";
  Cnf const cnf(terms, std::span(&no, 1), options);
  std::pair<std::string, Term_ const*> const names[] = {{"no way", no}};
  cnf.write(scratch.file("a.cnf"), names);
  EXPECT_EQ("c vell-bv 0.1.0\nc map |a b| Bool 1\nc names\nc map |no way| Bool -1\np cnf 1 1\n-1 0\n",
            scratch.read("a.cnf"));
}

TEST(Cnf, IsDecodedByTheCommandLineToo) {
  Scratch scratch;
  Formulas f(factors);
  Cnf const cnf(f.terms, f.list);
  cnf.write(scratch.file("a.cnf.xz"));
  std::string solution = "s SATISFIABLE\nv";
  for (std::int32_t l : solve(cnf)) solution += " " + std::to_string(l);
  std::string const text =
      decode(scratch.file("a.cnf.xz"), scratch.write("a.out", solution + " 0\n"), WordFormat::decimal);
  EXPECT_NE(std::string::npos, text.find("(define-fun x () (_ BitVec 8) (_ bv11 8))")) << text;
}

TEST(Cnf, RefusesWhatIsNoModel) {
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bool_type);
  CnfOptions options;
  options.words = "none";
  Cnf const cnf(terms, std::span(&x, 1), options);
  auto const message = [&](std::vector<std::int32_t> const& model) -> std::string {
    try {
      cnf.decode(model);
    } catch (Exception const& e) {
      return e.what();
    }
    return "";
  };
  EXPECT_EQ("", message({1}));
  EXPECT_EQ("the model does not satisfy clause 1", message({-1}));
  EXPECT_EQ("the model does not satisfy clause 1", message({}));
  EXPECT_EQ("the model has both literals of variable 1", message({1, -1}));
  EXPECT_EQ("the model has the literal 2: no such variable", message({1, 2}));
  EXPECT_EQ("the model has the literal 0: no such variable", message({0}));
  EXPECT_NE("", message({INT32_MIN}));
}

TEST(Cnf, RefusesWhatIsNoFormula) {
  TermManager terms;
  Term_ const* word = terms.mk_variable("x", terms.bv_type(4));
  EXPECT_THROW(Cnf(terms, std::span(&word, 1)), Exception);
  Term_ const* n = terms.mk_variable("n", terms.int_type);
  Term_ const* foreign = terms.mk_term(terms.operator_symbol(SymbolTag::equal, 2, terms.bool_type),
                                       std::vector<Term_ const*>{n, n});
  CnfOptions options;
  options.words = "none";
  EXPECT_THROW(Cnf(terms, std::span(&foreign, 1), options), Exception);
}

TEST(Cnf, FalseIsTheEmptyClause) {
  TermManager terms;
  Term_ const* no = terms.mk_bool(false);
  Cnf const cnf(terms, std::span(&no, 1));
  ASSERT_EQ(1U, cnf.clauses());
  EXPECT_EQ(0U, cnf.literals().size());
  EXPECT_THROW(cnf.decode({}), Exception);
}

TEST(Cnf, CanBeStopped) {
  Formulas f(factors);
  Control control;
  control.stop(Reason::timeout);
  EXPECT_THROW(Cnf(f.terms, f.list, {}, &control), Stopped);
  Scratch scratch;
  EXPECT_THROW(write_cnf(scratch.write("a.smt2", factors), scratch.file("a.cnf"), {}, &control), Stopped);
  EXPECT_FALSE(std::ifstream(scratch.file("a.cnf")).is_open());
}

TEST(Cnf, FilesOfBrokenScriptsAreNotWritten) {
  Scratch scratch;
  try {
    write_cnf(scratch.write("a.smt2", "(assert"), scratch.file("a.cnf"));
    FAIL();
  } catch (Error const& e) {
    EXPECT_EQ(scratch.file("a.smt2"), e.file());
  }
  EXPECT_FALSE(std::ifstream(scratch.file("a.cnf")).is_open());
}

}  // namespace
}  // namespace vell::script
