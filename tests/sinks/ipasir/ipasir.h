#pragma once

// The functions that an IPASIR shared object has.

#include <cstdint>

#pragma GCC visibility push(default)
extern "C" {
char const* ipasir_signature();
void* ipasir_init();
void ipasir_release(void* solver);
void ipasir_add(void* solver, std::int32_t literal);
void ipasir_assume(void* solver, std::int32_t literal);
int ipasir_solve(void* solver);
std::int32_t ipasir_val(void* solver, std::int32_t literal);
int ipasir_failed(void* solver, std::int32_t literal);
void ipasir_set_terminate(void* solver, void* data, int (*terminate)(void* data));
}
#pragma GCC visibility pop
