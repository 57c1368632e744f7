#pragma once

// Everything a run says: answers, messages, the progress line.
//
// Answers go to the regular channel (stdout), whole and at once, so that a program that talks to the tool
// through a pipe never waits for half of one. The progress line stands on stderr and is taken away before
// anything else is written. After shut() nothing more is written, whatever the other threads do.
//
// Tested by tests/script/console_test.cpp.

#include <cstdio>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>

namespace vell::script {

class Console {
 public:
  Console() = default;
  ~Console();
  Console(Console const&) = delete;
  Console& operator=(Console const&) = delete;

  // A line on the regular channel; the newline is added.
  void answer(std::string_view text);
  // Bytes on the diagnostic channel, as they stand.
  void diagnostic(std::string_view text);
  // A line on stderr, the tool's name in front, `more` behind; the newline is added. Like answer() and
  // diagnostic() it needs no memory.
  void message(std::string_view text, std::string_view more = {});
  // Where stderr is a terminal: the line of an error, with a mark under the place (io::Error::excerpt).
  // Nothing elsewhere.
  void excerpt(std::string_view text);
  // Replaces the progress line; empty takes it away.
  void progress(std::string_view text);

  // Redirects a channel to a file that is appended to, or to "stdout" or "stderr". False when it cannot be
  // opened.
  bool set_regular_channel(std::string const& name);
  bool set_diagnostic_channel(std::string const& name);
  std::string const& regular_channel() const { return regular_.name; }
  std::string const& diagnostic_channel() const { return diagnostic_.name; }

  // Writes the texts as answer() and diagnostic() would, then ends all output for good. For the thread that
  // ends the process while another still works: false, and nothing written, when the console cannot be had
  // within 50 ms.
  bool shut(std::string_view last_answer, std::string_view last_diagnostic);

  // Whether every answer could be written.
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

}  // namespace vell::script
