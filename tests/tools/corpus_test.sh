#!/bin/sh
# quaymarsh corpus and corpus diff on a few messages under a dictionary of the
# test: who is counted where, what decides, sums, threads, exit codes. Needs
# QM_CLI and QM_KWC, or the programs as arguments.
cli=${QM_CLI:-$1}
kwc=${QM_KWC:-$2}
command=corpus
. "${0%/*}/../expect.sh"

# mail FILE SUBJECT
mail() {
  mkdir -p "${1%/*}"
  printf '%s\n' 'Received: from a.example.net by b.example.org; Thu, 10 Jan 2008 21:00:00 +0000' \
    'Date: Thu, 10 Jan 2008 21:00:00 +0000' 'From: "Jo" <jo@a.example.net>' \
    'To: al@b.example.org' "Subject: $2" 'Message-ID: <x@a.example.net>' '' \
    'Some words about nothing in particular, and a few more.' >"$1"
}

dictionary() {
  printf '%s\n' '[#param]' 'version=09.000.01' '[^=SpamRegex]' "$@" >d.kws
  "$kwc" -o d.kwo d.kws || fail "the dictionary does not compile"
}

run="--now 1200000000 --keywords d.kwo --json"
mail spam/1 'alpha beta'
mail spam/2 'alpha'
mail ham/1 'gamma'
mail ham/2 'beta gamma'
cat ham/1 >>spam/3 && mail more/ham 'nothing'
{ echo "From a Thu Jan 10 21:00:00 2008"; cat more/ham; } >more/mbox
{ echo; echo "From b Thu Jan 10 21:00:00 2008"; cat spam/1; } >>more/mbox

dictionary '<60>Rule-1:(Subject=alpha)' '<50>Rule-2:(Subject=beta)' \
  '<-20>Rule-3:(Subject=gamma)' '<40>Rule-4:(Subject=beta)'
expect "table" 0 --now 1200000000 --keywords d.kwo --spam spam --ham ham \
  --ham more/mbox -j 3 <<'X'
spam spam: 3 messages, 33.33 % spam (clean 2, spam 1)
ham ham: 2 messages, 0.00 % spam (clean 2)
ham more/mbox: 2 messages, 50.00 % spam (clean 1, spam 1)
all spam: 3 messages, 33.33 % spam (clean 2, spam 1)
all ham: 4 messages, 25.00 % spam (clean 3, spam 1)

   spam     ham   spam %    ham %   S/O  decides: spam   ham        points  cause
      2       1    66.67    25.00 0.727              1     1            60  ^Rule-1
      1       2    33.33    50.00 0.400              0     0            50  ^Rule-2
      1       2    33.33    50.00 0.400              0     0           -20  ^Rule-3
      1       2    33.33    50.00 0.400              0     0            40  ^Rule-4
X

# ---- Two runs

# shellcheck disable=SC2086
"$cli" corpus $run --spam spam --ham ham >a.json || fail "run a"
dictionary '<110>Rule-1:(Subject=alpha)' '<50>Rule-2:(Subject=beta)' \
  '<-20>Rule-3:(Subject=gamma)' '<70>Rule-4:(Subject=beta)'
rm spam/3 && mail spam/4 nothing
# shellcheck disable=SC2086
"$cli" corpus $run --spam spam --ham ham -j 2 >b.json || fail "run b"
expect "diff" 0 diff a.json b.json <<'X'
ham ham/2: clean 70 -> spam 100
spam spam/2: clean 60 -> spam 110
spam 2 -> 2, ham 0 -> 0, points 60 -> 110: ^Rule-1
spam 1 -> 0, ham 2 -> 2: ^Rule-3
spam 1 -> 1, ham 1 -> 1, points 40 -> 70: ^Rule-4
all ham: 0.00 % -> 50.00 % spam
all spam: 33.33 % -> 66.67 % spam
ham ham: 0.00 % -> 50.00 % spam
spam spam: 33.33 % -> 66.67 % spam
2 of 4 messages are judged in another way, 3 causes hit or score otherwise; 1 messages are gone, 1 are new
X

# ---- Sums that are made in another way: worms, and points taken back

dictionary '<10>Rule-2x:(Subject=beta)' '[^=WhiteRegex]' '<-30>Kind:(Subject=beta)' \
  '[^EmbedFilterRegex]' '<70>Frame:(Subject=beta)' '[^=AlwaysRegexVirus]' \
  'worm:(Subject=gamma)'
mail one/beta beta
mail one/worm gamma
expect "special sums" 0 --now 1200000000 --keywords d.kwo --spam one <<'X'
spam one: 2 messages, 0.00 % spam (clean 1, virus 1)
all spam: 2 messages, 0.00 % spam (clean 1, virus 1)
all ham: 0 messages, 0.00 % spam ()

   spam     ham   spam %    ham %   S/O  decides: spam   ham        points  cause
      1       0    50.00     0.00 1.000              0     0            70  Embed spam
      1       0    50.00     0.00 1.000              0     0          9999  VIRUS worm
      1       0    50.00     0.00 1.000              1     0           -30  ^Kind
      1       0    50.00     0.00 1.000              0     0            10  ^Rule-2x
      1       0    50.00     0.00 1.000              0     0            30  taken back by Embed spam
X

# ---- What goes wrong

expect "no input" 64 <<'X'
quaymarsh: corpus: no input: --spam, --ham or both
Run 'quaymarsh --help' or 'quaymarsh SUBCOMMAND --help'.
X
expect "no dictionary" 78 --spam spam --keywords d.kws <<'X'
quaymarsh: d.kws: cannot load the dictionary
X
expect "no run" 65 diff a.json d.kws <<'X'
quaymarsh: d.kws: not written by 'quaymarsh corpus --json'
X
# A label that ends like an entry cannot be told from two.
dictionary 'alpha:(Subject=alpha)' '[#LinkText]' '<60>*a (7)\;b*'
mkdir odd
printf '%s\n' 'From: jo@example.net' 'Content-Type: text/html' '' \
  '<html><body>x <a href="http://example.net/">a (7);b</a></body>' >odd/1
"$cli" corpus --keywords d.kwo --spam odd >out 2>err
[ $? -eq 65 ] || fail "causes that don't add up: exit code"
grep -q "odd/1: the causes don't add up to the score" err ||
  fail "causes that don't add up: not told"

finish
