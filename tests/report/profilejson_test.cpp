#include "vell/report/profilejson.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/report/measured.h"

namespace vell::report {
namespace {

using test::measured;

constexpr char script[] =
    "(declare-const x (_ BitVec 4))\n(declare-const |<odd \xff>| (_ BitVec 4))\n"
    "(assert (! (bvult x (bvadd x |<odd \xff>|)) :named first))(check-sat)";

TEST(ProfileJson, HasTheNumbersOfTheProfile) {
  Profile const p = measured(script);
  nlohmann::ordered_json const json = to_json(p, 2, run::Limits());
  EXPECT_EQ(p.total.clauses, json["total"]["clauses"].get<std::uint64_t>());
  EXPECT_EQ(p.total.fresh, json["total"]["variables"].get<std::uint64_t>());
  EXPECT_EQ(1, json["query"].get<int>());
  EXPECT_EQ("first", json["assertions"][0]["name"].get<std::string>());
  EXPECT_EQ(3, json["assertions"][0]["line"].get<int>());
  ASSERT_EQ(2u, json["terms"].size());
  EXPECT_EQ("bvadd", json["terms"][0]["operator"].get<std::string>());
  EXPECT_EQ(49, json["terms"][0]["clauses"].get<int>());
  EXPECT_EQ(49 + 22, json["terms"][1]["cumulative"]["clauses"].get<int>());
  EXPECT_NE(std::string::npos, json_text(json).find("|<odd \xef\xbf\xbd>|"));
}

TEST(ProfileJson, IsReadBack) {
  vell::test::Scratch scratch;
  std::string const text = json_text(to_json(measured(script), 20, run::Limits()));
  EXPECT_EQ(text, json_text(read_profile(scratch.write("a.json", text))));
}

TEST(ProfileJson, RefusesWhatIsNoProfile) {
  vell::test::Scratch scratch;
  std::string const good = json_text(to_json(measured(script), 20, run::Limits()));
  auto const refused = [&](std::string const& text) {
    std::string const path = scratch.write("a.json", text);
    try {
      read_profile(path);
    } catch (Exception const& e) {
      std::string const what = e.what();
      EXPECT_EQ(0u, what.find(path + ": no profile: ")) << what;
      EXPECT_EQ(std::string::npos, what.find('\n')) << what;
      return true;
    }
    return false;
  };
  EXPECT_FALSE(refused(good));
  auto const with = [&](std::string const& from, std::string const& to) {
    std::string text = good;
    std::size_t const at = text.find(from);
    EXPECT_NE(std::string::npos, at) << from;
    return text.replace(at, from.size(), to);
  };
  EXPECT_TRUE(refused(""));
  EXPECT_TRUE(refused("{}"));
  EXPECT_TRUE(refused("[1, 2]"));
  EXPECT_TRUE(refused(good.substr(0, good.size() / 2)));
  EXPECT_TRUE(refused(with("vell-profile", "other")));
  EXPECT_TRUE(refused(with("\"version\": 1", "\"version\": 2")));
  EXPECT_TRUE(refused(with("\"terms\": 4", "\"terms\": \"4\"")));
  EXPECT_TRUE(refused(with("\"operators\"", "\"operator\"")));
  EXPECT_TRUE(refused(std::string(1000000, '[')));
}

}  // namespace
}  // namespace vell::report
