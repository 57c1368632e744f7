// The source yields one line at a time, so each command is executed as soon as its last line is typed.
//
// Waiting for a key polls for at most a tenth of a second at a time, because a signal may be delivered to
// another thread and then interrupts no call of this one. The watchdog receives Ctrl-C; this file asks it.
// libedit's own signal handling stays off, since it passes signals on to the whole process group. Ctrl-C also
// discards typed but unread bytes, so a byte that poll reported may be gone when it is read. The terminal is
// therefore read through a non-blocking descriptor.

#include "vell/cli/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include "vell/cli/watchdog.h"

#ifdef VELL_LIBEDIT
#include <histedit.h>
#endif

namespace vell::cli {

namespace {

constexpr char first_prompt[] = "vell> ";
constexpr char open_prompt[] = "  ... ";  // inside a command
constexpr int poll_milliseconds = 100;

termios saved_modes;
bool modes_saved = false;

// The terminal, opened again by name: making standard input itself non-blocking would affect every process
// that shares it. Standard input if the terminal cannot be opened.
int open_unblocked() {
  char name[256];
  if (ttyname_r(STDIN_FILENO, name, sizeof name) != 0) return STDIN_FILENO;
  int const fd = ::open(name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  return fd < 0 ? STDIN_FILENO : fd;
}

int keyboard() {
  static int const fd = open_unblocked();
  return fd;
}

// Waits for a byte; no value at the end of the input. Throws LineDropped after Ctrl-C.
std::optional<char> next_byte() {
  for (;;) {
    if (Watchdog::take_interrupt()) throw script::LineDropped();
    pollfd waiting{keyboard(), POLLIN, 0};
    int const ready = poll(&waiting, 1, poll_milliseconds);
    if (ready < 0 && errno != EINTR) return std::nullopt;
    if (ready <= 0) continue;
    char c = 0;
    ssize_t const n = ::read(keyboard(), &c, 1);
    if (n == 1) return c;
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    return std::nullopt;
  }
}

// Line input with a prompt and the editing of the terminal driver.
class PlainLines {
 public:
  std::optional<std::string> line(char const* prompt) {
    std::fputs(prompt, stdout);
    std::fflush(stdout);
    std::string line;
    while (std::optional<char> const c = next_byte()) {
      line += *c;
      if (*c == '\n') return line;
    }
    if (line.empty()) return std::nullopt;
    return line + '\n';
  }
};

#ifdef VELL_LIBEDIT

// Line input with libedit.
class EditedLines {
 public:
  explicit EditedLines(script::Execution const& execution) : execution_(execution) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    HistEvent event;
    history_ = history_init();
    history(history_, &event, H_SETSIZE, 1000);
    history(history_, &event, H_SETUNIQUE, 1);
    edit_ = el_init("vell-bv", stdin, stdout, stderr);
    el_set(edit_, EL_CLIENTDATA, this);
    el_set(edit_, EL_PROMPT, &prompt);
    el_set(edit_, EL_EDITOR, "emacs");
    el_set(edit_, EL_SIGNAL, 0);
    el_set(edit_, EL_HIST, history, history_);
    el_set(edit_, EL_GETCFN, &next_character);
    el_set(edit_, EL_ADDFN, "vell-complete", "Complete a name", &complete);
    el_set(edit_, EL_BIND, "^I", "vell-complete", nullptr);
    el_set(edit_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    // A Ctrl-D typed before the terminal was in raw mode arrives as a null character.
    el_set(edit_, EL_BIND, "^@", "em-delete-or-list", nullptr);
  }
  ~EditedLines() {
    el_end(edit_);
    history_end(history_);
  }
  EditedLines(EditedLines const&) = delete;
  EditedLines& operator=(EditedLines const&) = delete;

  std::optional<std::string> line(char const* prompt) {
    prompt_ = prompt;
    dropped_ = false;
    int count = 0;
    el_set(edit_, EL_PREP_TERM, 1);  // raw mode before the prompt: who sees that may type Ctrl-D
    char const* const text = el_gets(edit_, &count);
    if (dropped_) throw script::LineDropped();
    if (text == nullptr || count <= 0) return std::nullopt;
    std::string line(text, static_cast<std::size_t>(count));
    if (line.find_first_not_of(" \t\r\n") != std::string::npos) {
      HistEvent event;
      history(history_, &event, H_ENTER, line.c_str());
    }
    if (line.back() != '\n') line += '\n';
    return line;
  }

 private:
  static EditedLines& self(EditLine* edit) {
    EditedLines* lines = nullptr;
    el_get(edit, EL_CLIENTDATA, &lines);
    return *lines;
  }
  static char* prompt(EditLine* edit) { return const_cast<char*>(self(edit).prompt_); }

  // A character of UTF-8. No exception may pass through libedit.
  static int next_character(EditLine* edit, wchar_t* out) {
    std::mbstate_t state{};
    try {
      while (std::optional<char> const c = next_byte()) {
        std::size_t const used = std::mbrtowc(out, &*c, 1, &state);
        if (used == static_cast<std::size_t>(-2)) continue;
        if (used == static_cast<std::size_t>(-1)) *out = L'?';
        return 1;
      }
      return 0;
    } catch (script::LineDropped const&) {
      self(edit).dropped_ = true;
      errno = EINTR;
      return -1;
    }
  }

  // Extends the name before the cursor to the longest common prefix of all matching names; lists them if
  // there are several.
  static unsigned char complete(EditLine* edit, int) {
    LineInfo const* const info = el_line(edit);
    char const* begin = info->cursor;
    while (begin != info->buffer && std::strchr(" \t\n()", begin[-1]) == nullptr) --begin;
    std::string const word(begin, info->cursor);
    if (word.empty()) return CC_ERROR;
    std::vector<std::string> const names = self(edit).execution_.names(word);
    if (names.empty()) return CC_ERROR;
    std::string common = names.front();
    for (std::string const& n : names)
      common.resize(static_cast<std::size_t>(
          std::mismatch(common.begin(), common.end(), n.begin(), n.end()).first - common.begin()));
    if (names.size() == 1) common += ' ';
    if (common.size() > word.size() && common.starts_with(word))
      return el_insertstr(edit, common.c_str() + word.size()) == 0 ? CC_REFRESH : CC_ERROR;
    std::string list = "\n";
    constexpr std::size_t most = 60;
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
      list += names[i] + (i % 6 == 5 ? "\n" : "  ");
    if (names.size() > most) list += "...";
    if (list.back() != '\n') list += '\n';
    std::fputs(list.c_str(), stdout);
    std::fflush(stdout);
    return CC_REDISPLAY;
  }

  script::Execution const& execution_;
  EditLine* edit_ = nullptr;
  History* history_ = nullptr;
  char const* prompt_ = "";
  bool dropped_ = false;
};

#endif

class TerminalStream : public script::Input {
 public:
  TerminalStream(script::Execution const& execution, script::Console& console)
      : execution_(execution), console_(console) {
#ifdef VELL_LIBEDIT
    char const* const kind = std::getenv("TERM");
    if (kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb") edited_.emplace(execution);
#endif
  }

  std::size_t read(char* out, std::size_t n) override {
    if (pending_.empty()) pending_ = next_line();
    std::size_t const given = std::min(n, pending_.size());
    pending_.copy(out, given);
    pending_.erase(0, given);
    return given;
  }

 private:
  std::string next_line() {
    console_.progress("");
    char const* const prompt = execution_.inside_command() ? open_prompt : first_prompt;
    try {
#ifdef VELL_LIBEDIT
      std::optional<std::string> line = edited_ ? edited_->line(prompt) : plain_.line(prompt);
#else
      std::optional<std::string> line = plain_.line(prompt);
#endif
      if (line) return std::move(*line);
    } catch (script::LineDropped const&) {
      std::fputs("\n", stdout);
      std::fflush(stdout);
      throw;
    }
    std::fputs("\n", stdout);
    std::fflush(stdout);
    throw script::DialogueEnded();
  }

  script::Execution const& execution_;
  script::Console& console_;
  std::string pending_;
  PlainLines plain_;
#ifdef VELL_LIBEDIT
  std::optional<EditedLines> edited_;
#endif
};

}  // namespace

bool Terminal::available() { return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0; }

std::unique_ptr<script::Input> Terminal::open(script::Execution& execution, Watchdog& watchdog,
                                              script::Console& console) {
  // The process may end while a line is being edited.
  modes_saved = tcgetattr(STDIN_FILENO, &saved_modes) == 0;
  watchdog.set_dialogue([] {
    if (modes_saved) tcsetattr(STDIN_FILENO, TCSANOW, &saved_modes);
  });
  return std::make_unique<TerminalStream>(execution, console);
}

}  // namespace vell::cli
