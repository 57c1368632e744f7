#include "vell/io/samefile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/scratch.h"
#include "vell/io/outputfile.h"

namespace vell::io {
namespace {

TEST(SameFile, ThroughLinksOfEitherKind) {
  test::Scratch s;
  std::string const file = s.write("a", "x");
  std::string const other = s.write("b", "x");
  ASSERT_EQ(0, symlink("a", s.file("soft").c_str()));
  ASSERT_EQ(0, link(file.c_str(), s.file("hard").c_str()));
  for (char const* name : {"a", "soft", "hard"}) EXPECT_TRUE(same_file(s.file(name), file)) << name;
  EXPECT_TRUE(same_file(file, s.file("soft")));
  EXPECT_FALSE(same_file(other, file));
  EXPECT_FALSE(same_file(s.file("none"), file));
  EXPECT_FALSE(same_file(file, s.file("none")));
  EXPECT_FALSE(same_file("/dev/null", "/dev/null"));
}

TEST(SameFile, TheRefusalNamesIt) {
  test::Scratch s;
  std::string const file = s.write("a", "x");
  refuse_same_file(s.file("b"), file);
  try {
    refuse_same_file(file, file);
    FAIL();
  } catch (OutputError const& e) {
    EXPECT_EQ(file + ": it is the input as well", std::string(e.what()));
  }
}

}  // namespace
}  // namespace vell::io
