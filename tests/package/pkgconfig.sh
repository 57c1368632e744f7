#!/bin/bash
# pkgconfig.sh PREFIX DIRECTORY SOURCE COMPILER FLAGS: builds the consumer with its Makefile in DIRECTORY and runs it.
set -eu
prefix=$1 directory=$2 source=$3 compiler=$4 flags=$5
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
rm -rf "$directory"
mkdir -p "$directory"
cp "$source"/* "$directory"
[ "$(pkg-config --modversion vell)" = "$(sed -n 's/^version: //p' "$directory/expected")" ]
make -C "$directory" -s CXX="$compiler" CXXFLAGS="$flags"
LD_LIBRARY_PATH="$prefix/lib" "$directory/consumer" > "$directory/output"
# The version of the headers is that of the package.
diff "$directory/expected" "$directory/output"
