// Real scripts, where they are at hand: the folder VELL_BENCHMARKS names, or ../shared/benchmarks beside the
// sources.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "vell/smtlib/reader.h"

namespace vell::smtlib {
namespace {

namespace fs = std::filesystem;

fs::path folder() {
  char const* const named = std::getenv("VELL_BENCHMARKS");
  return named != nullptr ? fs::path(named) : fs::path(VELL_SOURCE_DIR) / ".." / "shared" / "benchmarks";
}

// The scripts below a folder, by their path relative to it; empty, with one line saying so, where it does not
// exist.
std::vector<std::string> scripts(std::string const& name) {
  fs::path const root = folder() / name;
  std::vector<std::string> out;
  if (fs::is_directory(root)) {
    for (fs::directory_entry const& e : fs::recursive_directory_iterator(root)) {
      std::string const path = e.path().lexically_relative(root).string();
      if (e.is_regular_file() && path.find(".smt2") != std::string::npos) out.push_back(path);
    }
    std::sort(out.begin(), out.end());
  }
  if (out.empty()) std::printf("no benchmarks under %s: nothing is checked here\n", root.string().c_str());
  return out;
}

// What is wrong with the script, without the file's name; "" for a script read to its end.
std::string read(fs::path const& path) {
  TermManager terms;
  try {
    Reader reader(terms, io::Source::open(path.string()));
    Command c;
    while (reader.next(c)) {
    }
  } catch (io::Error const& e) {
    return std::string(e.what()).substr(path.string().size() + 1);
  }
  return "";
}

TEST(Benchmarks, WellFormedScriptsAreRead) {
  // Scripts with something in them that no script may have.
  std::map<std::string, std::string> const refused = {
      {"regress/yices2/wd__issue220.smt2", "6:22: bv64 does not fit 5 bits"},
      {"regress/bitwuzla/preprocess__varsubstextract1.smt2",
       "4:15: symbol `@def13` is reserved for solver use: it begins with `@`"},
      {"regress/stp/misc-tests__reserved-symbol-names-dot-refused.smt2",
       "10:14: symbol `.hidden` is reserved for solver use: it begins with `.`"}};
  for (std::string const name : {"regress", "large"}) {
    for (std::string const& script : scripts(name)) {
      auto const expected = refused.find(name + "/" + script);
      EXPECT_EQ(read(folder() / name / script), expected == refused.end() ? "" : expected->second) << script;
    }
  }
}

// Numbers that no literal is: the standard leaves 1/0 open.
TEST(Benchmarks, FloatingPointIsReadExceptForArithmeticOnReals) {
  for (std::string const& script : scripts("fp")) {
    std::string const e = read(folder() / "fp" / script);
    bool const reals = e.find("quotient by zero") != std::string::npos ||
                       e.find("reals") != std::string::npos ||
                       e.find("expected a number") != std::string::npos;
    EXPECT_TRUE(e.empty() || reals) << script << ": " << e;
  }
}

TEST(Benchmarks, MalformedScriptsAreRefusedForWhatIsWrong) {
  std::map<std::string, std::string> expected;
  std::ifstream list(std::string(VELL_SOURCE_DIR) + "/tests/smtlib/malformed.tsv");
  for (std::string line; std::getline(list, line);) {
    if (line.starts_with('#')) continue;
    std::size_t const tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    expected[line.substr(0, tab)] = line.substr(tab + 1);
  }
  EXPECT_GT(expected.size(), 200u);
  for (std::string const& script : scripts("malformed")) {
    std::string const e = read(folder() / "malformed" / script);
    EXPECT_EQ(e.empty() ? "read" : e, expected[script]) << script;
  }
}

}  // namespace
}  // namespace vell::smtlib
