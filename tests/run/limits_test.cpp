#include "vell/run/limits.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace vell::run {
namespace {

using std::chrono::milliseconds;
using Clock = Limits::Clock;

TEST(Limits, NothingIsStoppedAtTheBeginning) {
  Limits const limits;
  EXPECT_FALSE(limits.stopped());
  EXPECT_FALSE(limits.checking());
  EXPECT_FALSE(limits.check_stopped());
  EXPECT_EQ(limits.reason(), StopReason::none);
  EXPECT_EQ(limits.run_reason(), StopReason::none);
  EXPECT_NO_THROW(limits.check());
  EXPECT_NO_THROW(limits());
}

TEST(Limits, ReasonsAreNamedAsGetInfoNamesThem) {
  EXPECT_STREQ(reason_text(StopReason::timeout), "timeout");
  EXPECT_STREQ(reason_text(StopReason::interrupted), "interrupted");
  EXPECT_STREQ(reason_text(StopReason::memout), "memout");
  EXPECT_STREQ(reason_text(StopReason::resourceout), "resourceout");
  EXPECT_STREQ(reason_text(StopReason::none), "incomplete");
}

TEST(Limits, TheWorkIsUnwoundWithTheReason) {
  Limits limits;
  limits.stop(StopReason::memout);
  EXPECT_TRUE(limits.stopped());
  TerminationTest const& test = limits;
  try {
    test();
    ADD_FAILURE() << "returned";
  } catch (Stopped const& e) {
    EXPECT_EQ(e.reason(), StopReason::memout);
    EXPECT_STREQ(e.what(), "memout");
  }
}

TEST(Limits, TheFirstReasonStands) {
  Limits limits;
  limits.stop(StopReason::timeout);
  limits.stop(StopReason::interrupted);
  EXPECT_EQ(limits.reason(), StopReason::timeout);
  EXPECT_EQ(limits.run_reason(), StopReason::timeout);
}

TEST(Limits, StoppingACheckEndsThatCheckAlone) {
  Limits limits;
  limits.begin_check(milliseconds(0));
  EXPECT_TRUE(limits.checking());
  limits.stop_check(StopReason::interrupted);
  EXPECT_TRUE(limits.stopped());
  EXPECT_TRUE(limits.check_stopped());
  EXPECT_EQ(limits.reason(), StopReason::interrupted);
  EXPECT_EQ(limits.run_reason(), StopReason::none);
  EXPECT_THROW(limits.check(), Stopped);

  limits.end_check();
  EXPECT_FALSE(limits.checking());
  EXPECT_FALSE(limits.stopped());
  EXPECT_EQ(limits.reason(), StopReason::none);

  limits.begin_check(milliseconds(0));
  EXPECT_TRUE(limits.checking());
  EXPECT_FALSE(limits.stopped());
}

TEST(Limits, TheFirstReasonOfACheckStands) {
  Limits limits;
  limits.begin_check(milliseconds(0));
  limits.stop_check(StopReason::resourceout);
  limits.stop_check(StopReason::interrupted);
  EXPECT_EQ(limits.reason(), StopReason::resourceout);
}

TEST(Limits, WithoutACheckNothingIsStopped) {
  Limits limits;
  limits.stop_check(StopReason::interrupted);
  limits.watch_check(Clock::now() + std::chrono::hours(1));
  EXPECT_FALSE(limits.stopped());
  limits.begin_check(milliseconds(0));
  EXPECT_FALSE(limits.stopped());
}

TEST(Limits, TheReasonOfTheRunOutranksThatOfTheCheck) {
  Limits limits;
  limits.begin_check(milliseconds(0));
  limits.stop_check(StopReason::resourceout);
  limits.stop(StopReason::memout);
  EXPECT_EQ(limits.reason(), StopReason::memout);
  limits.end_check();
  EXPECT_TRUE(limits.stopped());
}

TEST(Limits, ACheckEndsAtItsDeadlineWhenSomeoneLooks) {
  Limits limits;
  Clock::time_point const before = Clock::now();
  limits.begin_check(milliseconds(10'000));
  limits.watch_check(before + milliseconds(9'999));
  EXPECT_FALSE(limits.stopped());
  limits.watch_check(Clock::now() + milliseconds(10'000));
  EXPECT_TRUE(limits.check_stopped());
  EXPECT_EQ(limits.reason(), StopReason::timeout);

  // The next check has a deadline of its own.
  limits.end_check();
  limits.begin_check(milliseconds(30'000));
  limits.watch_check(Clock::now() + milliseconds(10'000));
  EXPECT_FALSE(limits.stopped());
}

TEST(Limits, ZeroIsNoDeadline) {
  Limits limits;
  limits.begin_check(milliseconds(0));
  limits.watch_check(Clock::now() + std::chrono::hours(24 * 365));
  EXPECT_FALSE(limits.stopped());
}

TEST(Limits, AnotherThreadStopsTheWork) {
  Limits limits;
  std::atomic<bool> working{false};
  std::thread watcher([&] {
    while (!working) std::this_thread::yield();
    limits.stop(StopReason::interrupted);
  });
  EXPECT_THROW(
      {
        for (;;) {
          limits.check();
          working = true;
        }
      },
      Stopped);
  watcher.join();
}

TEST(Limits, NoLimitsAreNeverStopped) {
  EXPECT_EQ(&no_limits(), &no_limits());
  EXPECT_FALSE(no_limits().stopped());
}

}  // namespace
}  // namespace vell::run
