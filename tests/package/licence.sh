#!/bin/bash
# licence.sh SOURCE PREFIX: the licence is installed for each package, and the package files and the README name it.
set -eu
source=$1 prefix=$2
grep -q '^MIT License$' "$source/LICENSE"
grep -q '^Copyright (c) the Vell authors$' "$source/LICENSE"
grep -q 'MIT, the Vell authors' "$source/README.md"
for package in libvell0.1 libvell-dev; do
  cmp "$source/LICENSE" "$prefix/share/doc/$package/copyright"
done
grep -qx 'License: MIT' "$prefix/lib/pkgconfig/vell.pc"
grep -q 'SPDX-License-Identifier: MIT' "$prefix/lib/cmake/vell/vellConfig.cmake"
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --validate vell
