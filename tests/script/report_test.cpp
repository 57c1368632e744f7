#include "vell/script/report.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/scratch.h"
#include "vell/script/error.h"

namespace vell::script {
namespace {

constexpr char product[] =
    "(declare-const x (_ BitVec 8))\n(assert (= (bvmul x x) #x31))\n(check-sat)\n(assert (bvult x #x10))\n"
    "(check-sat)\n";

TEST(Report, TellsTheClausesOfTerms) {
  test::Scratch scratch;
  std::string const script = scratch.write("a.smt2", product);
  EXPECT_NE(std::string::npos, profile(script).find("bvmul"));
  ProfileOptions options;
  options.json = true;
  EXPECT_TRUE(profile(script, options).starts_with("{"));
  write_profile(script, scratch.file("first.json"), options);
  options.json = false;
  options.query = 2;
  options.against = scratch.file("first.json");
  EXPECT_NE(profile(script, options), profile(script));
}

TEST(Report, RefusesToOverwriteItsInput) {
  test::Scratch scratch;
  std::string const script = scratch.write("a.smt2", product);
  EXPECT_THROW(write_profile(script, script), Exception);
  EXPECT_EQ(product, scratch.read("a.smt2"));
}

TEST(Report, CanBeStopped) {
  test::Scratch scratch;
  Control control;
  control.stop();
  EXPECT_THROW(profile(scratch.write("a.smt2", product), {}, &control), Stopped);
}

}  // namespace
}  // namespace vell::script
