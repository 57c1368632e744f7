#pragma once

// When memory runs out: std::bad_alloc everywhere, and a little memory left to say so with.
//
// Tested by tests/run/shortage_test.cpp.

namespace vell::run {

// For a program's start. A tenth of a megabyte is set aside and given back when `new` or GMP first fails, so
// that the answer and what follows it can still be written. From now on an allocation of GMP's that fails
// throws std::bad_alloc out of the GMP function that was called. Its results keep values that can be
// destroyed and assigned to; its temporaries are lost.
//
// This is for a program, not for a library: the functions that GMP allocates with are the process's. GMP must
// be compiled with unwind tables, as it is wherever they are the compiler's default (x86-64, arm64).
void prepare_for_shortage();

}  // namespace vell::run
