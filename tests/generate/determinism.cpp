// Runs of the same calls compared with each other.
//
// Declarations write nothing, wherever they stand, so a script can be taken apart: its declarations first,
// then a body of commands that can be repeated. What a body leaves behind besides cache and trail (settings,
// the numbering) is set back by hand before it is repeated; commands that show the size of the table, which
// never shrinks, are left out.

#include <algorithm>
#include <cstdlib>
#include <map>

#include "tests/generate/checks.h"

namespace vell::generate {

namespace {

constexpr char const check[] = "determinism";

bool is_declaration(std::vector<std::string> const& tokens) {
  return !tokens.empty() &&
         (tokens[0] == "var" || tokens[0] == "num" || tokens[0] == "rmconst" || tokens[0] == "term");
}

std::vector<std::string> run_watched(Script const& script) {
  StateCheck state;  // each of the runs is looked at
  return run(script, {&state});
}

void compare(std::vector<std::string> const& a, std::vector<std::string> const& b, char const* what) {
  if (a == b) return;
  for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    Script const x = split_lines(i < a.size() ? a[i] : "");
    Script const y = split_lines(i < b.size() ? b[i] : "");
    for (std::size_t j = 0; j < std::max(x.size(), y.size()); ++j) {
      std::string const p = j < x.size() ? x[j] : "nothing";
      std::string const q = j < y.size() ? y[j] : "nothing";
      if (p != q) throw CheckFailure(check, std::string(what) + ": `" + p + "` and `" + q + "`");
    }
  }
  throw CheckFailure(check, what);
}

std::vector<std::string> without_traces(std::vector<std::string> const& written) {
  std::vector<std::string> kept;
  for (std::string const& text : written) {
    std::string rest;
    for (std::string const& event : split_lines(text))
      if (event.rfind("trace ", 0) != 0 && event.rfind("partial ", 0) != 0) rest += event + '\n';
    kept.push_back(rest);
  }
  // Text that is pending at the end comes as one element more.
  while (!kept.empty() && kept.back().empty()) kept.pop_back();
  return kept;
}

Script with_verbosity(Script const& script, char const* level) {
  Script changed;
  for (std::string const& line : script) {
    std::vector<std::string> const tokens = tokens_of(line);
    bool const sets = !tokens.empty() && tokens[0] == "verbosity";
    changed.push_back(sets ? std::string("verbosity ") + level : line);
  }
  // The starting verbosity is 0; the script's first line stays the first.
  bool const null_config =
      !changed.empty() && tokens_of(changed[0]) == std::vector<std::string>{"config", "null"};
  changed.insert(changed.begin() + (null_config ? 1 : 0), std::string("verbosity ") + level);
  return changed;
}

struct Parts {
  Script start;         // `config null`, declarations
  Script body;          // commands that can be repeated
  Script back;          // pops every marker that the body leaves, and one more
  Script again;         // sets everything back that the body may have set
  bool foreign = true;  // no literal of the body may ever be a fresh one
};

Parts take_apart(Script const& script) {
  Parts parts;
  std::set<std::string> atoms;
  for (std::string const& line : script) {
    std::vector<std::string> const tokens = tokens_of(line);
    if (tokens.empty()) continue;
    std::string const& command = tokens[0];
    if (is_declaration(tokens) || (command == "config" && tokens[1] == "null")) {
      parts.start.push_back(line);
      continue;
    }
    if (command.rfind("dump", 0) == 0 || command == "newfpterms" || command == "hook" || command == "hooks")
      continue;
    parts.body.push_back(line);
    if (command == "atomlit" || command == "fpbits") atoms.insert(tokens[1]);
    if (command == "nextlit") parts.foreign = false;
    if (command == "setbits" || command == "atomlit" || command == "fpbits" || command == "eq" ||
        command == "circuit")
      for (std::size_t i = 1; i < tokens.size(); ++i) {
        long const l = std::atol(tokens[i].c_str());
        if (std::labs(l) > 1 && std::labs(l) < 100000) parts.foreign = false;
      }
  }
  bool const null_config =
      !parts.start.empty() && tokens_of(parts.start[0]) == std::vector<std::string>{"config", "null"};
  parts.again = {"verbosity 0", "termtest off", "fpcomb off"};
  if (!null_config) parts.again.push_back("config div 0");
  for (std::string const& name : atoms) parts.again.push_back("atomlit " + name + " none");
  // Bits given to the combination cannot be taken back: they are given from the start.
  for (std::string const& line : parts.body)
    if (tokens_of(line)[0] == "fpbits") parts.start.push_back(line);
  std::erase_if(parts.body, [](std::string const& line) { return tokens_of(line)[0] == "fpbits"; });
  // A `pop` without a marker does nothing in the body alone, and would take the marker below it when
  // repeated.
  Script alone = parts.start;
  alone.insert(alone.end(), parts.body.begin(), parts.body.end());
  alone.push_back("dumptrail");
  std::vector<std::string> const written = run_watched(alone);
  Script kept;
  for (std::size_t i = 0; i < parts.body.size(); ++i)
    if (written[parts.start.size() + i] != "error no marker\n") kept.push_back(parts.body[i]);
  parts.body = kept;
  std::vector<std::string> const trail = tokens_of(written[alone.size() - 1]);
  parts.back.assign(static_cast<std::size_t>(std::count(trail.begin(), trail.end(), "|")) + 1, "pop");
  return parts;
}

// Numbers the variables of events in the order of their appearance.
std::vector<std::string> renumbered(std::vector<std::string> const& written) {
  std::map<long, long> numbers;
  std::vector<std::string> result;
  for (std::string const& text : written) {
    std::string line;
    for (std::string const& event : split_lines(text)) {
      std::vector<std::string> const tokens = tokens_of(event);
      bool const text_only = tokens.empty() || tokens[0] == "echo" || tokens[0] == "error";
      for (std::string const& token : tokens) {
        char* end = nullptr;
        long const l = std::strtol(token.c_str(), &end, 10);
        if (text_only || *end != '\0' || std::labs(l) < 2) {
          line += token + ' ';
          continue;
        }
        long const n = numbers.emplace(std::labs(l), static_cast<long>(numbers.size()) + 2).first->second;
        line += std::to_string(l < 0 ? -n : n) + ' ';
      }
      line += '\n';
    }
    result.push_back(line);
  }
  return result;
}

template <typename... Scripts>
Script joined(Scripts const&... scripts) {
  Script all;
  (all.insert(all.end(), scripts.begin(), scripts.end()), ...);
  return all;
}

std::vector<std::string> slice(std::vector<std::string> const& v, std::size_t begin, std::size_t size) {
  auto const first = v.begin() + static_cast<std::ptrdiff_t>(begin);
  return {first, first + static_cast<std::ptrdiff_t>(size)};
}

}  // namespace

