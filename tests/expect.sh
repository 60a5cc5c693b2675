# What tests share that are scripts; read by them. Leaves them in an empty
# folder, $work, which goes when they end.
set -u
LC_ALL=C
export LC_ALL

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# expect WHAT CODE ARGUMENT...: runs the subcommand $command of $cli or, where
# that is not set, the arguments themselves. Compares the exit code, and stdout
# with stderr behind it with stdin.
expect() {
  what=$1 wanted=$2
  shift 2
  [ -z "${command:-}" ] || set -- "$cli" "$command" "$@"
  cat >want
  "$@" >out 2>err
  code=$?
  [ "$code" -eq "$wanted" ] || fail "$what: exit code $code, not $wanted"
  cat out err | diff -a want - || fail "$what: output differs"
}

# The last line of a test.
finish() {
  [ $failures -eq 0 ] || echo "$failures failures"
  [ $failures -eq 0 ]
}
