#!/bin/bash
# scripts.sh SOURCE: ./run and ./test where nothing can be written, and where no package can be installed.
#
# Both run in a copy of the scripts, with a stand-in for the program, by a user who may not write there. The commands
# that ask for packages and install them are stand-ins too.
set -eu
source=$1
place=$(mktemp -d)
trap 'chmod -R u+w "$place"; rm -rf "$place"' EXIT
mkdir -p "$place/scripts" "$place/build/release" "$place/commands"
cp "$source/run" "$source/test" "$place"
cp "$source/scripts/prepare.sh" "$place/scripts"
chmod 755 "$place"

fail() {
  echo "$1"
  shift
  for f in "$@"; do echo "--- $f"; cat "$f"; done
  exit 1
}
# Root may write anywhere, so it becomes somebody else.
as_user() {
  if [ "$(id -u)" = 0 ]; then
    setpriv --reuid 65534 --regid 65534 --clear-groups env PATH="$place/commands:$PATH" HOME=/ "$@"
  else
    env PATH="$place/commands:$PATH" "$@"
  fi
}
stand_in() { printf '#!/bin/sh\n%s\n' "$2" > "$place/commands/$1" && chmod 755 "$place/commands/$1"; }

# Every package is there, and none would be wanted where everything is built.
stand_in dpkg-query 'echo "asked for packages" >&2; echo "install ok installed"'

# ---- a complete build that cannot be written ----
cd "$place/build/release"
mkdir "$place/vell"
echo 'the sources' > "$place/vell/main.cpp"
sleep 0.01
printf '%s\n' '#!/bin/sh' 'echo "answer $*"; exit 3' > vell-bv
chmod 755 vell-bv
chmod -R a-w,a+rX "$place/build"
status=0
as_user "$place/run" a "b c" > "$place/out" 2> "$place/chatter" || status=$?
[ "$status" = 3 ] && [ "$(cat "$place/out")" = "answer a b c" ] || fail "a complete build does not run" "$place"/{out,chatter}
[ ! -s "$place/chatter" ] || fail "a complete build is not silent" "$place/chatter"

# ---- an older one runs too, with a line ----
sleep 0.01
echo 'newer sources' > "$place/vell/main.cpp"
status=0
as_user "$place/run" > "$place/out" 2> "$place/chatter" || status=$?
[ "$status" = 3 ] && [ "$(cat "$place/out")" = "answer " ] || fail "an older build does not run" "$place"/{out,chatter}
[ "$(cat "$place/chatter")" = "build/release cannot be written, and vell-bv is older than the sources" ] ||
  fail "an older build is not told" "$place/chatter"

# ---- without a program, and for the tests, one line says why ----
chmod u+w . && rm -f vell-bv && chmod a-w .
for script in run test; do
  if as_user "$place/$script" > "$place/out" 2> "$place/chatter"; then fail "$script works without a build" "$place/chatter"; fi
  [ "$(wc -l < "$place/chatter")" = 1 ] && grep -q 'build/release.*written' "$place/chatter" ||
    fail "$script does not say why" "$place/chatter"
done

# ---- packages that cannot be installed ----
cd "$place"
chmod -R u+w build && rm -rf build
chmod a+w "$place"
stand_in dpkg-query 'case "$*" in *zlib1g-dev* | *nettle-dev*) exit 1 ;; *) echo "install ok installed" ;; esac'
stand_in sudo 'echo "sudo: not for you" >&2; exit 1'
for script in run test; do
  if as_user "$place/$script" > "$place/out" 2> "$place/chatter"; then fail "$script goes on without packages"; fi
  grep -qxF '    sudo apt-get update && sudo apt-get install -y --no-install-recommends nettle-dev zlib1g-dev' \
    "$place/chatter" || fail "$script does not say what to type" "$place/chatter"
done

# ---- a question about packages whose answer cannot be kept ----
stand_in dpkg-query 'echo "install ok installed"'
cat > "$place/ask" <<'END'
set -eu
root=$1
. "$1/scripts/prepare.sh"
install_missing one two
echo "went on"
END
chmod a+r "$place/ask"
chmod a-w "$place"
answer=$(as_user sh "$place/ask" "$place" 2>&1) || true
[ "$answer" = "went on" ] || fail "a folder that cannot be written stops the question for packages: $answer"