int check_determinism(Script const& script, std::vector<std::string> const& written) {
  int comparisons = 0;
  compare(written, run_watched(script), "two runs");
  ++comparisons;

  std::vector<std::string> const quiet = run_watched(with_verbosity(script, "0"));
  compare(without_traces(quiet), without_traces(run_watched(with_verbosity(script, "5"))),
          "verbosity 0 and 5");
  ++comparisons;

  // Without hooks the body may not fit its terms any more: a hook may serve terms that have no handler of
  // their own.
  Parts parts;
  try {
    parts = take_apart(script);
  } catch (CheckFailure const& e) {
    if (e.check() == "well formed") return comparisons;
    throw;
  }
  std::size_t const n = parts.body.size();
  std::vector<std::string> const once =
      slice(run_watched(joined(parts.start, parts.body)), parts.start.size(), n);

  Script const push{"push"};
  Script again = parts.again;
  again.push_back("nextlit 2");
  std::vector<std::string> const twice =
      run_watched(joined(parts.start, push, parts.body, parts.back, again, parts.body));
  compare(once, slice(twice, parts.start.size() + 1, n), "above a backtrack point");
  compare(once, slice(twice, parts.start.size() + 1 + n + parts.back.size() + again.size(), n),
          "again after backtracking");
  comparisons += 2;

  if (parts.foreign) {
    Parts silent = parts;
    std::erase_if(silent.body, [](std::string const& line) { return tokens_of(line)[0] == "verbosity"; });
    std::size_t const m = silent.body.size();
    std::vector<std::string> const events =
        run_watched(joined(silent.start, push, silent.body, silent.back, silent.again, silent.body));
    compare(
        renumbered(slice(events, silent.start.size() + 1, m)),
        renumbered(slice(events, silent.start.size() + 1 + m + silent.back.size() + silent.again.size(), m)),
        "renumbered, again after backtracking");
    ++comparisons;
  }
  return comparisons;
}

}  // namespace vell::generate
