#!/bin/sh
# The command line: exit codes, where messages come from, what is printed. The
# real library scans the samples; for everything else fake_library.c answers in
# its place, so that states and sizes can be had at will.
#
# Needs QM_CLI (or the program as argument), QM_SOURCE_DIR and QM_CC.
cli=${1:-$QM_CLI}
source=${QM_SOURCE_DIR:-$(pwd)}
. "${0%/*}/../expect.sh"
# shellcheck disable=SC2086
${QM_CC:-cc -m32} -w -shared -fPIC -I"$source/src/api" -o "$work/fake.so" \
  "$source/tests/tools/fake_library.c" || exit 1
mkdir in && cd in || exit 1

# Runs the program with the fake library. With a sanitizer its runtime is not
# the first library any more, which is as it should be here.
fake() {
  ASAN_OPTIONS=${ASAN_OPTIONS:-}:verify_asan_link_order=0 \
    LD_PRELOAD="$work/fake.so" "$cli" "$@"
}

# expect NAME CODE COMMAND...: compares the exit code, and stdout with
# ../want when that exists. Leaves ../out and ../err.
expect() {
  what=$1 wanted=$2
  shift 2
  "$@" >../out 2>../err
  code=$?
  [ "$code" -eq "$wanted" ] ||
    fail "$what: exit code $code, not $wanted: $(cat ../err)"
  if [ -e ../want ] && ! diff -a ../want ../out >../diff; then
    fail "$what: output differs"
    cat ../diff
  fi
  rm -f ../want
}

want() { printf "$@" >../want; }

stderr_has() {
  grep -qF -- "$2" ../err || fail "$1: stderr lacks '$2': $(cat ../err)"
}

# message FILE LINE...: a message whose lines steer the fake library.
message() {
  file=$1
  shift
  printf 'Subject: x\n\n' >"$file"
  printf '%s\n' "$@" >>"$file"
}

# ---- Usage

expect 'no subcommand' 64 "$cli"
expect 'empty subcommand' 64 "$cli" ''
expect 'unknown subcommand' 64 "$cli" scam
expect 'unknown option' 64 "$cli" scan --bogus
expect 'missing value' 64 "$cli" scan --user
expect 'excluded options' 64 "$cli" scan --headers --pass-through x
expect 'context options' 64 "$cli" scan --patch-dir / --no-context x
expect 'bailout too low' 64 "$cli" scan --bailout 99 x
expect 'unknown check' 64 "$cli" scan --check virus,wires x
expect 'check is no allowance' 64 "$cli" scan --check eastern x
expect 'stdin is no file' 64 "$cli" scan --from-file -
expect 'no message to look into' 64 "$cli" fields
expect 'help' 0 "$cli" --help
expect 'help of a subcommand' 0 "$cli" scan --help
expect 'version' 0 "$cli" --version
grep -q '^Quay Marsh [0-9]' ../out || fail "version: $(cat ../out)"

# ---- States and exit codes

message clean 'fake score 12' 'fake cause A (12)'
message spam 'fake state 1' 'fake score 100' 'fake cause B (100)'
message virus 'fake state 2' 'fake score 9999' 'fake cause VIRUS x (9999)'
message other 'fake state 10'

while read -r file code name; do
  expect "-E $file" "$code" fake scan -E "$file"
  expect "without -E $file" 0 fake scan "$file"
  grep -q "^$file: state [0-9]* ($name), score" ../out ||
    fail "$file: $(cat ../out)"
done <<EOF
clean 0 clean
spam 1 spam
virus 2 virus
other 3 commercial PCE
EOF
for row in '3 notification' '5 suspect' '11 commercial MCE' \
  '12 commercial DCE' '4 unknown'; do
  message state "fake state ${row%% *}"
  want 'state: state %d (%s), score 0\n' "${row%% *}" "${row#* }"
  expect "state $row" 3 fake scan -E state
done
expect 'spam over other' 1 fake scan -E other spam clean
expect 'virus over spam' 2 fake scan -E virus spam
expect 'other over clean' 3 fake scan -E clean other clean

