#!/usr/bin/env bash
# scripts/abi.sh check [BUILD]   tells what in the shared libraries of BUILD, a debug build by GCC, breaks
#                                programs that were built against those described in cmake/abi; what
#                                is merely added is fine. BUILD is build/dev if it isn't named.
# scripts/abi.sh write [BUILD]   describes those of BUILD there, for a version that breaks with the last
#
# A description holds what hosts can see: the functions of the installed headers, and the sizes, bases,
# members and virtual functions of their classes.
set -euo pipefail
cd "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/.."
build=${2:-build/dev} stored=cmake/abi
if ! command -v abidiff >/dev/null; then
  echo "abidiff is missing (apt-get install abigail-tools xz-utils): the ABI is not compared" >&2
  exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work" >/dev/null

differs=0
for library in larkspan-foundation larkspan-common; do
  abidw --suppr $stored/ignore.ini --headers-dir "$work/include" --drop-private-types --drop-undefined-syms \
    --exported-interfaces-only --no-show-locs --no-parameter-names --no-corpus-path --no-comp-dir-path \
    --no-elf-needed --type-id-style hash "$work/lib/lib$library.so" >"$work/$library.abi"
  case ${1:-} in
    write) xz -9 <"$work/$library.abi" >$stored/$library.abi.xz ;;
    check)
      xz -d <$stored/$library.abi.xz >"$work/$library.old.abi"
      abidiff --suppr $stored/ignore.ini --no-added-syms --no-show-locs "$work/$library.old.abi" "$work/$library.abi" ||
        differs=1
      ;;
    *) echo "usage: scripts/abi.sh check|write [BUILD]" >&2; exit 2 ;;
  esac
done
if [ $differs -ne 0 ]; then
  echo "Programs that were built against the last version break. Either the change can be made without, or" >&2
  echo "Larkspan/Common/Version.h tells a new minor version and 'scripts/abi.sh write' describes it." >&2
  exit 1
fi
