// vell-words-check: random formulas through the simplification on words, all assignments tried.
//
//   vell-words-check [--seed S] [--count N] [--only CHECK] [--stats]
//   vell-words-check --print S
//
// Checks the formulas of N seeds (20000) from S (0) on, with every check or with one of them. A failure is
// printed as a small SMT-LIB script. Exit code 0 when everything passes, 1 otherwise, 2 for a wrong call.

#include <sys/time.h>
#include <unistd.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "tests/words/simplification.h"

namespace {

using namespace vell::test;

constexpr time_t max_seconds = 20;  // of processor time, for 64 formulas
std::uint64_t current = 0;

void too_long(int) {
  char text[80];
  int const n = std::snprintf(text, sizeof text, "seed %llu: takes too long\n",
                              static_cast<unsigned long long>(current));
  if (n > 0 && write(STDOUT_FILENO, text, static_cast<std::size_t>(n)) < 0) std::_Exit(3);
  std::_Exit(1);
}

// Processor time, since a process that waits for its turn is not slow.
void start_timer() {
  itimerval const limit{{0, 0}, {max_seconds, 0}};
  setitimer(ITIMER_PROF, &limit, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  std::uint64_t seed = 0;
  std::uint64_t count = 20000;
  std::string only;
  bool stats = false;
  bool print = false;
  for (int i = 1; i < argc; ++i) {
    std::string const word = argv[i];
    if (word == "--stats") {
      stats = true;
    } else if (i + 1 < argc && (word == "--seed" || word == "--print")) {
      seed = std::strtoull(argv[++i], nullptr, 10);
      print = word == "--print";
    } else if (i + 1 < argc && word == "--count") {
      count = std::strtoull(argv[++i], nullptr, 10);
    } else if (i + 1 < argc && word == "--only") {
      only = argv[++i];
    } else {
      std::cerr << "usage: vell-words-check [--seed S] [--count N] [--only CHECK] [--stats] | --print S\n";
      return 2;
    }
  }
  if (print) {
    vell::TermManager tm;
    std::cout << script_of(tm, random_case(tm, seed));
    return 0;
  }
  std::signal(SIGPROF, too_long);
  Tally tally;
  Failed failed{};
  bool const good = check_cases(seed, count, only, tally, failed, [](std::uint64_t s) {
    if (s % 64 == 0 || current == 0) start_timer();
    current = s;
  });
  if (!good)
    std::cout << "seed " << failed.seed << ": " << failed.check << ": " << failed.what << '\n'
              << failed.script;
  if (stats)
    for (std::size_t i = 0; i < tally.names.size(); ++i)
      std::cout << tally.names[i] << ": " << tally.changed[i] << " changed, " << tally.defined[i]
                << " with definitions\n";
  std::cout << tally.cases << " formulas, " << (good ? 0 : 1) << " failures\n";
  return good ? 0 : 1;
}
