#!/bin/sh
# Packs this build as Debian packages and looks at them as Debian would: names,
# files, dependencies. Unpacked side by side they work. packaging/try-debs
# installs them on a bare Debian.
. "${0%/*}/../expect.sh"

if [ "$QM_BITS" = 32 ]; then
  arch=i386 triplet=i386-linux-gnu packages='libquaymarsh1 libquaymarsh-dev
    quaymarsh'
else
  arch=amd64 triplet=x86_64-linux-gnu packages='libquaymarsh1 libquaymarsh-dev
    quaymarsh python3-quaymarsh'
fi
"$(dirname "$QM_CMAKE")/cpack" --config "$QM_BUILD_DIR/CPackConfig.cmake" \
  -B "$work/packed" >log 2>&1 || fail "$(cat log)"

# ---- Names and files. Folders are left out, and one stands for all that is
# copied as a whole.
for package in $packages; do
  deb=$(find packed -maxdepth 1 -name "${package}_*_$arch.deb" -o \
    -maxdepth 1 -name "${package}_*_all.deb")
  [ -f "$deb" ] || fail "there is no package $package"
  [ "$(dpkg-deb -f "$deb" Package)" = "$package" ] || fail "name of $deb"
  dpkg-deb -x "$deb" root
  dpkg-deb --contents "$deb" >contents
  grep -v ' root/root ' contents && fail "files of $deb are not root's"
  sed -n "s, $triplet/, TRIPLET/,g
    s,/$triplet/,/TRIPLET/,
    s,/dictionary/[^ ]*,/dictionary/*,
    s,/doc/quaymarsh/doc/[^ ]*,/doc/quaymarsh/doc/*,
    s,^-.* \./,$package /,p
    s,^l.* \./\([^ ]*\) -> .*,$package /\1,p" contents | uniq
done >files
sed "/^python3/d" "$QM_SOURCE_DIR/tests/packaging/deb_files.txt" >wanted
[ "$arch" = i386 ] ||
  cp "$QM_SOURCE_DIR/tests/packaging/deb_files.txt" wanted
sort files | diff wanted - || fail 'the packages hold other files'
find packed -maxdepth 1 -name '*.deb' | sed 's,packed/\([^_]*\)_.*,\1,' |
  sort >is
# shellcheck disable=SC2086
printf '%s\n' $packages | sort | diff - is || fail 'other packages'

# ---- Dependencies: each library that is needed in no newer version than told

# told PACKAGE: the lowest version of it that the package at hand asks for.
told() {
  dpkg-deb -f "$deb" Depends | tr ',' '\n' | sed -n "s/^ *$1 (>= \(.*\))/\1/p"
}
# newest PREFIX: the newest of the versioned symbols that the binary asks for.
newest() {
  readelf -VW "$binary" | grep -o "Name: $1_[0-9.]*" | sed "s/.*_//" | sort -V |
    tail -1
}
for pair in libquaymarsh1:lib/$triplet/libquaymarsh.so.1 \
  quaymarsh:bin/quaymarsh quaymarsh:bin/qmkwc; do
  deb=$(echo packed/"${pair%%:*}"_*)
  binary=root/usr/${pair#*:}
  dpkg --compare-versions "$(newest GLIBC)" le "$(told libc6)" ||
    fail "$binary asks for glibc $(newest GLIBC)"
  # That is what version 12 of the library was the first to have.
  [ "$(told libstdc++6)" = 12 ] || fail "libstdc++ of $deb"
  dpkg --compare-versions "$(newest GLIBCXX)" le 3.4.30 ||
    fail "$binary asks for libstdc++ $(newest GLIBCXX)"
  case $(newest GCC) in
    '' | 3.* | 4.[0-2]*) ;;
    *) fail "$binary asks for libgcc $(newest GCC)" ;;
  esac
  readelf -dW "$binary" | grep -E 'RPATH|RUNPATH' &&
    fail "$binary says where libraries are"
  readelf -SW "$binary" | grep -q '\.debug_info' && fail "$binary: not stripped"
done
dpkg-deb -f packed/libquaymarsh1_* Multi-Arch | grep -qx same ||
  fail 'libraries of two architectures exclude each other'
dpkg-deb --ctrl-tarfile packed/libquaymarsh1_* | tar -xO ./shlibs |
  grep -q '^libquaymarsh 1 libquaymarsh1 (>= ' || fail 'no shlibs'

# ---- They work

LD_LIBRARY_PATH=$work/root/usr/lib/$triplet
PKG_CONFIG_LIBDIR=$LD_LIBRARY_PATH/pkgconfig
export LD_LIBRARY_PATH PKG_CONFIG_LIBDIR
root/usr/bin/quaymarsh scan "$QM_SOURCE_DIR/samples/pills.eml" >out
grep -q ': state 1 (spam)' out || fail "scan: $(cat out)"
root/usr/bin/qmkwc -o x.kwo root/usr/share/quaymarsh/dictionary/*.kws &&
  cmp x.kwo "$QM_BUILD_DIR/ready.kwo" || fail 'it is another dictionary'
for page in root/usr/share/man/man3/Qm*.3.gz; do
  gzip -dc "$page" | grep -qx '\.so man3/quaymarsh\.3' || fail "$page"
done
# shellcheck disable=SC2046
$QM_CC -o host root/usr/share/quaymarsh/examples/host.c \
  $(pkg-config --cflags --libs quaymarsh) || fail 'a host does not link'
./host <"$QM_SOURCE_DIR/samples/pills.eml" 2>&1 >/dev/null |
  grep -q '^host: state 1,' || fail 'a host does not run'
if [ "$arch" = amd64 ]; then
  PYTHONPATH=root/usr/lib/python3/dist-packages python3 -B -c '
import quaymarsh
assert quaymarsh.scan(b"Hello").state == 1' || fail 'the Python module'
fi

finish
