#!/usr/bin/env bash
# commands_test.sh SOURCE: ./run and ./test where something is in their way. CMake, CTest and the
# tool are scripts here, so that nothing is built.
set -euo pipefail
source=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work"/{tree,bin,elsewhere}
cp -r "$source"/{run,test,scripts} "$work/tree"

program() {
  printf '#!%s\n%s\n' "$(command -v bash)" "$2" >"$1"
  chmod +x "$1"
}
program "$work/bin/cmake" '
case "$*" in
  *--build*) echo "[0/2] Re-checking globbed directories..."; cat; echo "[2/2] Linking"; [ ! -e fail ] ;;
esac'
program "$work/bin/ctest" 'echo "ctest in $PWD with $*"'
mkdir -p "$work/tree/build/release/tools/larkspan"
program "$work/tree/build/release/tools/larkspan/larkspan" 'echo "tool in $PWD with $*"; cat'

fail() {
  printf '%s\n' "$1" "status $status" "-- output" "$(<"$work/out")" "-- errors" "$(<"$work/err")" >&2
  exit 1
}
# call COMMAND...: its exit status goes to `status`.
call() {
  status=0
  (cd "$work/elsewhere" && PATH=$work/bin:$PATH "$@" <<<input >"$work/out" 2>"$work/err") || status=$?
}
expect() {
  local file=$1 text=$2
  grep -qxF -- "$text" "$work/$file" || fail "'$text' is missing from $file"
}

# Through symbolic links: the caller's folder, arguments and input reach the tool, and only the tool
# writes to standard output.
ln -s ../tree/run "$work/elsewhere/lark"
ln -s "$work/elsewhere/lark" "$work/elsewhere/twice"
call ./twice cat 'a b'
[ "$status" -eq 0 ] || fail "./run failed through a link"
[ "$(<"$work/out")" = "tool in $work/elsewhere with cat a b"$'\ninput' ] || fail "other output than the tool's"
expect err 'building release [2/2] Linking'
! grep -q globbed "$work/err" || fail "a step that builds nothing is shown"

ln -s ../tree/test "$work/elsewhere/check"
call ./check -R Archive
[ "$status" -eq 0 ] || fail "./test failed through a link"
expect out "ctest in $work/tree with --preset dev -R Archive"

# A build that fails, and a log that can't be written, as in a tree of somebody else: nothing that
# was built earlier is run.
touch "$work/tree/fail"
for command in run test; do
  call "$work/tree/$command" list
  [ "$status" -ne 0 ] && [ ! -s "$work/out" ] || fail "./$command goes on after a failed build"
done
expect err "building dev failed; the whole log is in $work/tree/build/dev.log"
rm "$work/tree/fail"
for preset in release dev; do
  rm "$work/tree/build/$preset.log"
  mkdir "$work/tree/build/$preset.log"
done
for command in run test; do
  call "$work/tree/$command" list
  [ "$status" -ne 0 ] && [ ! -s "$work/out" ] || fail "./$command goes on where it can't build"
done
expect err "can't build: $work/tree/build/dev.log can't be written"

# Without a package and the right to install it, the administrator is told what to type.
for tool in bash env dirname realpath cat; do
  program "$work/bin/$tool" "exec $(command -v $tool) \"\$@\""
done
program "$work/bin/id" 'echo 1000'
call env PATH="$work/bin" "$work/tree/run" list
[ "$status" -eq 3 ] && [ ! -s "$work/out" ] || fail "./run goes on without a compiler"
grep -qE '^  sudo apt-get install -y g\+\+ ninja-build( |$)' "$work/err" || fail "no line for the administrator"