message refused 'fake return -1'
message nowords 'fake return -2'
: >empty
want 'clean: state 0 (clean), score 12: A (12)\n'
expect 'first error decides' 66 fake scan -E missing empty clean
expect 'first error decides, other order' 65 fake scan -E empty missing virus
expect 'refused' 65 fake scan refused
expect 'no dictionary' 78 fake scan nowords
expect 'no context' 71 fake scan --patch-dir / clean
expect 'missing list' 78 fake scan --global-list missing clean
expect 'missing patch directory' 78 fake scan --patch-dir missing clean
expect 'empty stdin' 65 fake scan </dev/null
expect 'empty device' 65 fake scan /dev/null
expect 'device by the library' 66 fake scan --from-file /dev/null
expect 'empty file by the library' 65 fake scan --from-file empty
expect 'directory part is a file' 66 fake scan clean/x
[ -e /dev/full ] &&
  expect 'full disk' 74 sh -c 'exec "$0" scan - </etc/passwd >/dev/full' "$cli"

# ---- The record

printf 'a\nb\nc' >list
message echo 'fake echo 1'
want 'echo: state 0 (clean), score 0: size=1 flags=1 context=1 user=- lists=0/0 keywords=- tag=- bailout=0 profile=- params=- (1)\n'
expect 'plain record' 0 fake scan echo
want 'echo: state 0 (clean), score 0: size=1 flags=25 context=0 user=u@example.org lists=5/5 keywords=k tag=[!] bailout=100 profile=p,q params=a=1\\x0Ab (1)\n'
expect 'full record' 0 fake scan --no-context --no-bailout --skip-emails \
  --user u@example.org --global-list list --user-list list --keywords k \
  --subject-tag '[!]' --bailout 100 --profile p,q --param a=1 echo --param b
while read -r setup options; do
  # shellcheck disable=SC2086
  expect "setups $options" 0 fake scan $options echo
  grep -q "setup=20,-100,200,0,$setup (1)" ../out ||
    fail "setups $options: $(cat ../out)"
done <<EOF
99/8,99 --check virus,notification,commercial,suspect
28/8,28 --allow eastern,asian --forbid-latin
65/8,1 --check virus --user-setup suspect
0/8,16 --global-setup forbid-latin,none
0/8,0 --user-setup none
EOF

# ---- Inputs

mkdir -p tree/b tree/a.d
cp clean tree/b/1
cp clean tree/b/0
cp spam tree/a
cp spam tree/a.d/x
ln -s .. tree/b/loop
ln -s nowhere tree/b/broken
want '%s\n' 'tree/a: state 1 (spam), score 100: B (100)' \
  'tree/a.d/x: state 1 (spam), score 100: B (100)' \
  'tree/b/0: state 0 (clean), score 12: A (12)' \
  'tree/b/1: state 0 (clean), score 12: A (12)'
expect 'directory' 0 fake scan tree
mkdir hollow
expect 'directory without files' 66 fake scan hollow

cp clean '[a]'
cp clean decode
cp clean ./-x
cp clean ./--
cp clean "$(printf 'n\nl')"
want '%s: state 0 (clean), score 12: A (12)\n' '[a]' decode '-x' 'n\x0Al' '--'
expect 'odd names' 0 fake scan '[a]' decode -- -x "$(printf 'n\nl')" --

# Prose behind an empty line, a quoted line, CR LF, and an empty message.
{
  printf 'From a@example.org Thu Jan  1 00:00:00 1970\n'
  printf 'Subject: 1\n\nFrom now on\nall is well\n\nwhere\n>From there\n\n'
  printf 'From b\r\nSubject: 2\r\n\r\nbody\r\n\r\n'
  printf 'From c\n>From d\nSubject: 3\n\n'
  printf 'From e\nSubject: 4\n>From f\n\n'
} >box
want '%s: state 0 (clean), score 0\n' box:1 box:2 box:3 box:4
expect 'mbox' 0 fake scan box
want '%s: state 0 (clean), score 0\n' -:1 -:2 -:3 -:4
expect 'mbox from stdin' 0 fake scan - <box
cp box ../want
expect 'mbox passes through' 0 fake scan --pass-through box
want 'box: state 0 (clean), score 0\n'
expect 'mbox by the library' 0 fake scan --from-file box
printf 'From a\nfake: 1\n\nfake state 1\n' >one
want 'one: state 1 (spam), score 0\n'
expect 'mbox of one' 0 fake scan one
printf 'From my desk\nfake state 1' >prose
want 'prose: state 1 (spam), score 0\n'
expect 'prose' 0 fake scan prose
cp prose ../want
expect 'prose passes through' 0 fake scan --pass-through prose
printf 'From ' >short
cp short ../want
expect 'five bytes' 0 fake scan --pass-through short

# ---- Outputs

message labels 'fake score -9' \
  'fake cause Subject: a; b (c) (3);No date (49);Link2x (-60);x (1) y (0)'
