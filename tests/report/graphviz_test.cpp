#include "vell/report/graphviz.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "vell/terms/exception.h"

namespace vell::report {
namespace {

TEST(Graphviz, Strings) { EXPECT_EQ("\"a\\\"b\\\\c\\nd e\"", dot_string("a\"b\\c\nd\te")); }

TEST(Graphviz, SuffixesOfPictures) {
  EXPECT_EQ(Picture::dot, picture_of("a.dot"));
  EXPECT_EQ(Picture::svg, picture_of("/x/a.b.svg"));
  EXPECT_EQ(Picture::png, picture_of("a.png"));
  EXPECT_EQ(Picture::html, picture_of("a.html"));
  EXPECT_THROW(picture_of("a.pdf"), Exception);
  EXPECT_THROW(picture_of("-"), Exception);
}

TEST(Graphviz, DotNeedsNoProgram) {
  std::string const path = getenv("PATH");
  setenv("PATH", "/nowhere", 1);
  EXPECT_EQ("digraph {}", drawn("digraph {}", Picture::dot, run::Limits()));
  std::string why;
  try {
    drawn("digraph {}", Picture::svg, run::Limits());
  } catch (Exception const& e) {
    why = e.what();
  }
  setenv("PATH", path.c_str(), 1);
  EXPECT_NE(std::string::npos, why.find("install the package graphviz, or write a .dot file")) << why;
}

TEST(Graphviz, RefusesWhatDotRefuses) {
  EXPECT_THROW(drawn("digraph {", Picture::svg, run::Limits()), Exception);
  std::string const svg = drawn("digraph { a -> b }", Picture::svg, run::Limits());
  EXPECT_NE(std::string::npos, svg.find("<svg "));
  EXPECT_EQ(std::string::npos, svg.find("DOCTYPE"));
  EXPECT_EQ("\x89PNG", drawn("digraph { a -> b }", Picture::png, run::Limits()).substr(0, 4));
}

}  // namespace
}  // namespace vell::report
