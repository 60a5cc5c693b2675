#!/bin/sh
# Installs into an empty folder, moves it, and uses it as a host would: a C89
# program finds header and library through pkg-config alone and runs, and so do
# the example, which is a project of its own, and the installed command line.
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

# The example, configured and built as a project of its own, out of the tree.
cp -r prefix/share/quaymarsh/examples example
{
  CC=${QM_CC%% *} CFLAGS=${QM_CC#* } "$QM_CMAKE" -G Ninja -S example \
    -B example/build && "$QM_CMAKE" --build example/build
} >log 2>&1 || { cat log; exit 1; }
# filter SAMPLE WHAT: it says WHAT, and the message comes out with its body.
filter() {
  sample=$QM_SOURCE_DIR/samples/$1
  LD_LIBRARY_PATH=$work/prefix/lib example/build/host <"$sample" >out 2>said
  grep -q "^host: $2" said || { cat said; exit 1; }
  sed '1,/^.\{0,1\}$/d' "$sample" >body
  tail -c "$(wc -c <body)" out | cmp - body
}
filter pills.eml 'state 1,'
grep -q '^Subject: \[spam?\] V' out
grep -q '^X-SPAM-SCORE: [1-9]' out
filter ham.eml 'state 0,'
filter bounce.eml 'state 3,'
filter no-mail.txt "state 1,"

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