want '%s\n' 'labels: state 0 (clean), score -9' \
  '  Quay Marsh 01.333.21 AV+AS Profile: a; Bailout: b; Bailout: 300' \
  '  Subject: a; b (c) (3)' '  No date (49)' '  Link2x (-60)' '  x (1) y (0)'
expect 'entries' 0 fake scan -v labels
message details 'fake cause A (1); Hdr=h (2); From=f; Domain=d,e;'
want '%s\n' 'details: state 0 (clean), score 0' \
  '  Quay Marsh 01.333.21 AV+AS Profile: a; Bailout: b; Bailout: 300' \
  '  A (1)' '  Hdr=h (2); From=f; Domain=d,e;'
expect 'details' 0 fake scan -v details
message only 'fake cause ; Hdr=h; From=f; Domain=;'
expect 'details only' 0 fake scan --json only
grep -qF '"entries":[],"details":"Hdr=h; From=f; Domain=;"' ../out ||
  fail "details only: $(cat ../out)"

# An encoded letter, a byte of its own, an overlong form and a control byte.
message bytes "fake cause $(printf '\303\244 \344 \300\200 \033') (5)"
want '%s%s%s%s\n' '{"file":"bytes","state":0,"name":"clean","score":0,' \
  "\"cause\":\"$(printf '\303\244 \303\244 \303\200\302\200') \\u001b (5)\"," \
  "\"entries\":[{\"label\":\"$(printf '\303\244 \303\244 \303\200\302\200') \\u001b\",\"points\":5}]," \
  '"version":"Quay Marsh 01.333.21 AV+AS Profile: a; Bailout: b; Bailout: 300","headerLength":0}'
expect 'JSON' 0 fake scan --json bytes
want 'bytes: state 0 (clean), score 0: %s (5)\n' \
  "$(printf '\303\244 \303\244 \303\200')\\x80 \\x1B"
expect 'bytes on a terminal' 0 fake scan bytes

# Around the first sizes of the buffers, and far above them.
for pad in 130000 131001 131002 131003 131004 131005 131006 500000; do
  message pad "fake pad $pad"
  fake scan pad | tr -dc p >../out
  # "spam" is not among the words before the padding.
  [ "$(wc -c <../out)" -eq $((pad + 1)) ] ||
    fail "a padding of $pad has $(wc -c <../out) bytes"
done
for size in 4 65535 65536 65537 200000; do
  message header "fake header $size"
  fake scan --headers header 2>../err >../out
  [ "$(wc -c <../out)" -eq "$size" ] ||
    fail "a header of $size has $(wc -c <../out) bytes"
  [ "$(tail -c 4 ../out | od -An -tx1)" = ' 0d 0a 0d 0a' ] ||
    fail "a header of $size is not complete"
done
stderr_has 'headers' 'header: state 0'

# "Subject: x" and the empty line are 12 bytes.
message through 'fake header 6' 'fake length 12' '>From q' 'end'
want 'hh\r\n\r\nfake header 6\nfake length 12\n>From q\nend\n'
expect 'pass-through' 0 fake scan --pass-through through
stderr_has 'pass-through' 'through: state 0 (clean), score 0'
{
  printf 'From a\n'
  cat through
  printf '\nFrom b\n'
  cat refused
} >box2
{
  printf 'From a\nhh\r\n\r\nfake header 6\nfake length 12\n>From q\nend\n'
  printf '\nFrom b\n'
  cat refused
} >../want
expect 'pass-through of an mbox, one refused' 65 fake scan --pass-through box2

# ---- fields: every element on a line of ASCII; as JSON the bytes themselves

printf '%b' 'Subject: a\\b \0033\0344\r\nFrom: <x@example.org>\r\n' \
  'Date: Mon, 3 Mar 2008 10:00:00 +0100\r\n' \
  'Content-Type: multipart/mixed; boundary=b\r\n\r\n' \
  '--b\r\n\r\nName: x\r\nCity: y\r\n\r\nlast\0000line\r\n' \
  '\r\n--b\r\nContent-Disposition: attachment; filename="p.txt"\r\n\r\nx\r\n' \
  '\r\n--b--\r\n' >parts
expect 'fields' 0 "$cli" fields parts
while read -r line; do
  grep -qxF -- "$line" ../out || fail "fields: no line '$line': $(cat ../out)"
done <<'EOF'
file: parts
date: utc=1204534800 local=1204538400 zone=100/3600 weekDay=2 error=0
content-types: multipart/mixed
1 Id:
7 Subject: a\\b \x1B\xE4
12 From: <x@example.org>
18 FirstLine: Name: x
20 @Hdr: From: <x@example.org>
34 Filename: p.txt
35 Received
61 To
102 Tokens: name
102 Tokens: city
105 Score: 0000;0000;0000
121 ImgDomain
EOF
grep -q '^tree: multipart/mixed 1\[[^]]*\] text=0 .*display=p.txt' ../out ||
  fail "fields: $(grep tree ../out)"
