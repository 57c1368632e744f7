#pragma once

// Writing on a thread of its own.
//
// Copying a hundred megabytes into the system's cache, and compressing them all the more, takes as long as
// making them does; side by side the two take the time of one.
//
// Tested by tests/io/backgroundoutput_test.cpp.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "vell/utils/byteoutput.h"

namespace vell::io {

// Hands bytes on to another output, in order, from a thread. Holds two pieces at most, each as long as what
// one write() was given: one that waits and one at hand. Not to be used by two threads.
class BackgroundOutput : public ByteOutput {
 public:
  // out must outlive this, and is the thread's alone until finish() returns.
  explicit BackgroundOutput(ByteOutput& out);
  // Waits for the piece at hand; one that waits is dropped.
  ~BackgroundOutput() override;
  BackgroundOutput(BackgroundOutput const&) = delete;
  BackgroundOutput& operator=(BackgroundOutput const&) = delete;

  // Takes a copy. Throws what `out` threw at an earlier piece; nothing is handed on after that.
  void write(char const* data, std::size_t size) override;
  // Returns when everything is handed on, or throws as write() does.
  void finish();

 private:
  void run();
  void rethrow();

  ByteOutput& out_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<char> waiting_;  // empty: there is room
  std::vector<char> at_hand_;  // the thread's alone while busy_
  bool busy_ = false;
  bool ended_ = false;
  std::exception_ptr problem_;
  std::thread thread_;
};

}  // namespace vell::io
