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
