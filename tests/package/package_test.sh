#!/usr/bin/env bash
# package_test.sh BUILD SOURCE: installs BUILD, builds an example against the installation with
# find_package, runs it, and looks at the installed headers.
set -euo pipefail
build=$(realpath "$1") source=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
cmake -S "$source/tests/package" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/installed" \
  -DEXAMPLE="$source/examples/archive_in_memory.cpp" -DCMAKE_CXX_FLAGS="${CXXFLAGS:-}" >/dev/null
cmake --build "$work/build" >/dev/null
"$work/installed/bin/larkspan" --version | grep -qx "larkspan $("$work/build/consumer-version")"
for page in man/man1/larkspan-create.1 man/man5/larkspan-archive.5 bash-completion/completions/larkspan \
  zsh/site-functions/_larkspan fish/vendor_completions.d/larkspan.fish; do
  [ -s "$work/installed/share/$page" ] || { echo "$page is not installed" >&2; exit 1; }
done
"$work/build/consumer" | grep -qx "poems/violets.txt: Violets are blue."

# Installed headers include nothing of ours that is not installed, and not zlib: hosts may lack its
# headers.
cd "$work/installed/include"
find . -name '*.h' -printf '#include "%P"\n' >"$work/all.cpp"
c++ -std=c++20 -fsyntax-only -I. "$work/all.cpp"
if grep -rl 'zlib\.h' .; then
  echo "an installed header includes zlib's" >&2
  exit 1
fi

# The tool and the examples make do with what is installed.
grep -rhoE '^#include "(foundation|Larkspan)/[^"]+"' "$source"/{tools,examples} | cut -d'"' -f2 | sort -u |
  while read -r header; do
    [ -e "$header" ] || { echo "$header is used as a public header and is not installed" >&2; exit 1; }
  done
