#include "vell/cubes/manifest.h"

#include <gtest/gtest.h>

#include "tests/cubes/folder.h"

namespace vell::cubes {
namespace {

TEST(Manifest, IsReadAsWritten) {
  test::CubeFolder const f(test::unsat_script);
  Manifest const m = read_manifest(f.options.folder);
  EXPECT_EQ(f.cubes, m.count());
  EXPECT_EQ("script.smt2", m.script);
  EXPECT_EQ(f.read("3.cube"), cube_text(m, 3));
  m.check_script();
  m.check_cnf();
  for (std::size_t k = 1; k <= m.count(); ++k) m.check_cube(k);
  EXPECT_EQ(64U, m.hash.size());
}

TEST(Manifest, ChangedPiecesAreNamed) {
  test::CubeFolder const f(test::unsat_script);
  Manifest const m = read_manifest(f.options.folder);
  f.write("formula.cnf", f.read("formula.cnf") + "c\n");
  f.write("2.cube", f.read("3.cube"));
  std::remove(m.path("script.smt2").c_str());
  auto const refusal = [&](auto check) {
    try {
      check();
    } catch (Exception const& e) {
      return std::string(e.what());
    }
    return std::string();
  };
  std::string const why = ": it is not the file that the manifest names: its SHA-256 differs";
  EXPECT_EQ(f.path("formula.cnf") + why, refusal([&] { m.check_cnf(); }));
  EXPECT_EQ(f.path("2.cube") + why, refusal([&] { m.check_cube(2); }));
  EXPECT_EQ(f.path("script.smt2") + ": cannot be read", refusal([&] { m.check_script(); }));
}

TEST(Manifest, BrokenOnesAreRefused) {
  test::CubeFolder const f(test::unsat_script);
  std::string const good = f.read("manifest.json");
  auto const refused = [&](std::string const& text) {
    f.write("manifest.json", text);
    try {
      read_manifest(f.options.folder);
      return false;
    } catch (Exception const& e) {
      return std::string(e.what()).starts_with(f.path("manifest.json") + ": ");
    }
  };
  auto const changed = [&](std::string const& from, std::string const& to) {
    std::string text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  EXPECT_FALSE(refused(good));
  for (std::size_t cut : {std::size_t{0}, std::size_t{1}, good.size() / 2, good.size() - 3})
    EXPECT_TRUE(refused(good.substr(0, cut))) << cut;
  EXPECT_TRUE(refused(changed("cubes 1", "cubes 9")));
  EXPECT_TRUE(refused(changed("script.smt2", "../f.smt2")));
  EXPECT_TRUE(refused(changed("\"literals\": [", "\"literals\": [0,")));
  EXPECT_TRUE(refused(changed("\"literals\": [", "\"literals\": [123456,")));
  EXPECT_TRUE(refused("{}"));
  std::remove(f.path("manifest.json").c_str());
  EXPECT_THROW(read_manifest(f.options.folder), Exception);
}

}  // namespace
}  // namespace vell::cubes
