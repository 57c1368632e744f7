# Sourced by run and test: functions that install packages and build, both only where something is missing.
# Everything they say goes to stderr.

program_packages="g++ cmake ninja-build libgmp-dev libmpfr-dev libsymfpu-dev libcadical-dev libcli11-dev
  nettle-dev nlohmann-json3-dev
  zlib1g-dev libbz2-dev liblzma-dev libzstd-dev libedit-dev"
test_packages="libgtest-dev libbenchmark-dev cadical z3 cvc5 minisat2 cryptominisat python3
  libcryptominisat5-dev make pkg-config doxygen clang-format python3-jsonschema valgrind
  pybind11-dev python3-dev python3-numpy
  graphviz chromium chromium-driver
  parallel openssh-client openssh-server openmpi-bin shellcheck"

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
    as_root=""
    [ "$(id -u)" = 0 ] || as_root="sudo "
    say "installing:$missing"
    {
      ${as_root}env DEBIAN_FRONTEND=noninteractive apt-get update &&
        ${as_root}env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing
    } >&2 || {
      say "these packages could not be installed; where you may install packages, type"
      say ""
      say "    ${as_root}apt-get update && ${as_root}apt-get install -y --no-install-recommends$missing"
      say ""
      return 1
    }
  fi
  # In a shell of its own: where nothing can be written here, the question is asked again the next time.
  (mkdir -p "$root/build" && : >"$stamp") 2>/dev/null || true
}

# writable PRESET: whether the build directory can be made, or written where it is there.
writable() {
  directory="$root/build/$1"
  if [ -e "$directory" ]; then
    [ -w "$directory" ] && { [ ! -e "$directory/.lock" ] || [ -w "$directory/.lock" ]; }
  elif [ -e "$root/build" ]; then
    [ -w "$root/build" ]
  else
    [ -w "$root" ]
  fi
}

# usable PRESET PROGRAM: whether there is a program in a build directory that cannot be written. It runs as it is, then;
# where the sources are newer, a line says so.
usable() {
  if writable "$1" || [ ! -x "$root/build/$1/$2" ]; then return 1; fi
  # Not ninja's dry run: to look for new sources it would have to run cmake, and so it always finds something to do.
  newer=$(find "$root/vell" -name '*.[ch]*' -type f -newer "$root/build/$1/$2" 2>/dev/null)
  [ -z "$newer" ] || say "build/$1 cannot be written, and $2 is older than the sources"
  return 0
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
