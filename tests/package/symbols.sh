#!/bin/bash
# symbols.sh KIND PREFIX: nothing but names of namespace vell leaves the library.
set -eu
kind=$1 prefix=$2
ours='(typeinfo name for |TLS init function for |TLS wrapper function for |typeinfo for |vtable for |VTT for |guard variable for |non-virtual thunk to )?vell::'
if [ "$kind" = shared ]; then
  library=$prefix/lib/libvell.so
  # Every exported name, also weak ones.
  symbols=$(nm -D -C --defined-only "$library" | cut -c20-)
  # The name by which programs find it has the minor version.
  readelf -d "$library" | grep -q 'SONAME.*\[libvell\.so\.0\.1\]'
  # GMP and the run-time libraries, nothing else.
  needed=$(readelf -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p')
  others=$(grep -vE '^(libgmp|libstdc\+\+|libgcc_s|libc|libm|ld-linux.*|libasan|libubsan)\.so' <<< "$needed" || true)
  [ -z "$others" ] || { echo "linked with: $others"; exit 1; }
else
  library=$prefix/lib/libvell.a
  # Weak names of an archive are the shared property of all that instantiate a template of the standard library.
  symbols=$(nm -C --extern-only --defined-only "$library" | sed -n 's/^[0-9a-f]* [TDBRGSC] //p')
fi
count=$(wc -l <<< "$symbols")
[ "$count" -ge 100 ] || { echo "only $count symbols in $library"; exit 1; }
for name in 'vell::bv::WordClausifier::bit_blast(' 'vell::TermManager::mk_app(' 'vell::sinks::SolverSink::solve('; do
  grep -qF "$name" <<< "$symbols" || { echo "missing: $name"; exit 1; }
done
# A function's name comes after its result type where it is a template's instance.
foreign=$(grep -vE "^($ours|[a-z_:<> ]* vell::)" <<< "$symbols" || true)
[ -z "$foreign" ] || { echo "names outside namespace vell:"; echo "$foreign"; exit 1; }
echo "$count names"
