#pragma once

// Writing on a separate thread.
//
// Copying a hundred megabytes into the system's cache takes as long as making them, and compressing them
// takes longer. In parallel the two take the time of one.
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

// Passes bytes on to another output, in order, on a separate thread. It holds at most two pieces, each as
// long as the argument of one write(): one that waits and one that is being written. Only one thread may call
// it.
class BackgroundOutput : public ByteOutput {
 public:
  // out must outlive this. Nothing else may use it until finish() returns.
  explicit BackgroundOutput(ByteOutput& out);
  // Waits until the current piece is written. A waiting piece is dropped.
  ~BackgroundOutput() override;
  BackgroundOutput(BackgroundOutput const&) = delete;
  BackgroundOutput& operator=(BackgroundOutput const&) = delete;

  // Copies the bytes. Rethrows what `out` threw for an earlier piece; after that nothing more is written.
  void write(char const* data, std::size_t size) override;
  // Returns when everything is written, or throws as write() does.
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
