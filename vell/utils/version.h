#pragma once

// The version of the headers. The build takes its own from here.

#include "vell/utils/export.h"

// Before 1.0 a minor version may change the interface; afterwards a major one.
#define VELL_VERSION_MAJOR 0
// The second part.
#define VELL_VERSION_MINOR 1
// The third part.
#define VELL_VERSION_PATCH 0
// The three as text, "0.1.0".
#define VELL_VERSION "0.1.0"
// The three in one number that grows with the version: 10000 * major + 100 * minor + patch.
#define VELL_VERSION_NUMBER (10000 * VELL_VERSION_MAJOR + 100 * VELL_VERSION_MINOR + VELL_VERSION_PATCH)
