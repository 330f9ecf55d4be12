# Sourced by ./run, ./test and .ci/run, in the root of the tree: installs what is missing, and builds.

# Packages, each behind the command or the file whose presence shows that it is there.
build_packages() {
  cat <<'LIST'
g++ g++
cmake cmake
ninja ninja-build
/usr/include/zlib.h zlib1g-dev
/usr/include/libdeflate.h libdeflate-dev
/usr/include/CLI/CLI.hpp libcli11-dev
/usr/include/nlohmann/json.hpp nlohmann-json3-dev
LIST
}

test_packages() {
  cat <<'LIST'
/usr/include/gtest/gtest.h libgtest-dev
/usr/include/benchmark/benchmark.h libbenchmark-dev
python3 python3
LIST
}

check_packages() {
  cat <<'LIST'
clang++ clang
clang-tidy clang-tidy
clang-format clang-format
abidiff abigail-tools
LIST
}

# require_packages LIST...: installs those of the lists that are missing, and only those; where
# that can't be done, prints what the administrator has to type, and ends.
require_packages() {
  local list missing=() probe package
  while read -r probe package; do
    case $probe in
      /*) [ -e "$probe" ] || missing+=("$package") ;;
      *) command -v "$probe" >/dev/null || missing+=("$package") ;;
    esac
  done < <(for list in "$@"; do "$list"; done)
  [ ${#missing[@]} -gt 0 ] || return 0
  local install=(env DEBIAN_FRONTEND=noninteractive apt-get install -y -q "${missing[@]}") as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
      leave_to_administrator "${missing[@]}"
    fi
    as_root=(sudo)
  fi
  echo "installing: ${missing[*]}" >&2
  # Lists of packages may be old, or not be there yet.
  "${as_root[@]}" "${install[@]}" >/dev/null 2>&1 </dev/null && return 0
  { "${as_root[@]}" apt-get update -q && "${as_root[@]}" "${install[@]}"; } >/dev/null </dev/null ||
    leave_to_administrator "${missing[@]}"
}

leave_to_administrator() {
  echo "packages are missing, and can't be installed from here; the administrator installs them with" >&2
  echo "  sudo apt-get install -y $*" >&2
  exit 3
}

# configure_and_build PRESET [TARGET...]: shows on standard error that it builds, and nothing
# where there is nothing to build. The whole output is in build/PRESET.log. Fails where it can't
# build, so that nobody goes on with what an earlier build left.
configure_and_build() {
  local preset=$1
  shift
  local log=build/$preset.log
  if ! { mkdir -p build && : >"$log"; } 2>/dev/null; then
    echo "can't build: $PWD/$log can't be written" >&2
    return 1
  fi
  [ -e "build/$preset/build.ninja" ] || echo "configuring $preset" >&2
  if ! {
    cmake --preset "$preset" &&
      NINJA_STATUS='[%f/%t] ' cmake --build --preset "$preset" ${1:+--target "$@"}
  } 2>&1 </dev/null | tee -- "$log" | show_progress "$preset"; then
    tail -n 60 "$log" >&2
    echo "building $preset failed; the whole log is in $PWD/$log" >&2
    return 1
  fi
}

# show_progress NAME: of ninja's output, shows the steps: on one line at a terminal, else a line
# for each.
show_progress() {
  local line
  while IFS= read -r line; do
    [[ $line =~ ^\[[1-9][0-9]*/[0-9]+\]\  ]] || continue
    if [ -t 2 ]; then
      line="building $1 $line"
      printf '\r\e[K%s' "${line:0:$((${COLUMNS:-80} - 1))}" >&2
    else
      printf 'building %s %s\n' "$1" "$line" >&2
    fi
  done
  [ ! -t 2 ] || printf '\r\e[K' >&2
}
