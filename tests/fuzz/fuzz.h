#pragma once

// What the fuzz targets share. Each target is a file with LLVMFuzzerTestOneInput, see README.md.

#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>

#include "vell/run/limits.h"

namespace vell::fuzz {

// Ends the run as a finding.
[[noreturn]] inline void finding(std::string const& what, std::string const& more = "") {
  std::fprintf(stderr, "finding: %s\n%s\n", what.c_str(), more.c_str());
  std::abort();
}

// Whether the text has a number of more than three digits, or is long: widths of that size take memory and
// time, and find nothing that smaller ones do not.
inline bool too_large(std::string_view text) {
  if (text.size() > 4096) return true;
  std::size_t digits = 0;
  for (char c : text) {
    digits = c >= '0' && c <= '9' ? digits + 1 : 0;
    if (digits > 3) return true;
  }
  return false;
}

// A folder for the process, in memory where there is such a place.
inline std::string const& folder() {
  // Never freed: it is read when the process ends.
  static std::string const* const path = [] {
    auto* const name = new std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm/vell-fuzz-XXXXXX"
                                                                     : "/tmp/vell-fuzz-XXXXXX");
    if (mkdtemp(name->data()) == nullptr) finding("no folder");
    std::atexit([] { static_cast<void>(std::system(("rm -rf " + folder()).c_str())); });
    return name;
  }();
  return *path;
}

inline void write_file(std::string const& path, std::string_view text) {
  std::ofstream(path, std::ios::binary) << text;
}
inline std::string read_file(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// Stops the limits after half a second.
class Deadline {
 public:
  explicit Deadline(run::Limits& limits)
      : thread_([this, &limits] {
          std::unique_lock<std::mutex> lock(mutex_);
          if (!condition_.wait_for(lock, std::chrono::milliseconds(500), [this] { return done_; }))
            limits.stop(run::StopReason::timeout);
        }) {}
  ~Deadline() {
    {
      std::lock_guard<std::mutex> const lock(mutex_);
      done_ = true;
    }
    condition_.notify_one();
    thread_.join();
  }
  Deadline(Deadline const&) = delete;
  Deadline& operator=(Deadline const&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable condition_;
  bool done_ = false;
  std::thread thread_;
};

}  // namespace vell::fuzz
