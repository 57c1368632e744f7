#include "vell/run/statistics.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vell::run {

char const* phase_name(Phase phase) {
  switch (phase) {
    case Phase::reading: return "reading";
    case Phase::clausifying: return "clausifying";
    case Phase::solving: return "solving";
    case Phase::checking: return "checking";
    case Phase::writing: return "writing";
  }
  return "?";
}

namespace {

std::string decimal(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", seconds);
  return text;
}

}  // namespace

void Statistics::enter(Phase phase) {
  std::uint64_t const t = now();
  spent_[static_cast<std::size_t>(phase_.load())] += t - entered_.load();
  entered_ = t;
  phase_ = phase;
}

double Statistics::seconds(Phase phase) const {
  std::uint64_t ticks = spent_[static_cast<std::size_t>(phase)];
  if (phase == this->phase()) ticks += now() - entered_.load();
  return std::chrono::duration<double>(Clock::duration(ticks)).count();
}

double Statistics::total_seconds() const {
  return std::chrono::duration<double>(Clock::duration(now() - started_)).count();
}

template <typename F>
void Statistics::each(F f) const {
  auto count = [&](char const* name, std::uint64_t n) { f(name, std::to_string(n)); };
  count("input-bytes", input_bytes);
  count("terms", terms);
  count("clausified-terms", clausified_terms);
  count("fresh-literals", fresh_literals);
  count("clauses", clauses);
  count("literals", literals);
  count("conflicts", conflicts);
  count("check-sats", checks);
  count("sat", sat);
  count("unsat", unsat);
  count("unknown", unknown);
  count("evaluated-terms", evaluations);
  for (PassFigures const& pass : passes) {
    char const* const pass_name = pass.name.load();
    if (pass_name == nullptr) break;
    std::string const prefix = std::string("words-") + pass_name;
    count((prefix + "-formulas").c_str(), pass.formulas);
    count((prefix + "-replaced").c_str(), pass.replaced);
    f((prefix + "-time").c_str(), decimal(static_cast<double>(pass.microseconds) / 1e6));
  }
  for (std::size_t i = 0; i < phase_count; ++i) {
    Phase const p = static_cast<Phase>(i);
    f((std::string("time-") + phase_name(p)).c_str(), decimal(seconds(p)));
  }
  f("time-total", decimal(total_seconds()));
  count("peak-memory-bytes", peak_memory());
}

std::string Statistics::text() const {
  std::size_t width = 20;
  each([&](char const* name, std::string const&) { width = std::max(width, std::strlen(name)); });
  std::string out;
  each([&](char const* name, std::string const& value) {
    std::string line = name;
    line.resize(std::max(width, line.size()), ' ');
    out += line + " " + value + "\n";
  });
  return out;
}

std::string Statistics::json() const {
  std::string out;
  each([&](char const* name, std::string const& value) {
    out += out.empty() ? "{\"" : ", \"";
    out += std::string(name) + "\": " + value;
  });
  return out + "}\n";
}

std::string Statistics::smtlib() const {
  std::string out;
  each([&](char const* name, std::string const& value) {
    out += out.empty() ? "(:" : "\n :";
    out += std::string(name) + " " + value;
  });
  return out + ")";
}

std::uint64_t peak_memory() {
  rusage usage{};
  if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

std::uint64_t present_memory() {
  // The C library's streams would allocate, so they are not used.
  int const fd = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  char text[256];
  ssize_t const length = read(fd, text, sizeof text - 1);
  close(fd);
  if (length <= 0) return 0;
  text[length] = '\0';
  unsigned long total = 0;
  unsigned long resident = 0;
  int const n = std::sscanf(text, "%lu %lu", &total, &resident);
  return n == 2 ? resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) : 0;
}

}  // namespace vell::run
