// Replays every script of this folder and compares what it prints, byte for byte, with the .expected file
// beside it.
//
// Most of them came with other names: origins.tsv lists these. Where the folder that they came from lies
// beside the sources, both copies have to be equal.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "vell/replay/replay.h"

namespace {

namespace fs = std::filesystem;

fs::path const folder = fs::path(VELL_SOURCE_DIR) / "tests/scenarios";
fs::path const origin_folder = fs::path(VELL_SOURCE_DIR) / ".." / "shared" / "scenarios";

std::vector<std::string> script_names(fs::path const& where = folder) {
  std::vector<std::string> names;
  for (auto const& entry : fs::directory_iterator(where))
    if (entry.path().extension() == ".script") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string content(fs::path const& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

// The rows of origins.tsv: the name here, and the name there or "-".
std::map<std::string, std::string> origins() {
  std::map<std::string, std::string> rows;
  std::istringstream in(content(folder / "origins.tsv"));
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with('#')) continue;
    std::size_t const tab = line.find('\t');
    EXPECT_NE(tab, std::string::npos) << line;
    if (tab != std::string::npos) rows[line.substr(0, tab)] = line.substr(tab + 1);
  }
  return rows;
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

TEST(ScenarioOrigins, EachScenarioHasARow) {
  std::vector<std::string> listed;
  for (auto const& [name, origin] : origins()) listed.push_back(name);
  EXPECT_EQ(listed, script_names());
}

TEST(ScenarioOrigins, TheCopiesAreEqual) {
  if (!fs::is_directory(origin_folder)) {
    std::printf("%s does not exist: nothing is compared\n", origin_folder.string().c_str());
    return;
  }
  std::vector<std::string> copied;
  for (auto const& [name, origin] : origins()) {
    if (origin == "-") continue;
    copied.push_back(origin);
    for (char const* const suffix : {".script", ".expected"})
      EXPECT_TRUE(content(folder / (name + suffix)) == content(origin_folder / (origin + suffix)))
          << name << suffix << " differs from " << origin << suffix;
  }
  std::sort(copied.begin(), copied.end());
  EXPECT_EQ(copied, script_names(origin_folder));
}

}  // namespace
