// vell-generate: random scripts for the replay, and checks of them that need no expected output.
//
//   vell-generate print SEED             the script of a seed
//   vell-generate check [FIRST [COUNT]]  checks the scripts of COUNT seeds from FIRST on (0, 1000); --seconds
//   N limits one vell-generate run FILE               checks a script file vell-generate shrink FILE makes a
//   script file that fails a check small
//
// Exit code 0 when everything passes (shrink: when the file fails, as it should), 1 otherwise, 2 for a wrong
// call.

#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/generate/isolated.h"
#include "tests/generate/scriptwriter.h"
#include "tests/generate/shrink.h"

namespace {

using namespace vell::generate;

constexpr char const usage[] =
    "usage: vell-generate print SEED | check [FIRST [COUNT]] [--seconds N] | run FILE | shrink FILE\n";

bool parse(std::string_view text, std::uint64_t& value) {
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

int print(std::uint64_t seed) {
  std::cout << "# seed " << seed << '\n' << join_lines(ScriptWriter(seed).write());
  return 0;
}

int check(std::uint64_t first, std::uint64_t count, unsigned seconds) {
  int failures = 0;
  Counts const done = check_seeds(first, count, seconds, [&](std::uint64_t seed, Failure const& f) {
    ++failures;
    std::cout << "seed " << seed << ": " << f.check << ": " << f.message << std::endl;
  });
  std::cout << count << " scripts, " << done.lines << " lines, " << done.clauses << " clauses, "
            << done.models << " models with " << done.records << " values (" << done.free_scripts
            << " scripts admit every input), " << done.comparisons << " runs compared, " << failures
            << " failures\n";
  return failures == 0 ? 0 : 1;
}

bool load(std::string const& file, Script& script) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    std::cerr << file << ": cannot be read\n";
    return false;
  }
  script = split_lines(std::string(std::istreambuf_iterator<char>(in), {}));
  return true;
}

int run_file(std::string const& file, unsigned seconds) {
  Script script;
  if (!load(file, script)) return 2;
  auto const failure = check_isolated(script, 1, seconds);
  if (!failure) return 0;
  std::cout << failure->check << ": " << failure->message << '\n';
  return 1;
}

int shrink_file(std::string const& file, unsigned seconds) {
  Script script;
  if (!load(file, script)) return 2;
  auto const failure = check_isolated(script, 1, seconds);
  if (!failure) {
    std::cerr << file << ": passes every check\n";
    return 1;
  }
  std::cerr << failure->check << ": " << failure->message << '\n';
  Script const small = shrink(script, [&](Script const& s) {
    auto const f = check_isolated(s, 1, seconds);
    return f && f->check == failure->check;
  });
  std::cout << join_lines(small);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  std::uint64_t seconds = 60;
  for (std::size_t i = 0; i + 1 < words.size(); ++i)
    if (words[i] == "--seconds") {
      if (!parse(words[i + 1], seconds))
        words.clear();
      else
        words.erase(words.begin() + static_cast<std::ptrdiff_t>(i),
                    words.begin() + static_cast<std::ptrdiff_t>(i) + 2);
      break;
    }
  unsigned const limit = static_cast<unsigned>(seconds);
  std::string const mode = words.empty() ? "" : words[0];
  std::uint64_t a = 0;
  std::uint64_t b = 1000;
  if (mode == "print" && words.size() == 2 && parse(words[1], a)) return print(a);
  if (mode == "check" && words.size() <= 3 && (words.size() < 2 || parse(words[1], a)) &&
      (words.size() < 3 || parse(words[2], b)))
    return check(a, b, limit);
  if (mode == "run" && words.size() == 2) return run_file(words[1], limit);
  if (mode == "shrink" && words.size() == 2) return shrink_file(words[1], limit);
  std::cerr << usage;
  return 2;
}
