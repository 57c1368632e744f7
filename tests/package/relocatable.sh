#!/bin/bash
# relocatable.sh SOURCE DIRECTORY: no installed text file names the source tree, the build or where it was installed.
#
# A place counts where a path begins with it: /vell is not named by "include/vell" or "${prefix}/vell/bv".
set -eu
source=$1 directory=$2

# names PLACE FILE...: the files with a path that begins with PLACE, as an option's argument too.
names() {
  local place
  place=$(sed 's/[][\\.*^$+?(){}|/]/\\&/g' <<< "$1")
  shift
  grep -rIlE "(^|[^]A-Za-z0-9_.@)}+/-]|-I|-L|-isystem)$place(/|$|[^A-Za-z0-9_.@+-])" "$@"
}

# The pattern itself, on lines that name /vell and lines that do not.
lines=$(mktemp -d)
trap 'rm -rf "$lines"' EXIT
for line in '/vell/bv/a.h' 'dir="/vell"' 'dir=/vell' '-I/vell/vell -g' '-L/vell' 'a;/vell;b' '(/vell/x)' 'rpath:/vell'; do
  echo "$line" > "$lines/one"
  names /vell "$lines" > /dev/null || { echo "goes unnoticed: $line"; exit 1; }
done
for line in '#include "vell/bv/a.h"' 'include/vell' '${prefix}/vell/bv' '$(top)/vell' '/usr/lib/cmake/vell/x' '/vell-bv' \
  '../vell' '/vellum' 'vell::vell'; do
  echo "$line" > "$lines/one"
  if names /vell "$lines" > /dev/null; then echo "taken for a path below /vell: $line"; exit 1; fi
done

[ -f "$directory/prefix/lib/pkgconfig/vell.pc" ]
for place in "$source" "$directory"; do
  if names "$place" "$directory/prefix"; then
    echo "these files name $place"
    exit 1
  fi
done
# The sources' own headers are not there.
for header in terms/theorybuilders.h bv/emit.h bv/gates.h bv/poollist.h bv/trace.h; do
  [ ! -e "$directory/prefix/include/vell/$header" ] || { echo "$header is installed"; exit 1; }
done
