// The floor table: what a clause costs when a circuit makes it, beside what handing over the recorded clause
// costs.
//
// Both go into the same counting sink, in turn and in one process, so the ratio is free of the machine's
// speed. The smallest of several rounds is printed, in processor time: whatever else runs can only add. Below
// it stands what the stages around the circuits cost.

#include <algorithm>
#include <cstdio>
#include <limits>

#include "circuits.h"
#include "commands.h"

namespace vell::bench {

namespace {

struct Row {
  std::uint64_t clauses;
  double clausify;  // ns per clause
  double replay;    // ns per clause
};

Row measure(Circuit const& circuit, std::uint64_t width) {
  CircuitRun run(circuit, width);
  RecordedClauses const recorded(run);
  std::uint64_t const clauses = recorded.count();
  // About two million clauses a round.
  std::uint64_t const repeats = std::max<std::uint64_t>(1, 2000000 / std::max<std::uint64_t>(clauses, 1));
  constexpr int rounds = 12;
  double clausify = std::numeric_limits<double>::infinity();
  double replay = clausify;
  for (int r = 0; r < rounds; ++r) {
    CountSink made;
    double start = processor_seconds();
    for (std::uint64_t i = 0; i < repeats; ++i) run.clausify(made);
    double const a = processor_seconds() - start;
    CountSink handed;
    start = processor_seconds();
    for (std::uint64_t i = 0; i < repeats; ++i) recorded.replay(handed);
    double const b = processor_seconds() - start;
    if (made.clauses() != handed.clauses()) std::fprintf(stderr, "the two counts differ\n");
    clausify = std::min(clausify, a);
    replay = std::min(replay, b);
  }
  double const per = 1e9 / static_cast<double>(clauses * repeats);
  return {clauses, clausify * per, replay * per};
}

}  // namespace

int floor_table() {
  print_heading();
  std::printf("%-8s %6s %10s %14s %14s %7s\n", "circuit", "width", "clauses", "ns/clause", "ns/replayed",
              "ratio");
  for (Circuit const& c : circuits())
    for (std::uint64_t width : {8, 16, 32, 64, 128, 256, 512}) {
      Row const r = measure(c, width);
      std::printf("%-8s %6llu %10llu %14.2f %14.2f %7.2f\n", c.name.data(),
                  static_cast<unsigned long long>(width), static_cast<unsigned long long>(r.clauses),
                  r.clausify, r.replay, r.clausify / r.replay);
      std::fflush(stdout);
    }
  return stage_table();
}

}  // namespace vell::bench
