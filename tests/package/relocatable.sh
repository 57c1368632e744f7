#!/bin/bash
# relocatable.sh SOURCE DIRECTORY: no installed text file names the source tree, the build or where it was installed.
set -eu
source=$1 directory=$2
[ -f "$directory/prefix/lib/pkgconfig/vell.pc" ]
for place in "$source" "$directory"; do
  if grep -rIlF "$place" "$directory/prefix"; then
    echo "these files name $place"
    exit 1
  fi
done
# The sources' own headers are not there.
for header in bv/emit.h bv/gates.h bv/poollist.h bv/trace.h sinks/cadicalsink.h; do
  [ ! -e "$directory/prefix/include/vell/$header" ] || { echo "$header is installed"; exit 1; }
done
