#include "vell/sinks/dimacssink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace vell::sinks {
namespace {

struct StringOutput : ByteOutput {
  void write(char const* data, std::size_t size) override {
    text.append(data, size);
    ++writes;
  }
  std::string text;
  int writes = 0;
};

std::string written(DimacsSink::Form form, std::vector<bv::BvLitList> const& clauses) {
  StringOutput out;
  DimacsSink sink(out, form);
  for (bv::BvLitList const& c : clauses) {
    sink.lits = c;
    sink.add_clause();
  }
  sink.flush();
  return out.text;
}

TEST(DimacsSink, CleanFormRemovesConstants) {
  EXPECT_EQ("1 -2 0\n", written(DimacsSink::Form::clean, {{2, -3}}));
  EXPECT_EQ("", written(DimacsSink::Form::clean, {{2, 1}, {1}, {-1, 1}}));
  EXPECT_EQ("1 0\n0\n", written(DimacsSink::Form::clean, {{-1, 2}, {-1}}));
  EXPECT_EQ("0\n", written(DimacsSink::Form::clean, {{}}));
}

TEST(DimacsSink, RawFormKeepsEveryClause) {
  EXPECT_EQ("2 -3 0\n2 1 0\n-1 0\n0\n", written(DimacsSink::Form::raw, {{2, -3}, {2, 1}, {-1}, {}}));
}

TEST(DimacsSink, HeaderAndCommentsStandInOrder) {
  StringOutput out;
  DimacsSink sink(out, DimacsSink::Form::raw);
  sink.comment("made by hand");
  sink.header(DimacsSink::variables(2, DimacsSink::Form::raw), 2);
  sink.lits = {2, -3};
  sink.add_clause();
  sink.comment("done");
  sink.flush();
  EXPECT_EQ("c made by hand\np cnf 3 2\n1 0\n2 -3 0\nc done\n", out.text);
  EXPECT_EQ(2u, sink.written_clauses());
}

TEST(DimacsSink, FreshLiteralsAreDense) {
  StringOutput out;
  DimacsSink sink(out, DimacsSink::Form::clean);
  EXPECT_EQ(1, DimacsSink::variable(sink.new_lit(), DimacsSink::Form::clean));
  EXPECT_EQ(2, DimacsSink::variable(sink.new_lit(), DimacsSink::Form::clean));
}

// Every number of digits, both signs, against the library's own printing.
TEST(DimacsSink, NumbersOfEveryLength) {
  std::vector<bv::BvLitList> clauses;
  std::ostringstream expected;
  std::mt19937 random(7);
  for (std::int64_t base = 1; base <= INT32_MAX; base *= 10)
    for (int i = 0; i < 200; ++i) {
      std::int64_t const offset =
          i < 3 ? i - 1 : static_cast<std::int64_t>(random() % static_cast<unsigned>(base)) * 9;
      std::int64_t const v = std::clamp<std::int64_t>(base + offset, 2, INT32_MAX);
      auto const l = static_cast<bv::BvLit>(random() % 2 == 0 ? v : -v);
      clauses.push_back({l});
      expected << l << " 0\n";
    }
  clauses.push_back({INT32_MAX, -INT32_MAX});
  expected << INT32_MAX << ' ' << -INT32_MAX << " 0\n";
  EXPECT_EQ(expected.str(), written(DimacsSink::Form::raw, clauses));
}

// At both ends of every number of digits, as operands and as fresh literals, in both forms.
TEST(DimacsSink, NumbersAtEveryChangeOfLength) {
  for (auto const form : {DimacsSink::Form::raw, DimacsSink::Form::clean}) {
    std::vector<bv::BvLitList> clauses;
    std::ostringstream expected;
    for (std::int64_t base = 1; base <= INT32_MAX; base *= 10)
      for (std::int64_t v = base - 2; v <= base + 2; ++v)
        for (std::int64_t sign : {1, -1}) {
          if (v < 2) continue;
          clauses.push_back({static_cast<bv::BvLit>(sign * v), 2});
          expected << sign * DimacsSink::variable(static_cast<bv::BvLit>(v), form) << ' '
                   << DimacsSink::variable(2, form) << " 0\n";
        }
    EXPECT_EQ(expected.str(), written(form, clauses));
  }
}

// Variables that share a place in the table of texts, and fresh ones that take it over between two uses.
TEST(DimacsSink, VariablesThatTakeEachOthersPlace) {
  StringOutput out;
  DimacsSink sink(out, DimacsSink::Form::raw);
  std::ostringstream expected;
  std::mt19937 random(11);
  for (int i = 0; i < 200000; ++i) {
    bv::BvLit const x = sink.new_lit();
    bv::BvLit const old = 2 + static_cast<bv::BvLit>(random() % static_cast<unsigned>(x));
    sink.lits = {-x, old, x, static_cast<bv::BvLit>(old % 1024 + 2)};
    sink.add_clause();
    expected << -x << ' ' << old << ' ' << x << ' ' << old % 1024 + 2 << " 0\n";
  }
  sink.flush();
  EXPECT_TRUE(expected.str() == out.text);
}

// A clause that ends just before, at and behind the end of the buffer.
TEST(DimacsSink, ClausesAtTheEndOfTheBuffer) {
  for (std::size_t length = 21000; length < 22200; length += 7) {
    bv::BvLitList const filler(length, -1234567890);
    std::string const text = written(DimacsSink::Form::raw, {filler, {5, -6, 7}, filler, {8}});
    ASSERT_EQ(2 * (12 * length + 2) + 9 + 4, text.size());
    ASSERT_EQ("0\n5 -6 7 0\n-1234567890 ", text.substr(12 * length, 23));
    ASSERT_EQ(" 0\n8 0\n", text.substr(text.size() - 7));
  }
}

TEST(DimacsSink, ClausesLargerThanTheBuffer) {
  bv::BvLitList big(500000, 1234567);
  std::string const text = written(DimacsSink::Form::raw, {{2}, big, {3}});
  EXPECT_EQ(2u + 2 + 500000u * 8 + 2 + 2 + 2, text.size());
  EXPECT_EQ("2 0\n1234567 ", text.substr(0, 12));
  EXPECT_EQ(" 0\n3 0\n", text.substr(text.size() - 7));
}

TEST(DimacsSink, TextIsHandedOverInBlocks) {
  StringOutput out;
  DimacsSink sink(out, DimacsSink::Form::clean);
  for (int i = 0; i < 1000000; ++i) {
    sink.lits = {2, -3, 4};
    sink.add_clause();
  }
  sink.flush();
  EXPECT_EQ(9u * 1000000, out.text.size());
  EXPECT_LT(out.writes, 50);
}

}  // namespace
}  // namespace vell::sinks
