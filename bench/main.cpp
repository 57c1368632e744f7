// vell-bench: `floor`, `stages` and `scale` print their tables; anything else is Google Benchmark over every
// circuit and width.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

#include "circuits.h"
#include "commands.h"

namespace vell::bench {

void print_heading() {
  std::string cpu = "unknown processor";
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);)
    if (line.rfind("model name", 0) == 0) {
      cpu = line.substr(line.find(':') + 2);
      break;
    }
  std::printf("machine: %s\ncompiler: %s %s, flags %s\nrevision: %s\n\n", cpu.c_str(), VELL_COMPILER,
              __VERSION__, VELL_FLAGS, VELL_REVISION);
}

double processor_seconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

namespace {

void clausify(benchmark::State& state, Circuit const* circuit) {
  CircuitRun run(*circuit, static_cast<std::uint64_t>(state.range(0)));
  CountSink sink;
  for (auto _ : state) run.clausify(sink);
  state.counters["clause"] = benchmark::Counter(static_cast<double>(sink.clauses()),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void replay(benchmark::State& state, Circuit const* circuit) {
  CircuitRun run(*circuit, static_cast<std::uint64_t>(state.range(0)));
  RecordedClauses const recorded(run);
  CountSink sink;
  for (auto _ : state) recorded.replay(sink);
  state.counters["clause"] = benchmark::Counter(static_cast<double>(sink.clauses()),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void register_circuits() {
  for (Circuit const& c : circuits()) {
    std::string const name(c.name);
    benchmark::RegisterBenchmark(("clausify/" + name).c_str(), clausify, &c)
        ->RangeMultiplier(2)
        ->Range(8, 512);
    benchmark::RegisterBenchmark(("replay/" + name).c_str(), replay, &c)->RangeMultiplier(2)->Range(8, 512);
  }
}

}  // namespace

}  // namespace vell::bench

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "floor") == 0) return vell::bench::floor_table();
  if (argc == 2 && std::strcmp(argv[1], "stages") == 0) {
    vell::bench::print_heading();
    return vell::bench::stage_table();
  }
  if (argc == 2 && std::strcmp(argv[1], "scale") == 0) return vell::bench::scale_table();
  vell::bench::register_circuits();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
