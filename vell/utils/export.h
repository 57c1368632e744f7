#pragma once

// VELL_API marks what a shared library of this project exports; everything else in it is hidden.
//
// A static library exports nothing by itself: the program or library that it is linked into decides. VELL_STATIC, which
// both the CMake package and the .pc file of a static build define, keeps these symbols out of the dynamic table of a
// host library.
#ifndef VELL_STATIC
// Default visibility in a shared library, nothing in a static one.
#define VELL_API __attribute__((visibility("default")))
#else
#define VELL_API
#endif
