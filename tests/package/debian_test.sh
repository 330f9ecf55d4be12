#!/usr/bin/env bash
# debian_test.sh SOURCE: makes the Debian packages, lets lintian look at them, and installs them into a
# fresh root: the tool and a program that was built against them run there, and after the removal all
# is as it was. That root is loaded from apt's own mirror, so it is made only with
# LARKSPAN_FRESH_ROOT=1; else, and where none can be made, they are unpacked into a folder and used there.
set -euo pipefail
source=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
root=$work/root
line='poems/violets.txt: Violets are blue.'
fail() { printf '%s\n' "$*" >&2; exit 1; }

cd "$source"
. scripts/build.sh
configure_and_build package larkspan larkspan-manual
(cd build/package && cpack -B "$work/packages" >/dev/null 2>&1) || fail "cpack fails"
packages=("$work"/packages/*.deb)
[ ${#packages[@]} -eq 4 ] || fail "not four packages: ${packages[*]}"

if command -v lintian >/dev/null; then
  lintian --tag-display-limit 0 --allow-root "${packages[@]}" 2>/dev/null | while read -r word; do
    grep -qxF "    $word" docs/packages.md || fail "lintian says what docs/packages.md doesn't tell: $word"
  done
else
  echo "lintian is missing: it isn't asked"
fi

# Files, without what dpkg and the linker keep of their own.
content() { (cd "$root" && find . -xdev ! -path './var/lib/dpkg*' ! -path './var/log*' ! -path './var/cache/*' -type f,l,d | sort); }

mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 2>/dev/null | head -n 1 || true)
if [ "${LARKSPAN_FRESH_ROOT:-}" = 1 ] && [ -n "$mirror" ] && [ "$(id -u)" -eq 0 ] &&
  command -v debootstrap >/dev/null &&
  debootstrap --variant=minbase --include=libdeflate0 "$(. /etc/os-release && echo "$VERSION_CODENAME")" \
    "$root" "$mirror" >"$work/log" 2>&1; then
  in_root() { chroot "$root" "$@"; }
  content >"$work/before"
  cp "${packages[@]}" "$root/tmp"
  in_root sh -c 'dpkg -i /tmp/*.deb' >"$work/log" 2>&1 || fail "$(cat "$work/log")"
  rm "$root"/tmp/*.deb
else
  echo "no fresh root is made: the packages are unpacked into a folder"
  mkdir "$root"
  for package in "${packages[@]}"; do dpkg-deb -x "$package" "$root"; done
  in_root() { (cd "$root" && LD_LIBRARY_PATH=$(echo usr/lib/*-linux-gnu) "${1#/}" "${@:2}"); }
fi

mkdir "$root/work"
cmake -S tests/package -B "$work/host" -DWAY=find_package -DSTANDARD=20 -DSOURCE="$source" \
  -DEXAMPLE="$source/examples/archive_in_memory.cpp" -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
cmake --build "$work/host" >/dev/null
cp "$work/host/host" README.md "$root/work"
in_root /work/host | grep -qxF "$line" || fail "the program says something else"
PKG_CONFIG_PATH=$(echo "$root"/usr/lib/*/pkgconfig) pkg-config --exists larkspan-common || fail "pkg-config doesn't find it"
in_root /usr/bin/larkspan create -q work/a.lsa work/README.md
in_root /usr/bin/larkspan cat work/a.lsa work/README.md | cmp - README.md
rm -r "$root/work"

[ -e "$work/before" ] || exit 0
names=$(for package in "${packages[@]}"; do dpkg-deb -f "$package" Package; done)
in_root dpkg --purge $names >"$work/log" 2>&1 || fail "$(cat "$work/log")"
content | diff "$work/before" - || fail "the packages leave something behind"
echo "installed, used and removed in a fresh root"
