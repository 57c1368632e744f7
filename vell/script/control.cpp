#include "vell/script/control.h"

#include <cstdio>

#include "vell/script/border.h"
#include "vell/script/controlparts.h"

namespace vell::script {

namespace {

std::string grouped(std::uint64_t n) {
  std::string s = std::to_string(n);
  for (std::size_t i = s.size(); i > 3; i -= 3) s.insert(i - 3, 1, ',');
  return s;
}

}  // namespace

Control::Control() : parts_(std::make_unique<Parts>()) {}
Control::~Control() = default;

void Control::stop(Reason reason) { parts_->limits.stop(to_internal(reason)); }
Reason Control::stopped() const { return to_public(parts_->limits.run_reason()); }

void Control::stop_check(Reason reason) { parts_->limits.stop_check(to_internal(reason)); }
void Control::watch_check() { parts_->limits.watch_check(run::Limits::Clock::now()); }
bool Control::checking() const { return parts_->limits.checking(); }
bool Control::check_stopped() const { return parts_->limits.check_stopped(); }

std::string Control::progress() const {
  run::Statistics const& s = parts_->statistics;
  run::Phase const phase = s.phase();
  std::string line = std::string(run::phase_name(phase)) + ": ";
  switch (phase) {
    case run::Phase::reading:
      line += grouped(s.input_bytes) + " bytes, " + grouped(s.terms) + " terms";
      break;
    case run::Phase::solving: line += grouped(s.conflicts) + " conflicts"; break;
    case run::Phase::clausifying:
      line += grouped(s.clausified_terms) + " of " + grouped(s.terms) + " terms, " + grouped(s.clauses) +
              " clauses";
      break;
    case run::Phase::checking: line += grouped(s.terms) + " terms"; break;
    case run::Phase::writing: line += grouped(s.clauses) + " clauses"; break;
  }
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, ", %.1f s", s.total_seconds());
  return line + seconds;
}

bool Control::waiting() const { return parts_->statistics.waiting; }
std::uint64_t Control::unknown_answers() const { return parts_->statistics.unknown; }
std::uint64_t Control::clauses() const { return parts_->statistics.clauses; }
std::uint64_t Control::variables() const { return parts_->statistics.fresh_literals; }
std::string Control::statistics_text() const { return parts_->statistics.text(); }
std::string Control::statistics_json() const { return parts_->statistics.json(); }

}  // namespace vell::script
