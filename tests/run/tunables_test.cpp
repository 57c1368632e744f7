#include "vell/run/tunables.h"

#include <gtest/gtest.h>

#include <sstream>

#include "vell/terms/exception.h"

namespace vell::run {
namespace {

std::string error_of(std::string const& assignment) {
  Tunables tunables;
  try {
    tunables.set(assignment);
  } catch (Exception const& e) {
    return e.what();
  }
  return "";
}

TEST(Tunables, SetByName) {
  Tunables tunables;
  tunables.set("sweep_rivals=7");
  EXPECT_EQ(7u, tunables.sweep_rivals);
  tunables.set("sweep_rivals=1");
  EXPECT_EQ(1u, tunables.sweep_rivals);
  EXPECT_EQ(Tunables().sweep_signals, tunables.sweep_signals);
}

TEST(Tunables, BadAssignmentsAreOneLine) {
  EXPECT_EQ("no option is called \"sweep\"; --options lists them", error_of("sweep=7"));
  EXPECT_EQ("no option is called \"\"; --options lists them", error_of(""));
  std::string const range = "sweep_rivals takes a number from 1 to 1000, as in sweep_rivals=3";
  for (char const* bad : {"sweep_rivals", "sweep_rivals=", "sweep_rivals=0", "sweep_rivals=1001",
                          "sweep_rivals=-1", "sweep_rivals=2x", "sweep_rivals=99999999999999999999999"})
    EXPECT_EQ(range, error_of(bad)) << bad;
}

TEST(Tunables, EveryDefaultLiesInItsRangeAndHasAReason) {
  std::istringstream table(Tunables::table());
  std::string line;
  std::size_t lines = 0;
  while (std::getline(table, line)) {
    ++lines;
    std::istringstream in(line);
    std::string name;
    std::string standard;
    std::string range;
    std::string reason;
    in >> name >> standard >> range;
    std::getline(in, reason);
    EXPECT_EQ("", error_of(name + "=" + standard)) << line;
    EXPECT_EQ("", error_of(name + "=" + range.substr(0, range.find('.')))) << line;
    EXPECT_EQ("", error_of(name + "=" + range.substr(range.find('.') + 2))) << line;
    EXPECT_GT(reason.size(), 10u) << line;
  }
  EXPECT_GT(lines, 10u);
}

}  // namespace
}  // namespace vell::run
