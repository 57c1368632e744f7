#include "vell/cnf/dimacsreader.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "vell/terms/exception.h"

namespace vell::cnf {
namespace {

using Clauses = std::vector<std::vector<std::int32_t>>;

Clauses clauses(std::string const& text) {
  test::Scratch const scratch;
  DimacsReader reader(scratch.write("f.cnf", text));
  Clauses out;
  for (std::vector<std::int32_t> clause; reader.next(clause);) out.push_back(clause);
  return out;
}

// Why the text is refused, without the folder.
std::string refusal(std::string const& text) {
  test::Scratch const scratch;
  try {
    DimacsReader reader(scratch.write("f.cnf", text));
    for (std::vector<std::int32_t> clause; reader.next(clause);) continue;
  } catch (Exception const& e) {
    return std::string(e.what()).substr(scratch.file("").size());
  }
  return "";
}

TEST(DimacsReader, Clauses) {
  EXPECT_EQ((Clauses{{1, -2}, {}, {3}}), clauses("c x\np cnf 3 3\n1 -2 0\n0\nc y\n3 0\n"));
  // A clause may span lines, and share one; the file need not end in a line break.
  EXPECT_EQ((Clauses{{1, -2}, {3}}), clauses("p cnf 3 2\n1\nc y\n\n-2 0 3 0"));
  EXPECT_EQ(Clauses{}, clauses("p cnf 0 0\n"));
}

TEST(DimacsReader, HeaderAndMap) {
  test::Scratch const scratch;
  DimacsReader const reader(scratch.write(
      "f.cnf", "c map x (_ BitVec 2) 1 T\nc names\nc map y Bool 1\np cnf 7 1\n1 0\nc map z Bool 2\n"));
  EXPECT_EQ(7, reader.variables());
  EXPECT_EQ(1, reader.clauses());
  ASSERT_EQ(1U, reader.map().size());
  EXPECT_EQ("x", reader.map()[0].symbol);
}

TEST(DimacsReader, BrokenFilesAreRefusedByLine) {
  EXPECT_EQ("f.cnf: no DIMACS header (p cnf)", refusal("1 0\n"));
  EXPECT_EQ("f.cnf:1: a broken DIMACS header (p cnf VARIABLES CLAUSES)", refusal("p cnf 1 1 1\n1 0\n"));
  EXPECT_EQ("f.cnf:2: no variable -2", refusal("p cnf 1 1\n-2 0\n"));
  EXPECT_EQ("f.cnf:2: no number: x", refusal("p cnf 1 1\n1 x 0\n"));
  EXPECT_EQ("f.cnf:2: the last clause has no 0", refusal("p cnf 1 1\n1\n"));
  EXPECT_EQ("f.cnf: 1 clauses, the header says 2", refusal("p cnf 1 2\n1 0\n"));
  EXPECT_EQ("f.cnf: 2 clauses, the header says 1", refusal("p cnf 1 1\n1 0\n1 0\n"));
}

}  // namespace
}  // namespace vell::cnf
