#include "tests/support/events.h"

#include <algorithm>
#include <optional>

namespace vell::test {

namespace {

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

// Calls f with every non-empty line of text, trimmed.
template <typename F>
void for_each_line(std::string_view text, F f) {
  while (!text.empty()) {
    std::size_t const end = text.find('\n');
    std::string_view const line = trim(text.substr(0, end));
    if (!line.empty()) f(line);
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
}

// One line per element, the first difference marked.
::testing::AssertionResult match(std::vector<std::string> const& actual,
                                 std::vector<std::string> const& expected) {
  if (actual == expected) return ::testing::AssertionSuccess();
  std::size_t const n = std::max(actual.size(), expected.size());
  auto report = ::testing::AssertionFailure() << "\n";
  bool marked = false;
  for (std::size_t i = 0; i < n; ++i) {
    std::string const e = i < expected.size() ? expected[i] : "(nothing)";
    std::string const a = i < actual.size() ? actual[i] : "(nothing)";
    if (a == e) {
      report << "    " << a << "\n";
    } else {
      report << (marked ? "  ! " : "==> ") << a << "      expected: " << e << "\n";
      marked = true;
    }
  }
  return report;
}

}  // namespace

std::string log_event(std::string_view text) {
  return "trace " + std::string(trace_prefix) + std::string(text);
}

Events parse_events(std::string_view text) {
  constexpr std::string_view many = "clauses ";
  Events events;
  for_each_line(text, [&](std::string_view line) {
    // The text between the quotes of `command "TEXT"`.
    auto const quoted = [&](std::string_view command) -> std::optional<std::string_view> {
      if (!line.starts_with(command) || !line.ends_with('"') || line.size() == command.size()) return {};
      return line.substr(command.size(), line.size() - command.size() - 1);
    };
    if (auto const log = quoted("log \"")) {
      events.push_back(log_event(*log));
      return;
    }
    if (auto const trace = quoted("trace \"")) {
      events.push_back("trace " + std::string(*trace));
      return;
    }
    if (!line.starts_with(many)) {
      events.emplace_back(line);
      return;
    }
    line.remove_prefix(many.size());
    for (;;) {
      std::size_t const bar = line.find('|');
      events.push_back("clause " + std::string(trim(line.substr(0, bar))));
      if (bar == std::string_view::npos) break;
      line.remove_prefix(bar + 1);
    }
  });
  return events;
}

std::string join_lines(std::vector<std::string> const& lines) {
  std::string s;
  for (std::string const& l : lines) s += l + "\n";
  return s;
}

std::string to_string(bv::BvLitList const& bits) {
  std::string s;
  for (bv::BvLit b : bits) s += (s.empty() ? "" : " ") + std::to_string(b);
  return s;
}

::testing::AssertionResult match_events(Events& actual, std::string_view expected) {
  ::testing::AssertionResult const result = match(actual, parse_events(expected));
  actual.clear();
  return result;
}

::testing::AssertionResult match_lines(std::vector<std::string> const& actual, std::string_view expected) {
  std::vector<std::string> lines;
  for_each_line(expected, [&](std::string_view line) { lines.emplace_back(line); });
  return match(actual, lines);
}

}  // namespace vell::test
