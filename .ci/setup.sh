# Shell functions that ./scan, ./test and .ci/run share. Sourced, with $top set
# to the top of the source tree. All messages go to standard error.

# What building, testing and the command line need; plain Debian 12 packages.
QM_PACKAGES="cmake ninja-build g++ g++-multilib googletest libcli11-dev
  mandoc nlohmann-json3-dev pkg-config python3"

say() {
  echo "$@" >&2
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    say "Not root, and there is no sudo. Needed: $*"
    return 1
  fi
}

apt_get() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -y \
    -o Acquire::Retries=3 -o DPkg::Lock::Timeout=120 "$@"
}

# Makes sure of Debian packages. apt runs only when one is missing, and up to
# three times, since mirrors have bad moments. The package lists are fetched
# again only when installing from those at hand fails.
need_packages() {
  missing=
  for package in "$@"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) ||
      status=
    [ "$status" = installed ] || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  say "Installing:$missing"
  log=$(mktemp)
  for attempt in 1 2 3; do
    # shellcheck disable=SC2086
    if apt_get install --no-install-recommends $missing >"$log" 2>&1; then
      rm -f "$log"
      return 0
    fi
    apt_get update >>"$log" 2>&1 || sleep $((attempt * 5))
  done
  cat "$log" >&2
  rm -f "$log"
  say "Could not install:$missing"
  return 1
}

# Runs a command and shows its output only when it fails.
# Usage: quietly LOGFILE COMMAND...
quietly() {
  quiet_log=$1
  shift
  if ! "$@" >"$quiet_log" 2>&1 </dev/null; then
    cat "$quiet_log" >&2
    say "FAILED: $*"
    return 1
  fi
}

# Configures and builds a preset. Usage: build_preset PRESET [TARGET...]
build_preset() {
  preset=$1
  shift
  folder=$top/build/$preset
  mkdir -p "$folder"
  say "Building build/$preset"
  (cd "$top" && quietly "$folder/configure.log" cmake --preset "$preset") ||
    return 1
  quietly "$folder/build.log" cmake --build "$folder" -j "$(nproc)" \
    ${1:+--target} "$@"
}

# What the fuzz targets need on top.
QM_FUZZ_PACKAGES="clang libclang-rt-14-dev"

# Builds the fuzz targets and runs each for a few seconds, from its seeds and
# with its dictionary. The seed and the most runs are fixed, so that what passes
# here passes on a faster machine. Usage: run_fuzz SECONDS
run_fuzz() {
  fuzz_seconds=$1
  fuzz_targets=$(cd "$top/fuzz" && ls ./*_fuzz.cc | sed 's#^./##; s#\.cc$##')
  # shellcheck disable=SC2086
  build_preset fuzz $fuzz_targets || return 1
  for fuzz_target in $fuzz_targets; do
    fuzz_name=${fuzz_target%_fuzz}
    fuzz_work=$top/build/fuzz/work/$fuzz_name
    rm -rf "$fuzz_work"
    mkdir -p "$fuzz_work"
    set -- "$fuzz_work"
    [ -d "$top/fuzz/seeds/$fuzz_name" ] && set -- "$@" "$top/fuzz/seeds/$fuzz_name"
    [ -f "$top/fuzz/$fuzz_name.dict" ] &&
      set -- "-dict=$top/fuzz/$fuzz_name.dict" "$@"
    say "Running $fuzz_target"
    quietly "$top/build/fuzz/$fuzz_target.log" \
      "$top/build/fuzz/fuzz/$fuzz_target" "-max_total_time=$fuzz_seconds" \
      -seed=1 -runs=20000 -timeout=60 "-artifact_prefix=$top/build/fuzz/$fuzz_target-" \
      "$@" || return 1
  done
  run_page fuzz
}

# Scans in eight threads on one context under ThreadSanitizer.
run_threads() {
  build_preset tsan corpus_run || return 1
  say "Running corpus_run in eight threads"
  quietly "$top/build/tsan/corpus_run.log" \
    "$top/build/tsan/tests/corpus_run" --checks --threads 8 \
    "$top/samples" "$top/tests/golden" && run_page tsan
}

# Runs what HACKING.md tells to type in a build that has no tests of its own.
# Usage: run_page PRESET
run_page() {
  quietly "$top/build/$1/page.log" env "QM_SOURCE_DIR=$top" \
    "QM_BUILD_DIR=$top/build/$1" "QM_PRESET=$1" python3 -B \
    "$top/tests/docs/commands_test.py" "$top/HACKING.md"
}
