#pragma once

// Every public header comes here first, so an older standard ends in this one message: the file below does
// not exist, and a missing file ends the translation.
#if __cplusplus < 202002L
#error "Vell needs C++20: compile with -std=c++20 or a later standard"
#include "vell/needs-cxx-20"
#endif

// VELL_API marks what a shared library of this project exports; everything else in it is hidden.
//
// A static library exports nothing by itself: the program or library that it is linked into decides.
// VELL_STATIC, which both the CMake package and the .pc file of a static build define, keeps these symbols
// out of the dynamic table of a host library.
#ifndef VELL_STATIC
// Default visibility in a shared library, nothing in a static one.
#define VELL_API __attribute__((visibility("default")))
#else
#define VELL_API
#endif
