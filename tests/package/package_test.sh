#!/usr/bin/env bash
# package_test.sh BUILD SOURCE [all]: installs BUILD and looks at what is there; a project of somebody
# else builds an example against it and runs that. As a part of the other project, the library is
# only configured; with `all`, it is built in each way, of each kind, by each compiler, for each
# standard.
set -euo pipefail
build=$(realpath "$1") source=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export CCACHE_DIR=$work/cache
launcher=$(command -v ccache || true)
example=$source/examples/archive_in_memory.cpp
line='poems/violets.txt: Violets are blue.'

fail() { printf '%s\n' "$*" >&2; exit 1; }
# quietly COMMAND...: tells what it said only if it fails.
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "failed: $*"; }; }

# host WAY COMPILER STANDARD SHARED INSTALLATION [configure]
host() {
  local build=$work/host
  rm -rf "$build"
  quietly cmake -S "$source/tests/package" -B "$build" -G Ninja -DWAY="$1" -DSTANDARD="$3" \
    -DSOURCE="$source" -DEXAMPLE="$example" -DCMAKE_CXX_COMPILER="$2" -DBUILD_SHARED_LIBS="$4" \
    -DCMAKE_PREFIX_PATH="$5" -DCMAKE_CXX_FLAGS="${CXXFLAGS:-}" \
    ${launcher:+-DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"}
  [ $# -lt 6 ] || return 0
  quietly cmake --build "$build"
  "$build/host" | grep -qxF "$line" || fail "the host says something else"
  quietly cmake --install "$build" --prefix "$build/installed"
  [ "$(cd "$build/installed" && find . -type f)" = ./bin/host ] || fail "a guest was installed with its host"
}

# by_pkg_config COMPILER STANDARD SHARED INSTALLATION
by_pkg_config() {
  local kind=
  [ "$3" = ON ] || kind=--static
  local PKG_CONFIG_PATH=$4/lib/pkgconfig:$4/lib/$(cc -print-multiarch)/pkgconfig
  export PKG_CONFIG_PATH
  # Clang 14 has no word for C++23 but this; and what pkg-config tells is words.
  quietly "$1" -std="c++${2/23/2b}" -o "$work/program" "$example" $(pkg-config $kind --cflags --libs larkspan-common)
  LD_LIBRARY_PATH=$4/lib "$work/program" | grep -qxF "$line" || fail "the program says something else"
}

# by_installation COMPILER STANDARD SHARED INSTALLATION: each way that takes an installation.
by_installation() {
  host find_package "$@"
  by_pkg_config "$@"
}

version=$(sed -nE 's/^#define LARKSPAN_VERSION_(MAJOR|MINOR|PATCH) //p' "$source/Larkspan/Common/Version.h" | paste -sd.)
installed=$work/installed
quietly cmake --install "$build" --prefix "$installed"
shared=OFF
[ ! -e "$installed/lib/liblarkspan-common.so" ] || shared=ON
by_installation c++ 20 $shared "$installed"
for way in add_subdirectory FetchContent; do
  host $way c++ 20 $shared "" configure
done

# What the package hasn't is told by name; what is optional or of another version is just not there.
mkdir "$work/asks"
ask() {
  printf '%s\n' 'cmake_minimum_required(VERSION 3.22)' 'project(Asks LANGUAGES CXX)' "find_package(Larkspan $*)" \
    'message(FATAL_ERROR "found: ${Larkspan_FOUND}, ${Larkspan_Cellar_FOUND}")' >"$work/asks/CMakeLists.txt"
  ! cmake -S "$work/asks" -B "$work/asks/build" -DLarkspan_ROOT="$installed" 2>&1 | tr -s '\n ' ' '
}
ask REQUIRED COMPONENTS Common Cellar | grep -qF 'no component Cellar; it has Common and Foundation.' ||
  fail "an unknown component isn't told"
ask COMPONENTS Common OPTIONAL_COMPONENTS Cellar | grep -qE 'found: 1, ?(--|$)' || fail "an optional component is missed"
for other in 0.99 "${version%%.*}.0.0 EXACT" 9; do
  ask "$other" | grep -q 'found: 0' || fail "version $other is found in $version"
done

# The name that programs ask the system for changes with each version that needs not be compatible.
if [ $shared = ON ]; then
  abi=${version%%.*}
  [ "$abi" != 0 ] || abi=${version%.*}
  for library in common foundation; do
    readelf -d "$installed/lib/liblarkspan-$library.so" | grep -qF "soname: [liblarkspan-$library.so.$abi]" ||
      fail "liblarkspan-$library has another name for version $version"
  done
fi

[ "$("$installed/bin/larkspan" --version)" = "larkspan $version" ] || fail "the tool is of another version"
for file in man/man1/larkspan-create.1 man/man5/larkspan-archive.5 bash-completion/completions/larkspan \
  zsh/site-functions/_larkspan fish/vendor_completions.d/larkspan.fish doc/larkspan/LICENSE doc/larkspan/docs/cookbook.md; do
  [ -s "$installed/share/$file" ] || fail "$file is not installed"
done

# Installed headers include nothing of ours that is not installed, and not zlib: hosts may lack its
# headers.
cd "$installed/include"
find . -name '*.h' -printf '#include "%P"\n' >"$work/all.cpp"
quietly c++ -std=c++20 -fsyntax-only -I. "$work/all.cpp"
! grep -rl 'zlib\.h' . || fail "an installed header includes zlib's"

# The tool and the examples make do with what is installed.
grep -rhoE '^#include "(foundation|Larkspan)/[^"]+"' "$source"/{tools,examples} | cut -d'"' -f2 | sort -u |
  while read -r header; do
    [ -e "$header" ] || fail "$header is used as a public header and is not installed"
  done

[ "${3:-}" = all ] || exit 0
for compiler in g++ clang++; do
  for shared in ON OFF; do
    prefix=$work/$compiler-$shared
    quietly cmake -S "$source" -B "$prefix/build" -G Ninja -DCMAKE_CXX_COMPILER=$compiler \
      -DBUILD_SHARED_LIBS=$shared -DLARKSPAN_BUILD_TOOL=OFF -DLARKSPAN_BUILD_TESTS=OFF -DLARKSPAN_BUILD_EXAMPLES=OFF \
      ${launcher:+-DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"}
    quietly cmake --build "$prefix/build"
    quietly cmake --install "$prefix/build" --prefix "$prefix"
    for standard in 20 23; do
      by_installation $compiler $standard $shared "$prefix"
      for way in add_subdirectory FetchContent; do
        host $way $compiler $standard $shared ""
      done
      echo "$compiler, C++$standard, shared libraries $shared: all four ways"
    done
  done
done
