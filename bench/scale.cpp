// Cost and memory against size: chains of multiplications from 10^5 to 10^8 clauses, and what the cache holds
// for each literal. The exponent is the slope of the line through the logarithms: 1 is linear.

#include <sys/resource.h>

#include <unistd.h>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

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

// The slope of the straight line that fits log y over log x best.
class Exponent {
 public:
  void add(double x, double y) {
    x = std::log(x);
    y = std::log(y);
    ++n_;
    x_ += x;
    y_ += y;
    xx_ += x * x;
    xy_ += x * y;
  }
  double value() const { return (n_ * xy_ - x_ * y_) / (n_ * xx_ - x_ * x_); }

 private:
  double n_ = 0;
  double x_ = 0;
  double y_ = 0;
  double xx_ = 0;
  double xy_ = 0;
};

}  // namespace

int scale_table() {
  print_heading();
  std::printf(
      "| %11s | %8s | %9s | %7s | %20s "
      "|\n|------------:|---------:|----------:|--------:|---------------------:|\n",
      "clauses", "cpu s", "ns/clause", "MiB", "bytes/cached literal");
  Exponent time;
  Exponent memory;
  for (std::uint64_t terms : {24, 80, 240, 800, 2400, 8000, 24000}) {
    Point const p = chain(terms);
    double const clauses = static_cast<double>(p.clauses);
    std::printf("| %11llu | %8.3f | %9.2f | %7.1f | %20.1f |\n", static_cast<unsigned long long>(p.clauses),
                p.seconds, p.seconds * 1e9 / clauses, p.mib,
                p.mib * 1024 * 1024 / static_cast<double>(p.cached_literals));
    std::fflush(stdout);
    time.add(clauses, p.seconds);
    // Below a megabyte the page is the unit.
    if (p.mib >= 1) memory.add(clauses, p.mib);
  }
  std::printf("\nexponent over clauses: time %.3f, memory from a MiB on %.3f\n", time.value(),
              memory.value());
  return 0;
}

}  // namespace vell::bench
