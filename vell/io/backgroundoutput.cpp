#include "vell/io/backgroundoutput.h"

namespace vell::io {

BackgroundOutput::BackgroundOutput(ByteOutput& out) : out_(out) {
  thread_ = std::thread([this] { run(); });
}

BackgroundOutput::~BackgroundOutput() {
  {
    std::lock_guard const lock(mutex_);
    ended_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void BackgroundOutput::write(char const* data, std::size_t size) {
  if (size == 0) return;
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.empty() || problem_ != nullptr; });
    rethrow();
    waiting_.assign(data, data + size);
  }
  changed_.notify_all();
}

void BackgroundOutput::finish() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return (waiting_.empty() && !busy_) || problem_ != nullptr; });
  rethrow();
}

void BackgroundOutput::rethrow() {
  if (problem_ != nullptr) std::rethrow_exception(problem_);
}

void BackgroundOutput::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
    if (ended_) return;
    at_hand_.swap(waiting_);
    busy_ = true;
    lock.unlock();
    changed_.notify_all();
    std::exception_ptr problem;
    try {
      out_.write(at_hand_.data(), at_hand_.size());
    } catch (...) {
      problem = std::current_exception();
    }
    at_hand_.clear();
    lock.lock();
    busy_ = false;
    problem_ = problem;
    changed_.notify_all();
    if (problem_ != nullptr) return;
  }
}

}  // namespace vell::io