"$cli" fields --now 1200000000 parts >../out
grep -qx '119 Profil: 21:Thu' ../out || fail "fields --now: $(grep 119 ../out)"
expect 'fields, no such dictionary' 78 "$cli" fields --keywords missing parts
"$cli" fields --json - <parts >../json
for text in '{"file":"-","fields":{"Id":[""],"Bound":["b"],"Url":[],' \
  "\"Subject\":[\"a\\\\b \\u001b$(printf '\303\244')\"]," '"To":[],' \
  '"Tokens":["name","city"],' '"parsed":{"tree":["multipart/mixed 1['; do
  grep -qF -- "$text" ../json || fail "fields --json: no $text: $(cat ../json)"
done
{
  printf 'From a\n' && cat parts
  printf '\nFrom b\n' && cat clean
} >box3
expect 'fields of several, one missing' 66 "$cli" fields box3 missing parts
[ "$(grep -a '^file' ../out | tr '\n' ,)" = \
  'file: box3:1,file: box3:2,file: parts,' ] || fail "fields: $(cat ../out)"
expect 'fields of nothing' 65 "$cli" fields empty

# ---- decode: all bytes at even and odd offsets, by arithmetic of our own

awk 'BEGIN {
  f = "fghijklmnopqrstuv"; b = "bcdefghijklmnopq"
  for (i = 0; i < 256; ++i) {
    q = substr(b, int(i / 17) + 1, 1); r = substr(f, i % 17 + 1, 1)
    printf "%s%s%s%s", r, q, q, r
  }
}' >pairs
awk 'BEGIN { for (i = 0; i < 256; ++i) printf "\\%03o\\%03o", i, i }' >octal
printf "$(cat octal)" >../want
expect 'all bytes' 0 "$cli" decode --raw "$(cat pairs)"
fold -w 40 pairs | sed 's/^/ /; s/$/\r/' | sed '1s/^ //' >folded
printf "$(cat octal)" >../want
expect 'folded' 0 "$cli" decode --raw <folded
want 'No date\nNo\n'
expect 'several lines' 0 "$cli" decode <<EOF
  pfhoucgurghtvg

pfho
EOF
want 'No\n'
expect 'cut' 0 "$cli" decode pfhou
stderr_has 'cut' 'half a pair'
for text in fr rq gq pfhog1 pfqg 'Quay Marsh' a '' PFHO p; do
  expect "no letter pairs: $text" 65 "$cli" decode "$text"
  [ -s ../out ] && fail "no letter pairs: $text: $(cat ../out)"
done
want 'No\n'
expect 'goes on after an error' 65 "$cli" decode xx pfho
expect 'nothing to decode' 65 "$cli" decode </dev/null

# ---- The samples, by the real library

samples=$source/samples
expect 'samples' 0 "$cli" scan -v --check virus,notification "$samples"
[ "$(grep -c ': state ' ../out)" -eq "$(find "$samples" -type f | wc -l)" ] ||
  fail "samples: $(cat ../out)"
expect 'no mail' 1 "$cli" scan -E "$samples/no-mail.txt"
grep -qF ', score 200: This is not a mail (200)' ../out ||
  fail "no mail: $(cat ../out)"
for sample in "$samples"/*; do
  "$cli" scan "$sample" >../out
  "$cli" scan --from-file --no-context "$sample" >../want
  cmp -s ../out ../want || fail "$sample: from a file: $(cat ../want)"
  # The body comes out as it went in, with the marks in front of it.
  "$cli" scan --pass-through "$sample" >../out 2>../err
  sed '1,/^.\{0,1\}$/d' "$sample" >../body
  tail -c "$(wc -c <../body)" ../out | cmp -s - ../body ||
    fail "$sample: the body has changed"
  grep -aq '^X-SPAM-SCORE: ' ../out || fail "$sample: no score in the header"
done
# Nothing of a message ends a line or reaches a terminal as it is.
rm -f ../want
expect 'fields of the samples' 0 "$cli" fields "$samples"
grep -avxE '([a-z-]+:( [ -~]*)?|[0-9]+ @?[A-Za-z0-9]+(:( [ -~]+)?)?)?' ../out \
  >../err &&
  fail "fields of the samples: $(cat ../err)"

finish
