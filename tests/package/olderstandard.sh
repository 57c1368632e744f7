#!/bin/bash
# olderstandard.sh COMPILER INCLUDE: under C++17 every installed header ends in one message that says what is missing.
set -u
compiler=$1 include=$2
count=0 bad=0
cd "$include" || exit 1
for header in $(find vell -name '*.h' | sort); do
  count=$((count + 1))
  errors=$(echo "#include \"$header\"" | "$compiler" -std=c++17 -fsyntax-only -x c++ -I. - 2>&1 | grep 'error: ')
  # The second is the file that ends the translation.
  [ "$(sed -n '1s/.*\(Vell needs C++20\).*/\1/p' <<< "$errors")" = "Vell needs C++20" ] &&
    [ "$(wc -l <<< "$errors")" = 2 ] && [ "$(grep -c 'vell/needs-cxx-20' <<< "$errors")" = 1 ] ||
    { echo "$header:"; echo "$errors"; bad=1; }
done
echo "$count headers"
[ "$count" -ge 25 ] && [ "$bad" = 0 ]
