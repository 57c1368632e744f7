#include "vell/report/profilepage.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/report/measured.h"

namespace vell::report {
namespace {

using nlohmann::json;
using test::measured;

json data_of(std::string const& page) {
  std::string const start = "id=\"data\">";
  std::size_t const at = page.find(start) + start.size();
  return json::parse(page.substr(at, page.find("</script>", at) - at));
}

// `count` assertions of two terms each.
std::string script(unsigned count) {
  std::string out = "(declare-const x (_ BitVec 16))\n";
  for (unsigned i = 0; i < count; ++i)
    out += "(assert (bvult (bvmul x (_ bv" + std::to_string(i) + " 16)) x))\n";
  return out + "(check-sat)\n";
}

TEST(ProfilePage, HasTheNumbersAndTheScript) {
  std::string const text = script(3);
  Profile const p = measured(text);
  json const data = data_of(profile_page(p, text, run::Limits()));
  EXPECT_EQ(p.total.clauses, data["total"]["clauses"].get<std::uint64_t>());
  EXPECT_EQ(p.terms.size(), data["nodes"].size());
  EXPECT_EQ(3u, data["roots"].size());
  EXPECT_EQ(0, data["more_roots"].get<int>());
  ASSERT_EQ(5u, data["script"].size());
  EXPECT_EQ(json::array({2, "(assert (bvult (bvmul x (_ bv0 16)) x))", p.roots[0].cost.clauses}),
            data["script"][1]);
  // Clauses of an assertion: its unit clause, and those of the terms that hang below it.
  std::vector<std::uint64_t> sums;
  for (json const& r : data["roots"]) sums.push_back(r["unit"].get<std::uint64_t>());
  for (json const& n : data["nodes"])
    if (n[4].get<int>() < 0) sums[n[3].get<std::size_t>()] += n[6].get<std::uint64_t>();
  for (std::size_t i = 0; i < sums.size(); ++i)
    EXPECT_EQ(sums[i], data["roots"][i]["clauses"].get<std::uint64_t>());
}

TEST(ProfilePage, SumsWhatIsSmall) {
  std::string const text = script(200);
  Profile const p = measured(text);
  PageLimits limits;
  limits.terms = 20;
  limits.assertions = 30;
  limits.lines = 10;
  limits.line_bytes = 20;
  json const data = data_of(profile_page(p, text, run::Limits(), limits));
  EXPECT_EQ(20u, data["nodes"].size());
  EXPECT_EQ(30u, data["roots"].size());
  EXPECT_EQ(170, data["more_roots"].get<int>());
  std::size_t lines = 0;
  std::uint64_t clauses = 0;
  for (json const& l : data["script"]) {
    if (l[0].get<int>() != 0) ++lines;
    if (l[0].get<int>() != 0) {
      EXPECT_LE(l[1].get<std::string>().size(), 24u);
    }
    clauses += l[2].get<std::uint64_t>();
  }
  EXPECT_EQ(10u, lines);
  EXPECT_EQ(p.total.clauses, clauses);
  // A child comes after its parent.
  for (std::size_t i = 0; i < data["nodes"].size(); ++i)
    EXPECT_LT(data["nodes"][i][4].get<int>(), static_cast<int>(i));
}

TEST(ProfilePage, IsSmall) {
  std::string const text = script(5000);  // 10,000 terms
  Profile const p = measured(text);
  EXPECT_GE(p.terms.size(), 10000u);
  EXPECT_LT(profile_page(p, text, run::Limits()).size(), 1000000u);
}

}  // namespace
}  // namespace vell::report
