#!/bin/sh
# quaymarsh regex: what is printed of a pattern, where it matches, exit codes.
# Needs QM_CLI, or the program as argument.
cli=${1:-$QM_CLI}
. "${0%/*}/../expect.sh"
mkdir in && cd in || exit 1

# expect NAME CODE ARGUMENT...: compares the exit code, stdout behind the four
# lines of the pattern with ../want, and stderr with ../wantederr.
expect() {
  what=$1 wanted=$2
  shift 2
  "$cli" regex "$@" >../all 2>../err
  code=$?
  [ "$code" -eq "$wanted" ] || fail "$what: exit code $code, not $wanted"
  sed 1,4d ../all >../out
  for stream in out err; do
    [ -e "../want$stream" ] || : >"../want$stream"
    diff -a "../want$stream" "../$stream" || fail "$what: std$stream differs"
    rm -f "../want$stream"
  done
}

want() { printf "$@" >../wantout; }
want_error() { printf "$@" >../wanterr; }

# ---- Patterns

expect 'only compiled' 0 --fold 'ab?[\x01q]'
printf '%s\n' \
  "full: [2!] 'A' 'B'{0,1} set'\\x01Q'" \
  "reduced: [2!] 'A' 'B'{0,1} set'\\x01Q'" \
  'text: Succes apres AB?[\x01Q]' >../want
sed 1d ../all | diff ../want - || fail 'a pattern, shown'
grep -q '^figures: minLength=2 .* caseMask=DF ' ../all || fail 'figures'
want_error "quaymarsh: regex: code 9: Contenu d'accolade invalide { } apres xa\n"
expect 'refused' 65 'xa{3,2}' /nonexistent
want_error 'quaymarsh: regex: code 8: Crochet manquant ] apres \n'
expect 'a bracket in front' 65 '[a'
expect 'a dash in front' 0 -- -a

# ---- Subjects

printf 'xab\r\n\nb\001' >mail
want '%s\n' "mail: (1,3)'ab' (1,2)'a' - (2,3)'b'"
expect 'captures' 0 '(a)(?:(z)|)(b)' mail
want "mail: no match\n"
expect 'no match' 0 'zz' mail
want "%s\n" "mail:1: (2,3)'b'" "mail:3: (0,1)'b'" '-: no match'
printf 'a\n' >../stdin
expect 'lines' 0 --lines b mail - <../stdin
want '%s\n' "mail:3: (0,2)'b\\x01'"
expect 'the end of a line' 0 --lines 'b[^b]$' mail
printf 'xb' >mail
want '%s\n' "mail: (0,2)'xb' -" 'mail: a match with captures only'
expect 'two answers' 0 'x(a)*?b' mail
want_error 'quaymarsh: nowhere: No such file or directory\n'
want '%s\n' "mail: (0,1)'x'"
expect 'a missing file' 66 x nowhere mail
want_error 'quaymarsh: mail: %s captures: gave up with code 10\n' with without
expect 'round and round' 71 'x(a*)*y' mail

finish
