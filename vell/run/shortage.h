#pragma once

// Running out of memory: std::bad_alloc everywhere, and a reserve for the last messages.
//
// Tested by tests/run/shortage_test.cpp.

namespace vell::run {

// To be called at the start of a program. A tenth of a megabyte is reserved, and released when `new` or GMP
// fails for the first time, so that the answer and the messages can still be written. From now on, a failing
// allocation in a GMP function throws std::bad_alloc. The results of that function can still be destroyed and
// assigned to; its temporaries are leaked.
//
// This is for programs, not for libraries: GMP's allocation functions are global. GMP must be compiled with
// unwind tables, which are the compiler's default on x86-64 and arm64.
void prepare_for_shortage();

}  // namespace vell::run
