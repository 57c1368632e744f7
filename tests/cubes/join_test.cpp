#include "vell/cubes/join.h"

#include <gtest/gtest.h>

#include "tests/cubes/folder.h"
#include "vell/cubes/verdict.h"
#include "vell/io/digest.h"

namespace vell::cubes {
namespace {

using sinks::Answer;

TEST(Join, UnsatOnlyWhenEveryCubeIs) {
  test::CubeFolder const f(test::unsat_script, 8);
  EXPECT_EQ((std::vector<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8}), f.join().missing);
  for (std::size_t k : {2, 3, 7, 1, 8, 5, 4}) {
    f.solve(k);
    EXPECT_EQ(Answer::unknown, f.join().answer);
  }
  EXPECT_EQ((std::vector<std::size_t>{6}), f.join().missing);
  f.solve(6);
  EXPECT_EQ(Answer::unsat, f.join().answer);
}

// A model needs one verdict alone.
TEST(Join, ModelOfTheFirstSatisfiedCube) {
  test::CubeFolder const f(test::sat_script, 8);
  std::size_t first = 0;
  for (std::size_t k = f.cubes; k > 0; --k)
    if (f.solve(k) == Answer::sat) first = k;
  ASSERT_GT(first, 0U);
  Joined const joined = f.join();
  EXPECT_EQ(Answer::sat, joined.answer);
  EXPECT_EQ(
      "(\n  (define-fun x () (_ BitVec 8) #b00000101)\n  (define-fun y () (_ BitVec 8) #b00000111)\n)\n",
      joined.model);
  for (std::size_t k = 1; k <= f.cubes; ++k)
    if (k != first) std::remove(f.path(std::to_string(k) + ".verdict").c_str());
  EXPECT_EQ(joined.model, f.join().model);
}

TEST(Join, BrokenVerdictsAreNamedAndMissing) {
  test::CubeFolder const f(test::unsat_script, 8);
  f.solve_all();
  std::string const good = f.read("4.verdict");
  f.write("4.verdict", good.substr(0, 40));
  f.write("5.verdict", good);
  Joined const joined = f.join();
  EXPECT_EQ(Answer::unknown, joined.answer);
  EXPECT_EQ((std::vector<std::size_t>{4, 5}), joined.missing);
  EXPECT_EQ((std::vector<std::string>{
                f.path("4.verdict") + ": a verdict that is cut or changed",
                f.path("5.verdict") + ": the verdict of another run: other cubes, or another CNF"}),
            joined.refused);
}

TEST(Join, TamperedFiles) {
  std::string const why = ": it is not the file that the manifest names: its SHA-256 differs";
  {
    test::CubeFolder const f(test::unsat_script);
    f.solve_all();
    f.write("formula.cnf", f.read("formula.cnf") + "c\n");
    EXPECT_EQ("formula.cnf" + why, f.refusal());
  }
  {
    test::CubeFolder const f(test::sat_script);
    f.solve_all();
    f.write("script.smt2", test::unsat_script);
    EXPECT_EQ("script.smt2" + why, f.refusal());
  }
  {
    // Cubes that leave something out, in a manifest whose verdicts fit it.
    test::CubeFolder const f(test::unsat_script);
    Manifest m = read_manifest(f.options.folder);
    m.cubes.pop_back();
    m.cube_hashes.clear();
    for (std::size_t k = 1; k <= m.count(); ++k) {
      f.write(std::to_string(k) + ".cube", cube_text(m, k));
      m.cube_hashes.push_back(io::text_digest(cube_text(m, k)));
    }
    write_manifest(m);
    for (std::size_t k = 1; k <= m.count(); ++k) f.solve(k);
    EXPECT_EQ("manifest.json: the cubes leave assignments out", f.refusal());
  }
}

// A verdict of sat that somebody wrote by hand, for a script that has no model.
TEST(Join, ModelsAreChecked) {
  test::CubeFolder const f(test::unsat_script);
  Manifest const m = read_manifest(f.options.folder);
  Verdict verdict;
  verdict.sat = true;
  for (std::int32_t v = 1; v <= m.variables; ++v) verdict.values.push_back(v);
  write_verdict(m, 2, verdict);
  EXPECT_THROW(f.join(), Exception);
}

// A model that satisfies the clauses, for a script that they are not of.
TEST(Join, ModelsAreCheckedAgainstTheScript) {
  test::CubeFolder const f(test::sat_script, 1);
  f.solve_all();
  EXPECT_EQ(Answer::sat, f.join().answer);
  f.write("script.smt2", test::unsat_script);
  Manifest m = read_manifest(f.options.folder);
  m.script_hash = io::input_digest(m.path(m.script));
  write_manifest(m);
  f.solve_all();
  EXPECT_EQ("formula.cnf: written for another script than " + f.path("script.smt2"), f.refusal());
}

// A quotient that is left open has no value in the map.
TEST(Join, OpenQuotients) {
  test::Scratch const scratch;
  CubeOptions options;
  options.cnf.input = scratch.write(
      "f.smt2", "(set-logic QF_BV)(declare-const x (_ BitVec 4))(assert (= (bvudiv x #x0) #x5))(check-sat)");
  options.cnf.free_division = true;
  options.cnf.passes = words::Passes::none;
  options.folder = scratch.file("f");
  run::Statistics statistics;
  ASSERT_EQ(1U, write_cubes(options, run::no_limits(), statistics));
  ASSERT_EQ(Answer::sat, solve_cube({.folder = options.folder}, run::no_limits(), statistics));
  EXPECT_EQ(Answer::sat, join({options.folder}, run::no_limits()).answer);
}

TEST(Join, RangesOfNumbers) {
  EXPECT_EQ("", ranges_text({}));
  EXPECT_EQ("3, 5-9, 12", ranges_text({3, 5, 6, 7, 8, 9, 12}));
  EXPECT_EQ("1-2", ranges_text({1, 2}));
}

}  // namespace
}  // namespace vell::cubes
