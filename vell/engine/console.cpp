#include "vell/engine/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>

namespace vell::engine {

Console::~Console() {
  std::lock_guard const lock(mutex_);
  clear_progress();
  if (regular_.owned) std::fclose(regular_.file);
  if (diagnostic_.owned) std::fclose(diagnostic_.file);
}

void Console::clear_progress() {
  if (progress_width_ == 0) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  progress_width_ = 0;
}

// Allocates nothing: the message may be that memory has run out.
void Console::write(Channel& channel, std::initializer_list<std::string_view> pieces) {
  if (shut_ || channel.failed) return;
  clear_progress();
  bool written = true;
  for (std::string_view const text : pieces)  // a view of nothing may have no address
    written =
        (text.empty() || std::fwrite(text.data(), 1, text.size(), channel.file) == text.size()) && written;
  if (std::fflush(channel.file) == 0 && written) return;
  channel.failed = true;
  good_ = false;
}

void Console::answer(std::string_view text) {
  std::lock_guard const lock(mutex_);
  write(regular_, {text, "\n"});
}

void Console::diagnostic(std::string_view text) {
  std::lock_guard const lock(mutex_);
  write(diagnostic_, {text});
}

void Console::message(std::string_view text, std::string_view more) {
  std::lock_guard const lock(mutex_);
  write(diagnostic_, {"vell-bv: ", text, more, "\n"});
}

void Console::excerpt(std::string_view text) {
  if (text.empty() || isatty(STDERR_FILENO) == 0) return;
  std::lock_guard const lock(mutex_);
  write(diagnostic_, {text});
}

void Console::progress(std::string_view text) {
  std::lock_guard const lock(mutex_);
  if (shut_) return;
  if (text.empty()) {
    clear_progress();
    return;
  }
  // A line that the terminal wraps could not be removed again.
  winsize terminal{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &terminal) == 0 && terminal.ws_col > 1)
    text = text.substr(0, terminal.ws_col - 1u);
  std::string line("\r");
  line += text;
  line += "\033[K";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
  progress_width_ = text.size();
}

bool Console::redirect(Channel& channel, std::string const& name) {
  std::FILE* file = name == "stdout" ? stdout : name == "stderr" ? stderr : std::fopen(name.c_str(), "ae");
  if (file == nullptr) return false;
  std::lock_guard const lock(mutex_);
  if (channel.owned) std::fclose(channel.file);
  channel = {name, file, file != stdout && file != stderr};
  return true;
}

bool Console::set_regular_channel(std::string const& name) { return redirect(regular_, name); }
bool Console::set_diagnostic_channel(std::string const& name) { return redirect(diagnostic_, name); }

bool Console::shut(std::string_view last_answer, std::string_view last_diagnostic) {
  std::unique_lock const lock(mutex_, std::chrono::milliseconds(50));
  if (!lock.owns_lock()) return false;
  if (!last_answer.empty()) write(regular_, {last_answer, "\n"});
  if (!last_diagnostic.empty()) write(diagnostic_, {last_diagnostic});
  clear_progress();
  shut_ = true;
  return true;
}

}  // namespace vell::engine
