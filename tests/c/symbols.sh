#!/bin/bash
# symbols.sh LIBRARY HEADER: nothing but the faces leaves a shared script library: the functions of vell.h, with their
# version, and names of namespace vell::script.
set -eu
library=$1 header=$2
symbols=$(nm -D -C --defined-only --with-symbol-versions "$library" | cut -c20- | grep -v '^VELL_[A-Z]*_0.1$')
declared=$(sed -n 's/^VELL_C_API [a-z_ *]*[ *]\(vell_[a-z_]*\)(.*/\1/p' "$header" | sort)
exported=$(sed -n 's/^\(vell_[a-z_]*\)@@VELL_C_0.1$/\1/p' <<< "$symbols" | sort)
diff <(echo "$declared") <(echo "$exported") || { echo "vell.h and the library differ"; exit 1; }
ours='(typeinfo name for |typeinfo for |vtable for |VTT for |non-virtual thunk to )?vell::script::'
foreign=$(grep -vE "^($ours|vell_[a-z_]*@@VELL_C_0.1$)" <<< "$symbols" || true)
[ -z "$foreign" ] || { echo "names outside the faces:"; echo "$foreign"; exit 1; }
for name in 'vell::script::Solver::check(' 'vell::script::Script::file(' 'vell::script::Cnf::write(' 'typeinfo for vell::script::Error'; do
  grep -qF "$name" <<< "$symbols" || { echo "missing: $name"; exit 1; }
done
echo "$(wc -l <<< "$symbols") names"
