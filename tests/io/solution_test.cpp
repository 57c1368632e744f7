#include "vell/io/solution.h"

#include <gtest/gtest.h>

#include "vell/terms/exception.h"

namespace vell::io {
namespace {

Solution parsed(std::string const& text, std::size_t piece = 1000) {
  Solution s;
  for (std::size_t i = 0; i < text.size(); i += piece) s.feed(std::string_view(text).substr(i, piece));
  s.finish();
  return s;
}

TEST(Solution, CompetitionFormat) {
  std::string const text = "c hello\ns SATISFIABLE\nv 1 -2 3\nv -4 0\nc bye\n";
  for (std::size_t piece : {1u, 2u, 3u, 7u, 100u}) {
    Solution const s = parsed(text, piece);
    EXPECT_EQ(Solution::Status::sat, s.status());
    EXPECT_TRUE(s.complete());
    EXPECT_TRUE(s.value(1));
    EXPECT_FALSE(s.value(2));
    EXPECT_TRUE(s.value(3));
    EXPECT_FALSE(s.value(4));
    EXPECT_FALSE(s.value(1000));
  }
  EXPECT_EQ(Solution::Status::unsat, parsed("s UNSATISFIABLE\n").status());
  EXPECT_EQ(Solution::Status::unsat, parsed("s UNSATISFIABLE").status());
  EXPECT_EQ(Solution::Status::unknown, parsed("s UNKNOWN\r\n").status());
  EXPECT_EQ(Solution::Status::none, parsed("c nothing\n").status());
  // As solvers print it: blanks at the end, small letters, an optimum, no last 0.
  for (char const* answer : {"s SATISFIABLE \t\n", "s satisfiable\n", "s  Satisfiable\n", "s OPTIMUM FOUND\n",
                             "s\tSATISFIABLE\r\n"})
    EXPECT_EQ(Solution::Status::sat, parsed(answer).status()) << answer;
  EXPECT_TRUE(parsed("s SATISFIABLE\nv\t1 -2 \t\nv 0 \n").value(1));
  EXPECT_TRUE(parsed("s SATISFIABLE\nv 1 -2").value(1));
}

TEST(Solution, MiniSatResultFile) {
  Solution const s = parsed("SAT\n1 -2 0\n");
  EXPECT_EQ(Solution::Status::sat, s.status());
  EXPECT_TRUE(s.complete());
  EXPECT_TRUE(s.value(1));
  EXPECT_EQ(Solution::Status::unsat, parsed("UNSAT\n").status());
  EXPECT_TRUE(parsed("SAT\n 0\n").complete());
  EXPECT_FALSE(parsed("SAT\nc 0\n").complete());
}

TEST(Solution, BrokenLinesAreRefused) {
  EXPECT_THROW(parsed("s MAYBE\n"), Exception);
  EXPECT_THROW(parsed("s SATISFIABLE\nv 1 x 0\n"), Exception);
  EXPECT_THROW(parsed("s SATISFIABLE\nv 99999999999 0\n"), Exception);
  EXPECT_FALSE(parsed("s SATISFIABLE\nv 1 2\n").complete());
  EXPECT_THROW(parsed("s SATISFIABLE\nv 1 -1 0\n"), Exception);
  EXPECT_THROW(parsed("s SATISFIABLE\ns UNSATISFIABLE\n"), Exception);
  Solution two(2);
  EXPECT_THROW(two.feed("s SATISFIABLE\nv -3 0\n"), Exception);
}

}  // namespace
}  // namespace vell::io
