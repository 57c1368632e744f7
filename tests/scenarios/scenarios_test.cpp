// Replays every script of this folder and compares what it prints, byte for byte, with the .expected file
// beside it.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "vell/replay/replay.h"

namespace {

namespace fs = std::filesystem;

fs::path const folder = fs::path(VELL_SOURCE_DIR) / "tests/scenarios";

std::vector<std::string> script_names() {
  std::vector<std::string> names;
  for (auto const& entry : fs::directory_iterator(folder))
    if (entry.path().extension() == ".script") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string content(fs::path const& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

// The first line in which the two differ, with its number: a whole diff of a scenario would be thousands of
// lines.
std::string first_difference(std::string const& actual, std::string const& expected) {
  std::istringstream a(actual);
  std::istringstream e(expected);
  std::string got;
  std::string wanted;
  for (int number = 1;; ++number) {
    bool const more = static_cast<bool>(std::getline(a, got));
    bool const more_wanted = static_cast<bool>(std::getline(e, wanted));
    if (!more && !more_wanted) return "no line";
    if (more != more_wanted || got != wanted)
      return "line " + std::to_string(number) + ": `" + (more ? got : "<end>") + "` instead of `" +
             (more_wanted ? wanted : "<end>") + "`";
  }
}

class Scenario : public testing::TestWithParam<std::string> {};

TEST_P(Scenario, PrintsWhatIsExpected) {
  std::ifstream script(folder / (GetParam() + ".script"));
  ASSERT_TRUE(script.good());
  std::ostringstream out;
  vell::replay::Replay(GetParam() + ".script", out).run(script);
  std::string const expected = content(folder / (GetParam() + ".expected"));
  EXPECT_TRUE(out.str() == expected) << first_difference(out.str(), expected);
}

INSTANTIATE_TEST_SUITE_P(, Scenario, testing::ValuesIn(script_names()), [](auto const& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

}  // namespace
