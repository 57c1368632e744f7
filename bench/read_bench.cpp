// Speed of the script reader: bytes of text read into terms per second, beside a pass that only counts lines
// over the same bytes. Compressed files are measured with their decompression, by the bytes that come out.
//
//   vell-bench-read [--repeat N] FILE...
//
// Prints, for each file, the best of N runs (3 unless said otherwise).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

#include "vell/io/source.h"
#include "vell/smtlib/reader.h"
#include "vell/terms/termmanager.h"

namespace {

// Processor time of this process, which a busy machine stretches less than the clock on the wall.
double now() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct Pass {
  std::uint64_t bytes = 0;
  std::uint64_t lines = 0;
};

Pass count_lines(std::string const& path) {
  auto const source = vell::io::Source::open(path);
  Pass p;
  do {
    p.bytes += static_cast<std::uint64_t>(source->end() - source->begin());
    p.lines += static_cast<std::uint64_t>(std::count(source->begin(), source->end(), '\n'));
  } while (source->refill(source->end()));
  return p;
}

struct Read {
  std::uint64_t commands = 0;
  std::uint64_t terms = 0;
  double seconds = 0;
};

Read read(std::string const& path) {
  vell::TermManager terms;
  Read r;
  double const start = now();
  vell::smtlib::Reader reader(terms, vell::io::Source::open(path));
  vell::smtlib::Command command;
  while (reader.next(command)) ++r.commands;
  r.seconds = now() - start;
  r.terms = terms.term_count();
  return r;
}

}  // namespace

int main(int argc, char** argv) {
  int repeat = 3;
  int i = 1;
  if (argc > 2 && std::strcmp(argv[1], "--repeat") == 0) {
    repeat = std::max(1, std::atoi(argv[2]));
    i = 3;
  }
  if (i >= argc) {
    std::fprintf(stderr, "usage: vell-bench-read [--repeat N] FILE...\n");
    return 2;
  }
  std::printf("%8s %9s %9s %9s %8s %8s %7s  %s\n", "MB", "lines", "commands", "terms", "cpu s", "MB/s",
              "x count", "file");
  int status = 0;
  for (; i < argc; ++i) {
    try {
      Pass pass;
      double count_seconds = 1e9;
      Read best;
      best.seconds = 1e9;
      for (int k = 0; k < repeat; ++k) {
        double const start = now();
        pass = count_lines(argv[i]);
        count_seconds = std::min(count_seconds, now() - start);
        Read const r = read(argv[i]);
        if (r.seconds < best.seconds) best = r;
      }
      double const mb = static_cast<double>(pass.bytes) / 1e6;
      auto const number = [](std::uint64_t n) { return static_cast<unsigned long long>(n); };
      std::printf("%8.2f %9llu %9llu %9llu %8.3f %8.1f %7.1f  %s\n", mb, number(pass.lines),
                  number(best.commands), number(best.terms), best.seconds, mb / best.seconds,
                  best.seconds / count_seconds, argv[i]);
    } catch (std::exception const& e) {
      std::printf("%s\n", e.what());
      status = 1;
    }
  }
  return status;
}
