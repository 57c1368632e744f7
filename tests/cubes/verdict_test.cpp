#include "vell/cubes/verdict.h"

#include <gtest/gtest.h>

#include "tests/cubes/folder.h"

namespace vell::cubes {
namespace {

std::string refusal(Manifest const& manifest, std::size_t k) {
  try {
    read_verdict(manifest, k);
  } catch (Exception const& e) {
    return std::string(e.what()).substr(manifest.folder.size() + 1);
  }
  return "";
}

TEST(Verdict, IsReadAsWritten) {
  test::CubeFolder const f(test::unsat_script);
  Manifest const m = read_manifest(f.options.folder);
  EXPECT_FALSE(read_verdict(m, 1).has_value());
  Verdict v;
  v.sat = true;
  for (std::int32_t i = 1; i <= m.variables; ++i) v.values.push_back(i % 3 == 0 ? i : -i);
  write_verdict(m, 1, v);
  write_verdict(m, 2, {false, {}, ""});
  write_verdict(m, 3, {false, {}, std::string(64, 'a')});
  EXPECT_TRUE(read_verdict(m, 1)->sat);
  EXPECT_EQ(v.values, read_verdict(m, 1)->values);
  EXPECT_FALSE(read_verdict(m, 2)->sat);
  EXPECT_EQ("", read_verdict(m, 2)->proof_hash);
  EXPECT_EQ(std::string(64, 'a'), read_verdict(m, 3)->proof_hash);
}

// Cut anywhere, or with any byte changed.
TEST(Verdict, DamageIsSeen) {
  test::CubeFolder const f(test::sat_script);
  Manifest const m = read_manifest(f.options.folder);
  f.solve_all();
  std::string const good = f.read("1.verdict");
  for (std::size_t cut = 0; cut < good.size(); ++cut) {
    f.write("1.verdict", good.substr(0, cut));
    ASSERT_EQ("1.verdict: a verdict that is cut or changed", refusal(m, 1)) << cut;
  }
  for (std::size_t i = 0; i < good.size(); ++i) {
    std::string text = good;
    text[i] = text[i] == '1' ? '2' : '1';
    f.write("1.verdict", text);
    ASSERT_EQ("1.verdict: a verdict that is cut or changed", refusal(m, 1)) << i;
  }
  f.write("1.verdict", good + good);
  EXPECT_NE("", refusal(m, 1));
  f.write("1.verdict", good);
  EXPECT_EQ("", refusal(m, 1));
}

TEST(Verdict, OfAnotherRun) {
  test::CubeFolder const f(test::unsat_script, 8);
  test::CubeFolder const other(test::unsat_script, 4);
  f.solve_all();
  other.solve_all();
  Manifest const m = read_manifest(f.options.folder);
  f.write("1.verdict", other.read("1.verdict"));
  f.write("2.verdict", f.read("3.verdict"));
  std::string const why = ": the verdict of another run: other cubes, or another CNF";
  EXPECT_EQ("1.verdict" + why, refusal(m, 1));
  EXPECT_EQ("2.verdict" + why, refusal(m, 2));
  EXPECT_EQ("", refusal(m, 3));
}

}  // namespace
}  // namespace vell::cubes
