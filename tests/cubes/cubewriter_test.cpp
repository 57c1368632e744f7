#include "vell/cubes/cubewriter.h"

#include <gtest/gtest.h>

#include "tests/cubes/folder.h"
#include "vell/cubes/cover.h"
#include "vell/io/digest.h"

namespace vell::cubes {
namespace {

TEST(CubeWriter, Files) {
  test::CubeFolder const f(test::unsat_script, 8);
  EXPECT_EQ(8U, f.cubes);
  Manifest const m = read_manifest(f.options.folder);
  EXPECT_EQ(test::unsat_script, f.read("script.smt2"));
  EXPECT_TRUE(cover_everything(m.cubes, run::no_limits()));
  // The clauses of the CNF, then the cubes.
  Formula const formula = read_formula(m.cnf());
  std::string wanted = "p inccnf\n";
  formula.each(
      [&](std::span<std::int32_t const> clause) { wanted += literals_text(clause).substr(1) + "\n"; });
  for (Cube const& cube : m.cubes) wanted += "a" + literals_text(cube) + "\n";
  EXPECT_EQ(wanted, f.read("cubes.icnf"));
  EXPECT_EQ("c cube 1 of 8\nc cnf " + io::input_digest(m.cnf()) + "\na" + literals_text(m.cubes[0]) + "\n",
            f.read("1.cube"));
  // The folder, and the script beside it.
  EXPECT_EQ(2U, f.scratch.files());
}

TEST(CubeWriter, TheSameBytesAgain) {
  test::CubeFolder const a(test::unsat_script, 8, Split::words, "same");
  test::CubeFolder const b(test::unsat_script, 8, Split::words, "same");
  EXPECT_EQ(a.read("manifest.json"), b.read("manifest.json"));
  test::CubeFolder const c(test::unsat_script, 8, Split::lookahead, "same");
  test::CubeFolder const d(test::unsat_script, 8, Split::lookahead, "same");
  EXPECT_EQ(c.read("manifest.json"), d.read("manifest.json"));
  EXPECT_NE(a.read("manifest.json"), c.read("manifest.json"));
}

// A script that simplification decides is one cube, whose solver says so.
TEST(CubeWriter, TrivialScripts) {
  for (char const* formula : {"true", "false"}) {
    test::CubeFolder const f("(set-logic QF_BV)(assert " + std::string(formula) + ")(check-sat)", 8);
    EXPECT_EQ(1U, f.cubes);
    f.solve_all();
    EXPECT_EQ(std::string(formula) == "true" ? sinks::Answer::sat : sinks::Answer::unsat, f.join().answer);
  }
}

TEST(CubeWriter, NothingIsLeftOfAFailure) {
  test::Scratch const scratch;
  run::Statistics statistics;
  CubeOptions options;
  options.cnf.input = scratch.write("bad.smt2", "(assert x)");
  options.folder = scratch.file("out");
  EXPECT_THROW(write_cubes(options, run::no_limits(), statistics), Exception);
  options.cnf.input = "-";
  EXPECT_THROW(write_cubes(options, run::no_limits(), statistics), Exception);
  run::Limits limits;
  limits.stop(run::StopReason::timeout);
  options.cnf.input = scratch.write("good.smt2", test::unsat_script);
  EXPECT_THROW(write_cubes(options, limits, statistics), run::Stopped);
  EXPECT_EQ(2U, scratch.files());
  // Nor is a folder with something in it touched.
  options.folder = scratch.file("");
  EXPECT_THROW(write_cubes(options, run::no_limits(), statistics), Exception);
  EXPECT_EQ(2U, scratch.files());
}

}  // namespace
}  // namespace vell::cubes
