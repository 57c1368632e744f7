#!/bin/bash
# script.sh PREFIX EXAMPLES COMPILER: the examples of the script library in C and C++, by what pkg-config says.
set -eu
prefix=$1 examples=$2 compiler=$3
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$(echo "$prefix"/lib/*/pkgconfig)"
export LD_LIBRARY_PATH="$prefix/lib"
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
pkg-config --validate vell-script
[ "$(pkg-config --modversion vell-script)" = "$(pkg-config --modversion vell)" ]
eval "$compiler -std=c++20 -Wall -Wextra -Wpedantic -Werror $examples/script.cpp -o $place/script $(pkg-config --cflags --libs vell-script)"
"$place/script" | diff "$examples/script.expected" -
eval "cc -std=c99 -Wall -Wextra -Wpedantic -Werror -c $examples/dump.c -o $place/dump.o $(pkg-config --cflags vell-script)"
eval "cc $place/dump.o -o $place/dump $(pkg-config --libs --static vell-script)"
"$place/dump" | diff "$examples/dump.expected" -
[ "$(wc -l < "$examples/dump.c")" -le 40 ]
