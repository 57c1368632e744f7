#pragma once

// From the types inside the library to those of its public headers. Not installed.

#include "vell/io/error.h"
#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/script/error.h"
#include "vell/script/options.h"
#include "vell/values/evaluator.h"
#include "vell/words/passes.h"

namespace vell::script {

inline run::StopReason to_internal(Reason reason) { return static_cast<run::StopReason>(reason); }
inline Reason to_public(run::StopReason reason) { return static_cast<Reason>(reason); }
static_assert(static_cast<run::StopReason>(Reason::timeout) == run::StopReason::timeout &&
              static_cast<run::StopReason>(Reason::interrupted) == run::StopReason::interrupted &&
              static_cast<run::StopReason>(Reason::memout) == run::StopReason::memout &&
              static_cast<run::StopReason>(Reason::resourceout) == run::StopReason::resourceout);

inline Position to_public(io::Position position) { return {position.line, position.column}; }

inline values::WordFormat to_internal(WordFormat format) { return static_cast<values::WordFormat>(format); }
static_assert(static_cast<values::WordFormat>(WordFormat::hexadecimal) == values::WordFormat::hexadecimal &&
              static_cast<values::WordFormat>(WordFormat::decimal) == values::WordFormat::decimal);

inline words::Passes passes_of(Options const& options) { return words::parse_passes(options.words); }
inline run::Tunables tunables_of(Options const& options) {
  run::Tunables out;
  for (std::string const& setting : options.settings) out.set(setting);
  return out;
}

// Calls f. Exceptions of types that only the library knows become those of error.h.
template <typename F>
auto across_border(F f) {
  try {
    return f();
  } catch (io::Error const& e) {
    throw Error(e.file(), to_public(e.position()), e.message(), e.excerpt());
  } catch (run::Stopped const& e) {
    throw Stopped(to_public(e.reason()));
  }
}

}  // namespace vell::script
