#!/bin/bash
# reference.sh DOXYGEN SOURCE OUTPUT: builds the reference, and does not build it when a comment is taken away.
set -eu
doxygen=$1 source=$2 output=$3
cd "$source"
mkdir -p "$output"
build() { { cat docs/Doxyfile; printf '%s\n' "OUTPUT_DIRECTORY = $output" "$@"; } | "$doxygen" -; }
build
grep -q 'bit_blast' "$output"/html/classvell_1_1bv_1_1WordClausifierInterface.html

sed 's|^  // Whether t has bits\..*||' vell/bv/wordclausifierinterface.h > "$output/wordclausifierinterface.h"
if build "INPUT = docs/reference.dox $output" 'HTML_OUTPUT = incomplete' > "$output/log" 2>&1; then
  echo "a missing comment goes unnoticed"
  exit 1
fi
grep -q 'is_cached.* is not documented' "$output/log"
