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

TEST(Report, APageForABrowser) {
  test::Scratch scratch;
  std::string const input =
      scratch.write("a.smt2", "(declare-const x (_ BitVec 4))(assert (bvult x #x3))(check-sat)");
  write_profile_page(input, scratch.file("a.html"));
  std::string const page = scratch.read("a.html");
  EXPECT_EQ(0u, page.find("<!DOCTYPE html>"));
  EXPECT_NE(std::string::npos, page.find("(assert (bvult x #x3))"));
  EXPECT_THROW(write_profile_page(input, input), Exception);
}

}  // namespace
}  // namespace vell::script
