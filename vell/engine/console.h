#pragma once

// The output of a run: answers, messages, the progress line.
//
// Answers go to the regular channel (stdout). Each is written completely and flushed, so a program that reads
// them through a pipe never waits for a part of one. The progress line is on stderr and is removed before
// anything else is written. After shut() no thread writes anything.
//
// Tested by tests/engine/console_test.cpp.

#include <cstdio>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>

namespace vell::engine {

class Console {
 public:
  Console() = default;
  ~Console();
  Console(Console const&) = delete;
  Console& operator=(Console const&) = delete;

  // Writes a line to the regular channel; the newline is added.
  void answer(std::string_view text);
  // Writes bytes to the diagnostic channel, unchanged.
  void diagnostic(std::string_view text);
  // Writes a line to the diagnostic channel: the tool's name, the text, `more`, and a newline. Like answer()
  // and diagnostic() it allocates nothing.
  void message(std::string_view text, std::string_view more = {});
  // Writes the line of an error with a mark under its column (io::Error::excerpt), if stderr is a terminal.
  void excerpt(std::string_view text);
  // Replaces the progress line; an empty text removes it.
  void progress(std::string_view text);

  // Redirects a channel to a file that is appended to, or to "stdout" or "stderr". False when it cannot be
  // opened.
  bool set_regular_channel(std::string const& name);
  bool set_diagnostic_channel(std::string const& name);
  std::string const& regular_channel() const { return regular_.name; }
  std::string const& diagnostic_channel() const { return diagnostic_.name; }

  // Writes the texts as answer() and diagnostic() would, and then disables all output. For a thread that ends
  // the process while another one works. If the console is not available within 50 ms, nothing is written and
  // the result is false.
  bool shut(std::string_view last_answer, std::string_view last_diagnostic);

  // Whether all output so far was written without an error.
  bool good() const { return good_; }

 private:
  struct Channel {
    std::string name;
    std::FILE* file;
    bool owned = false;
    bool failed = false;  // and says nothing more: whoever counts the answers would take one for another
  };
  bool redirect(Channel& channel, std::string const& name);
  void clear_progress();
  void write(Channel& channel, std::initializer_list<std::string_view> pieces);

  std::timed_mutex mutex_;
  Channel regular_{"stdout", stdout};
  Channel diagnostic_{"stderr", stderr};
  std::size_t progress_width_ = 0;
  bool shut_ = false;
  bool good_ = true;
};

}  // namespace vell::engine
