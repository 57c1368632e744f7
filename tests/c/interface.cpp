// The same as C++.
#include "interface.c"
