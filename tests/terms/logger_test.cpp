// Format of the pieces, and the test that each of them passes before it is written.

#include "vell/terms/logger.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "vell/terms/termmanager.h"

namespace vell {
namespace {

using bv::BvLit;
using bv::BvLitList;

template <typename... Pieces>
std::string written(Pieces const&... pieces) {
  std::ostringstream s;
  Logger log(s);
  (log << ... << pieces);
  return s.str();
}

TEST(LoggerTest, Literals) {
  struct Case {
    BvLit literal;
    char const* text;
  };
  for (Case const& k : std::vector<Case>{{0, "?"},
                                         {1, "T"},
                                         {-1, "F"},
                                         {2, "0"},
                                         {-2, "~0"},
                                         {3, "1"},
                                         {7, "5"},
                                         {-7, "~5"},
                                         {12, "10"},
                                         {INT32_MAX, "2147483645"},
                                         {-INT32_MAX, "~2147483645"},
                                         {INT32_MIN, "~2147483646"}})
    EXPECT_EQ(written(k.literal), k.text);
}

TEST(LoggerTest, ListsAreMostSignificantBitFirst) {
  EXPECT_EQ(written(BvLitList{1, 5, -7}), "[ ~5, 3, T ]");
  EXPECT_EQ(written(BvLitList{}), "[ ]");
  EXPECT_EQ(written(BvLitList{-1}), "[ F ]");
  EXPECT_EQ(written(BvLitList{0, 2}), "[ 0, ? ]");
}

TEST(LoggerTest, NegationsOfConstants) {
  EXPECT_EQ(-bv::l_undef, bv::l_undef);
  EXPECT_EQ(-bv::l_true, bv::l_false);
  EXPECT_EQ(-bv::l_false, bv::l_true);
  EXPECT_EQ(bv::l_true, 1);
  EXPECT_EQ(bv::l_false, -1);
  EXPECT_EQ(bv::l_undef, 0);
  EXPECT_TRUE(bv::is_constant(1) && bv::is_constant(-1));
  EXPECT_FALSE(bv::is_constant(0) || bv::is_constant(2) || bv::is_constant(-2));
}

TEST(LoggerTest, PlainPieces) {
  EXPECT_EQ(written("a ", std::string("b "), std::string_view("c")), "a b c");
  EXPECT_EQ(written(true, false), "10");
  EXPECT_EQ(written(7u, " ", std::uint64_t{18446744073709551615u}, " ", 12ull), "7 18446744073709551615 12");
  EXPECT_EQ(written(-7l, " ", -8ll), "-7 -8");
  EXPECT_EQ(written("x", endlog), "x\n");
}

TEST(LoggerTest, OnlyLiteralsPrintAsLiterals) {
  EXPECT_EQ(written(BvLit{1}, " ", short{1}, " ", static_cast<unsigned short>(1), " ", 1u, " ", 1l, " ", 1ul),
            "T 1 1 1 1 1");
  EXPECT_EQ(written(BvLit{-7}, " ", short{-7}, " ", -7l, " ", -7ll), "~5 -7 -7 -7");
  EXPECT_EQ(written('\1', " ", static_cast<signed char>(-1), " ", static_cast<unsigned char>(200)),
            "1 -1 200");
  EXPECT_EQ(written(1.0, " ", -0.5, " ", 0.25f, " ", 1e300, " ", 2.5l), "1 -0.5 0.25 1e+300 2.5");
  EXPECT_EQ(written(true, std::size_t{0}, std::int64_t{-1}), "10-1");
  std::ostringstream s;
  Logger log(s);
  log << loglevel(1) << short{1} << 'a' << 1.5;
  EXPECT_EQ(s.str(), "");
}

TEST(LoggerTest, ModuleAndLevelOfAMessageThatIsNotWritten) {
  std::ostringstream s;
  Logger log(s, 2);
  log("one") << loglevel(2) << "a";
  log("two") << loglevel(3) << "hidden";
  EXPECT_STREQ(log.module(), "two");
  EXPECT_EQ(log.level(), 3);
  log << loglevel(0) << "b";
  EXPECT_EQ(s.str(), "ab");
}

TEST(LoggerTest, TermsAndTypes) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* t = tm.mk_app(SymbolTag::bv_add, {x, x});
  EXPECT_EQ(written(t, " ", x), "(bvadd x x) x");
  EXPECT_EQ(written(t->symbol->get_output_type(), " ", tm.bool_type), "bv8 bool");
}

TEST(LoggerTest, ModuleIsSelectedAndReturnsTheLogger) {
  std::ostringstream s;
  Logger log(s);
  Logger& same = log("BV");
  EXPECT_EQ(&same, &log);
  EXPECT_STREQ(log.module(), "BV");
  log("BV") << loglevel(0) << "text" << endlog;
  EXPECT_EQ(s.str(), "text\n");
}

TEST(LoggerTest, LevelAgainstVerbosity) {
  for (int verbosity = -1; verbosity <= 3; ++verbosity)
    for (int level = -2; level <= 4; ++level) {
      std::ostringstream s;
      Logger log(s, verbosity);
      log("BV") << loglevel(level) << "x" << BvLit{5} << BvLitList{2} << true << 5u << endlog;
      bool const expected = level >= 0 && level <= verbosity;
      EXPECT_EQ(s.str(), expected ? "x3[ 0 ]15\n" : "") << level << " " << verbosity;
      EXPECT_EQ(log.enabled(level), expected);
    }
}

TEST(LoggerTest, EachPieceIsTestedAnew) {
  std::ostringstream s;
  Logger log(s, 1);
  log << loglevel(1) << "a" << loglevel(2) << "b" << loglevel(0) << "c";
  log.set_verbosity(-1);
  log << "d" << endlog;
  log.set_verbosity(0);
  log << "e" << loglevel(1) << endlog;  // an end above the verbosity writes nothing
  log << loglevel(-1) << "f" << loglevel(0) << endlog;
  EXPECT_EQ(s.str(), "ace\n");
}

TEST(LoggerTest, MutedWritesNothing) {
  std::ostringstream s;
  Logger log(s, 9);
  log.set_muted(true);
  log << loglevel(0) << "a" << BvLit{1} << BvLitList{1} << endlog;
  EXPECT_FALSE(log.enabled(0));
  log.set_muted(false);
  log << "b";
  EXPECT_EQ(s.str(), "b");
}

TEST(LoggerTest, RendersNothingAboveTheVerbosity) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("a_name_long_enough_to_need_storage_of_its_own", tm.bv_type(8));
  Term_ const* t = tm.mk_app(SymbolTag::bv_add, {x, x});
  std::ostringstream s;
  Logger log(s, 0);
  BvLitList const bits(1000, 123456);
  log << loglevel(1);
  std::uint64_t const before = test::allocation_count();
  log << t << x->symbol->get_output_type() << bits << 123456789u << std::string_view("text") << endlog;
  EXPECT_EQ(test::allocation_count(), before);
}

