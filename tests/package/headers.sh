#!/bin/bash
# headers.sh COMPILER STANDARD INCLUDE: every installed header compiles alone, without a warning.
set -u
compiler=$1 standard=$2 include=$3
count=0 bad=0
cd "$include" || exit 1
for header in $(find vell -name '*.h' | sort); do
  count=$((count + 1))
  echo "#include \"$header\"" | "$compiler" -std="$standard" -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c++ -I. - ||
    { echo "$header"; bad=1; }
done
echo "$count headers"
[ "$count" -ge 25 ] && [ "$bad" = 0 ]
