#pragma once

// Checks in a process of their own, so that a crash is one more way to fail.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tests/generate/checks.h"

namespace vell::generate {

struct Failure {
  std::string check;  // "crash" where the process died, "time" where it took too long
  std::string message;
};

// The outcome of check_script in a child process; at most `seconds` of processor time long.
std::optional<Failure> check_isolated(Script const& script, std::uint64_t seed, unsigned seconds);

// Checks the scripts of the seeds first .. first + count - 1, in child processes that live as long as nothing
// crashes. Calls `failed` for each seed that fails. Returns what was done.
Counts check_seeds(std::uint64_t first, std::uint64_t count, unsigned seconds,
                   std::function<void(std::uint64_t, Failure const&)> const& failed);

}  // namespace vell::generate
