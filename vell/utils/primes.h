#pragma once

#include <cstdint>

#include "vell/utils/export.h"

namespace vell::hsh {

// Bucket counts of Hashtable: primes that roughly double. The first is the initial count.
inline constexpr std::uint64_t primes[28] = {
    31,       73,        151,       313,       643,        1291,       2593,
    5233,     10501,     21013,     42073,     84181,      168451,     337219,
    674701,   1349473,   2699299,   5398891,   10798093,   21596719,   43193641,
    86387383, 172775299, 345550609, 691101253, 1382202559, 2764405229, 4294867387};

}  // namespace vell::hsh
