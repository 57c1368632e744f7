#include "tests/generate/script.h"

#include "vell/io/error.h"

namespace vell::generate {

Script split_lines(std::string_view text) {
  Script lines;
  while (!text.empty()) {
    std::size_t const end = text.find('\n');
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

std::string join_lines(Script const& script) {
  std::string text;
  for (std::string const& line : script) text += line + '\n';
  return text;
}

std::vector<std::string> tokens_of(std::string_view line) {
  std::istringstream in{std::string(line)};
  std::vector<std::string> tokens;
  for (std::string t; in >> t;) tokens.push_back(t);
  if (!tokens.empty() && tokens[0].front() == '#') tokens.clear();
  return tokens;
}

bool Step::failed() const { return !events.empty() && events.back().rfind("error ", 0) == 0; }

void Step::fail(char const* check, std::string const& message) const {
  throw CheckFailure(check, "line " + std::to_string(number) + " (" + line + "): " + message);
}

std::vector<std::string> run(Script const& script, std::vector<Watcher*> const& watchers) {
  std::ostringstream out;
  replay::Replay replay("script", out);
  std::vector<std::string> written;
  for (std::size_t i = 0; i < script.size(); ++i) {
    try {
      replay.step(i + 1, script[i]);
    } catch (io::Error const& e) {
      throw CheckFailure("well formed", e.what() + (" (" + script[i] + ")"));
    }
    written.push_back(out.str());
    out.str("");
    std::vector<std::string> const tokens = tokens_of(script[i]);
    if (tokens.empty() || watchers.empty()) continue;
    std::vector<std::string> const events = split_lines(written.back());
    Step const step{i + 1, script[i], tokens, events, replay};
    for (Watcher* w : watchers) w->after(step);
  }
  replay.finish();
  if (!out.str().empty()) written.push_back(out.str());
  return written;
}

}  // namespace vell::generate
