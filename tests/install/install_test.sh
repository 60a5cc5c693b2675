#!/bin/sh
# Installs into an empty folder, moves it, and uses it as a host would: a C89
# program finds header and library through pkg-config alone and runs, and so
# does the installed command line.
set -eu

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$QM_CMAKE" --install "$QM_BUILD_DIR" --prefix "$work/first" >"$work/log"
mv "$work/first" "$work/prefix"
cd "$work"

PKG_CONFIG_PATH=$work/prefix/lib/pkgconfig
export PKG_CONFIG_PATH
flags=$(pkg-config --cflags --libs quaymarsh)
case $flags in
  *"$QM_SOURCE_DIR"* | *"$QM_BUILD_DIR"*)
    echo "pkg-config points back into the tree: $flags"
    exit 1
    ;;
esac

cp "$QM_SOURCE_DIR/tests/install/host.c" .
# shellcheck disable=SC2086
$QM_CC -std=c89 -pedantic -Wall -Wextra -Werror -o host host.c $flags \
  -Wl,-rpath,"$work/prefix/lib"
./host

# The header alone is enough for C++, too.
cp host.c host.cc
# shellcheck disable=SC2086
$QM_CC -x c++ -std=c++17 -Wall -Wextra -Werror -fsyntax-only host.cc \
  $(pkg-config --cflags quaymarsh)

if [ -x "$QM_CLI" ]; then
  loaded=$(ldd prefix/bin/quaymarsh | sed -n 's/.*libquaymarsh[^ ]* => \([^ ]*\).*/\1/p')
  case $(readlink -f "$loaded") in
    "$work"/prefix/lib/*) ;;
    *)
      echo "The installed command line loads '$loaded'"
      exit 1
      ;;
  esac
  prefix/bin/quaymarsh scan host.eml
fi
