// The same bytes in the same order, and no problem that goes unheard.

#include "vell/io/backgroundoutput.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <stdexcept>
#include <string>

namespace vell::io {
namespace {

// Slow every now and then; throws at its n-th piece.
class Receiver : public ByteOutput {
 public:
  explicit Receiver(int throws_at = 0) : throws_at_(throws_at) {}
  void write(char const* data, std::size_t size) override {
    if (++pieces == throws_at_) throw std::runtime_error("full");
    if (pieces % 7 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    text.append(data, size);
  }

  std::string text;
  std::atomic<int> pieces{0};

 private:
  int throws_at_;
};

TEST(BackgroundOutput, EveryByteInOrder) {
  Receiver out;
  std::string expected;
  std::mt19937 random(5);
  BackgroundOutput background(out);
  for (int i = 0; i < 500; ++i) {
    std::string piece = std::to_string(i) + std::string(random() % 5000, static_cast<char>('a' + i % 26));
    background.write(piece.data(), piece.size());
    expected += piece;
    piece.assign(piece.size(), '!');  // it was copied
    if (i % 100 != 0) continue;
    background.finish();
    ASSERT_TRUE(expected == out.text) << i;
  }
  background.write("", 0);
  background.finish();
  EXPECT_TRUE(expected == out.text);
}

TEST(BackgroundOutput, AProblemIsThrownByALaterCall) {
  Receiver out(3);
  BackgroundOutput background(out);
  EXPECT_THROW(
      {
        for (int i = 0; i < 100; ++i) background.write("x", 1);
      },
      std::runtime_error);
  EXPECT_THROW(background.write("x", 1), std::runtime_error);
  EXPECT_THROW(background.finish(), std::runtime_error);
  EXPECT_EQ("xx", out.text);
  EXPECT_EQ(3, out.pieces);
}

TEST(BackgroundOutput, TheLastPiecesProblemIsThrownByFinish) {
  Receiver out(1);
  BackgroundOutput background(out);
  background.write("x", 1);
  EXPECT_THROW(background.finish(), std::runtime_error);
}

TEST(BackgroundOutput, UnfinishedItEndsAllTheSame) {
  Receiver out;
  {
    BackgroundOutput background(out);
    for (int i = 0; i < 20; ++i) background.write("x", 1);
  }
  EXPECT_GE(out.text.size(), 18u);
  BackgroundOutput const unused(out);
}

}  // namespace
}  // namespace vell::io
