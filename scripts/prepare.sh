# Sourced by run and test: functions that install packages and build, both only where something is missing.
# Everything they say goes to stderr.

program_packages="g++ cmake ninja-build libgmp-dev libcadical-dev libcli11-dev nettle-dev
  zlib1g-dev libbz2-dev liblzma-dev libzstd-dev"
test_packages="libgtest-dev libbenchmark-dev cadical z3 cvc5 minisat2 cryptominisat python3
  libcryptominisat5-dev make pkg-config doxygen"

say() { echo "$*" >&2; }

# install_missing PACKAGE...: asks dpkg once for each list of packages and remembers that it was complete.
install_missing() {
  stamp="$root/build/.packages-$(printf '%s\n' "$@" | cksum | cut -d' ' -f1)"
  [ -e "$stamp" ] && return 0
  missing=""
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' || missing="$missing $package"
  done
  if [ -n "$missing" ]; then
    say "installing:$missing"
    as_root=""
    [ "$(id -u)" = 0 ] || as_root="sudo"
    {
      $as_root env DEBIAN_FRONTEND=noninteractive apt-get update &&
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing
    } >&2 || {
      say "could not install:$missing"
      return 1
    }
  fi
  mkdir -p "$root/build" && : >"$stamp"
}

# configure PRESET [CMAKE OPTION...]: when the build directory is new, or an option changed.
configure() {
  preset=$1
  shift
  directory="$root/build/$preset"
  wanted="$*"
  if [ -e "$directory/build.ninja" ] && [ "$(cat "$directory/.configured" 2>/dev/null)" = "$wanted" ]; then return 0; fi
  launcher=""
  command -v ccache >/dev/null && launcher="-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"
  (cd "$root" && cmake --preset "$preset" $launcher "$@" >&2) || return 1
  printf '%s' "$wanted" >"$directory/.configured"
}

# build PRESET [TARGET]: silent when nothing is to be done. One build at a time.
build() {
  directory="$root/build/$1"
  (
    flock 9
    {
      status=0
      ninja -C "$directory" ${2:-} 2>&1 || status=$?
      echo "$status" >"$directory/.status"
    } | sed -u '/Re-checking globbed directories/d; /no work to do/d; /Entering directory/d' >&2
    exit "$(cat "$directory/.status")"
  ) 9>"$directory/.lock"
}
