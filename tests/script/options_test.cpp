#include "vell/script/options.h"

#include <gtest/gtest.h>

#include "vell/terms/exception.h"

namespace vell::script {
namespace {

TEST(Options, AreChecked) {
  check_words("none,+equations");
  EXPECT_THROW(check_words("+nothing"), Exception);
  check_setting("rounds=3");
  EXPECT_THROW(check_setting("rounds=x"), Exception);
  EXPECT_THROW(check_setting("nothing=3"), Exception);
}

TEST(Options, AreListed) {
  std::string const table = options_table();
  EXPECT_NE(std::string::npos, table.find("\nequations "));
  EXPECT_NE(std::string::npos, table.find("rounds"));
}

TEST(Options, AreSuggested) {
  EXPECT_EQ("; did you mean `--query`?", spelling_hint("--qeury", {"--query", "--words"}));
  EXPECT_EQ("", spelling_hint("--qeury", {"--words"}));
}

}  // namespace
}  // namespace vell::script