TEST(LoggerTest, DefaultWritesLevelZeroToStandardError) {
  testing::internal::CaptureStderr();
  Logger log;
  log << "shown" << loglevel(1) << "hidden" << loglevel(0) << endlog;
  std::cerr.flush();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "shown\n");
  EXPECT_EQ(log.verbosity(), 0);
}

// ---- carriage return ----

TEST(LoggerTest, NoCarriageReturnWhereNoTerminalIs) {
  std::ostringstream s;
  EXPECT_FALSE(is_terminal(s));
  Logger log(s);
  log.set_pending_carriage_return();
  log << "a" << endlog;
  EXPECT_EQ(s.str(), "a\n");
}

// Standard error on a pseudo terminal for the time of a test.
class Terminal {
 public:
  Terminal() {
    master_ = posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) return;
    int const slave = open(ptsname(master_), O_RDWR | O_NOCTTY);
    if (slave < 0) return;
    saved_ = dup(STDERR_FILENO);
    dup2(slave, STDERR_FILENO);
    close(slave);
  }
  ~Terminal() {
    restore();
    if (master_ >= 0) close(master_);
  }
  bool usable() const { return saved_ >= 0; }
  // What was written, to the end: with its last writer gone the terminal has no more.
  std::string finish() {
    std::cerr.flush();
    restore();
    std::string text;
    char buffer[256];
    for (ssize_t n; (n = read(master_, buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<std::size_t>(n));
    return text;
  }

 private:
  void restore() {
    if (saved_ < 0) return;
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    saved_ = -1;
  }
  int master_ = -1;
  int saved_ = -1;
};

TEST(LoggerTest, PendingCarriageReturnComesOnceBeforeTheNextText) {
  Terminal terminal;
  ASSERT_TRUE(terminal.usable());
  EXPECT_TRUE(is_terminal(std::cerr));
  Logger log;
  log.set_pending_carriage_return();
  log << loglevel(5) << "hidden" << loglevel(0);  // not written, so the flag stays
  log << "a"
      << "b";
  log.set_pending_carriage_return();
  log << BvLitList{2};
  EXPECT_EQ(terminal.finish(), "\rab\r[ 0 ]");
}

TEST(LoggerTest, StringStreamIsNoTerminalEvenWhereStandardErrorIs) {
  Terminal terminal;
  ASSERT_TRUE(terminal.usable());
  std::ostringstream s;
  EXPECT_FALSE(is_terminal(s));
}

}  // namespace
}  // namespace vell
