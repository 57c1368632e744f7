// Cost and memory against size: chains of multiplications from 10^5 to 10^8 clauses, and what the cache holds for each
// literal. The exponent is the slope of log time over log clauses: 1 is linear.

#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

#include "circuits.h"
#include "commands.h"

namespace vell::bench {

namespace {

double resident_mib() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

struct Point {
  std::uint64_t clauses;
  double seconds;
  double mib;
  std::uint64_t cached_literals;
};

// `terms` links of t = (t * x) + y over words of 32 bits.
Point chain(std::uint64_t terms) {
  double const before = resident_mib();
  TermManager tm;
  Logger logger;
  bv::WordClausifier clausifier(&tm, nullptr);
  clausifier.set_logger(&logger);
  Term_ const* x = tm.mk_variable("x", tm.bv_type(32));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(32));
  Term_ const* t = x;
  for (std::uint64_t i = 0; i < terms; ++i)
    t = tm.mk_app(i % 2 == 0 ? SymbolTag::bv_mul : SymbolTag::bv_add, {t, i % 2 == 0 ? x : y});
  CountSink sink;
  double const start = processor_seconds();
  clausifier.bit_blast(t, &sink);
  double const seconds = processor_seconds() - start;
  return {sink.clauses(), seconds, resident_mib() - before, 32 * (terms + 2)};
}

}  // namespace

int scale_table() {
  print_heading();
  std::printf("%12s %10s %12s %10s %22s\n", "clauses", "seconds", "ns/clause", "MiB", "bytes/cached literal");
  Point first{};
  Point last{};
  for (std::uint64_t terms : {24, 240, 2400, 24000}) {
    Point const p = chain(terms);
    std::printf("%12llu %10.3f %12.2f %10.1f %22.1f\n", static_cast<unsigned long long>(p.clauses), p.seconds,
                p.seconds * 1e9 / static_cast<double>(p.clauses), p.mib,
                p.mib * 1024 * 1024 / static_cast<double>(p.cached_literals));
    std::fflush(stdout);
    if (first.clauses == 0) first = p;
    last = p;
  }
  std::printf("exponent of time over clauses: %.3f\n",
              std::log(last.seconds / first.seconds) /
                  std::log(static_cast<double>(last.clauses) / static_cast<double>(first.clauses)));
  return 0;
}

}  // namespace vell::bench
