# Sourced by ./run, ./test and .ci/run: installs what is missing, by package name.
#
# require_packages FILE...: each FILE lists packages, one a line, behind the command or the file
# whose presence shows that the package is there. Only missing ones are installed; where that
# can't be done, says which they are and ends.

require_packages() {
  local missing=() probe package
  while read -r probe package; do
    [ -n "$probe" ] || continue
    case $probe in
      /*) [ -e "$probe" ] || compgen -G "$probe" >/dev/null || missing+=("$package") ;;
      *) command -v "$probe" >/dev/null || missing+=("$package") ;;
    esac
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "installing: ${missing[*]}" >&2
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
      echo "missing packages, and no right to install them: ${missing[*]}" >&2
      exit 3
    fi
    as_root=(sudo)
  fi
  if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q "${missing[@]}" >/dev/null 2>&1; then
    "${as_root[@]}" apt-get update -q >/dev/null
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q "${missing[@]}" >/dev/null
  fi
}

build_packages() {
  require_packages <<'LIST'
g++ g++
cmake cmake
ninja ninja-build
/usr/include/zlib.h zlib1g-dev
/usr/include/CLI/CLI.hpp libcli11-dev
LIST
}

test_packages() {
  build_packages
  require_packages <<'LIST'
/usr/include/gtest/gtest.h libgtest-dev
/usr/include/benchmark/benchmark.h libbenchmark-dev
python3 python3
LIST
}

# configure_and_build PRESET [TARGET...]: quiet unless something fails.
configure_and_build() {
  local preset=$1
  shift
  local log=build/$preset.log
  [ -e "build/$preset/build.ninja" ] || echo "building $preset for the first time; this takes minutes" >&2
  mkdir -p build
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } \
    >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    echo "building $preset failed; the whole log is in $log" >&2
    return 1
  fi
}
