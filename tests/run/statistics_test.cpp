#include "vell/run/statistics.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace vell::run {
namespace {

char const* const counter_names[] = {"input-bytes", "terms",    "clausified-terms", "fresh-literals",
                                     "clauses",     "literals", "conflicts",        "check-sats",
                                     "sat",         "unsat",    "unknown",          "evaluated-terms"};

// Each counter gets a value that no other has, in the order of the names.
void fill(Statistics& s) {
  std::uint64_t n = 1'000'000'000'000;
  for (Counter* c : {&s.input_bytes, &s.terms, &s.clausified_terms, &s.fresh_literals, &s.clauses,
                     &s.literals, &s.conflicts, &s.checks, &s.sat, &s.unsat, &s.unknown, &s.evaluations})
    *c = n++;
}

std::vector<std::string> names() {
  std::vector<std::string> all(std::begin(counter_names), std::end(counter_names));
  for (char const* phase : {"reading", "clausifying", "solving", "checking", "writing"})
    all.push_back(std::string("time-") + phase);
  all.emplace_back("time-total");
  all.emplace_back("peak-memory-bytes");
  return all;
}

// The names and values of a report; `entry` matches one, its groups are name and value.
using Entries = std::vector<std::pair<std::string, std::string>>;
Entries entries(std::string const& text, std::string const& entry) {
  Entries out;
  std::regex const pattern(entry);
  for (std::sregex_iterator i(text.begin(), text.end(), pattern); i != std::sregex_iterator(); ++i)
    out.emplace_back((*i)[1], (*i)[2]);
  return out;
}

void expect_complete(Entries const& report) {
  std::vector<std::string> const expected = names();
  ASSERT_EQ(report.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(report[i].first, expected[i]);
    if (i < std::size(counter_names))
      EXPECT_EQ(report[i].second, std::to_string(1'000'000'000'000 + i)) << expected[i];
    else if (i + 1 < expected.size())
      EXPECT_TRUE(std::regex_match(report[i].second, std::regex("[0-9]+\\.[0-9]{3}"))) << report[i].second;
    else
      EXPECT_GT(std::stoull(report[i].second), 1'000'000u);
  }
}

TEST(Counter, CountsUp) {
  Counter c;
  EXPECT_EQ(c, 0u);
  ++c;
  c += 41;
  EXPECT_EQ(c, 42u);
  c = 7;
  EXPECT_EQ(c, 7u);
}

TEST(Statistics, TextHasALineForEachFigure) {
  Statistics s;
  fill(s);
  std::string const text = s.text();
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    EXPECT_TRUE(std::regex_match(line, std::regex("[a-z-]+ +[0-9.]+"))) << line;
  expect_complete(entries(text, "([a-z-]+) +([0-9.]+)\n"));
  // The values stand below each other.
  std::istringstream again(text);
  for (std::string line; std::getline(again, line);) EXPECT_EQ(line.find_first_of("0123456789"), 21u) << line;
}

TEST(Statistics, JsonIsOneObjectOnOneLine) {
  Statistics s;
  fill(s);
  std::string const json = s.json();
  std::string const member = "\"[a-z-]+\": [0-9.]+";
  EXPECT_TRUE(std::regex_match(json, std::regex("\\{" + member + "(, " + member + ")*\\}\n"))) << json;
  expect_complete(entries(json, "\"([a-z-]+)\": ([0-9.]+)"));
}

TEST(Statistics, SmtlibIsAListOfAttributes) {
  Statistics s;
  fill(s);
  std::string const list = s.smtlib();
  std::string const attribute = ":[a-z-]+ [0-9.]+";
  EXPECT_TRUE(std::regex_match(list, std::regex("\\(" + attribute + "(\n " + attribute + ")*\\)"))) << list;
  expect_complete(entries(list, ":([a-z-]+) ([0-9.]+)"));
}

TEST(Statistics, TimeGoesToThePhaseThatWasEntered) {
  Statistics s;
  EXPECT_EQ(s.phase(), Phase::reading);
  auto const wait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); };
  wait();
  s.enter(Phase::solving);
  wait();
  EXPECT_EQ(s.phase(), Phase::solving);
  EXPECT_GE(s.seconds(Phase::solving), 0.02);  // the phase that runs counts as well
  double const reading = s.seconds(Phase::reading);
  EXPECT_GE(reading, 0.02);
  s.enter(Phase::reading);
  wait();
  EXPECT_GE(s.seconds(Phase::reading), reading + 0.02);
  double const solving = s.seconds(Phase::solving);
  wait();
  EXPECT_EQ(s.seconds(Phase::solving), solving);  // it is over
  EXPECT_EQ(s.seconds(Phase::clausifying), 0);
  EXPECT_EQ(s.seconds(Phase::checking), 0);
  EXPECT_EQ(s.seconds(Phase::writing), 0);
}

TEST(Statistics, ThePhasesTogetherTakeTheWholeTime) {
  Statistics s;
  for (Phase const p :
       {Phase::clausifying, Phase::solving, Phase::checking, Phase::writing, Phase::reading}) {
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    s.enter(p);
  }
  double const before = s.total_seconds();
  double sum = 0;
  for (std::size_t i = 0; i < phase_count; ++i) sum += s.seconds(static_cast<Phase>(i));
  double const after = s.total_seconds();
  EXPECT_GE(sum, before - 1e-6);
  EXPECT_LE(sum, after + 1e-6);
}

TEST(Statistics, MemoryIsThatOfTheProcess) {
  std::uint64_t const before = present_memory();
  ASSERT_GT(before, std::uint64_t{1} << 20);
  std::uint64_t during = 0;
  {
    std::vector<char> const block(std::size_t{64} << 20, 1);
    during = present_memory();
    EXPECT_EQ(block[block.size() / 2], 1);
  }
  EXPECT_GE(during, before + (std::uint64_t{60} << 20));
  // The largest size stays when the memory is given back.
  EXPECT_GE(peak_memory() + (std::uint64_t{4} << 20), during);
}

}  // namespace
}  // namespace vell::run
