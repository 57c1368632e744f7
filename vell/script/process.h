#pragma once

// For programs, not for libraries: what concerns the process as a whole.

#include <cstdint>
#include <iosfwd>
#include <string>

#include "vell/utils/export.h"

namespace vell::script {

// To be called at the start. A reserve of memory is kept for the last messages, and from now on an
// allocation of GMP that fails throws std::bad_alloc; GMP's allocation functions are the process's.
VELL_API void prepare_for_shortage();

// Kills every child process and removes every temporary file that the library has made, from any thread,
// without allocating. The process is about to end: any later work of the library blocks until then.
VELL_API void discard_temporaries();

// The present resident set size in bytes; 0 if the system does not provide it.
VELL_API std::uint64_t present_memory();

// Runs a script of single calls of the clausifier (docs/replay.md) and writes each event to out. name stands
// for the script in messages. Throws Error at the first line that is not well formed.
VELL_API void replay(std::string const& name, std::istream& in, std::ostream& out);

}  // namespace vell::script
