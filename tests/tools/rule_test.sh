#!/bin/sh
# quaymarsh rule: every example of doc/rule-language.md, on the message at the
# end of that page; what -v shows, warnings, exit codes, dictionaries. Needs
# QM_CLI and QM_KWC, or the programs as arguments.
cli=${QM_CLI:-$1}
kwc=${QM_KWC:-$2}
page=${QM_SOURCE_DIR:-.}/doc/rule-language.md
case $page in /*) ;; *) page=$PWD/$page ;; esac
command=rule
. "${0%/*}/../expect.sh"

# ---- The page. In a table "|" is written "\|".

sed '1,/^## The message of the examples$/d; s/^    //' "$page" | sed 1d >m
# Rows `EXPRESSION` | COUNT, and those of fields that are filled.
bar() { sed 's/\\|/|/g'; }
sed -n 's/^| `\(.*\)` | \([0-9][0-9]*\) | .*|$/\2 \1/p' "$page" | bar >rows
sed -n 's/^| [0-9]* | `[^`]*` | .* | `\(.*\)` |$/\1/p' "$page" | bar >fields
# told COUNT OPTION EXPRESSION
told() {
  # shellcheck disable=SC2086
  answer=$("$cli" rule $2 -- "$3" m 2>/dev/null)
  [ "$answer" = "m: $1" ] || fail "$3: $answer, not $1"
}
while IFS= read -r row; do
  told "${row%% *}" --count "${row#* }"
done <rows
while IFS= read -r row; do
  told 1 '' "$row"
done <fields
[ "$(wc -l <rows)" -gt 70 ] || fail 'the page has lost its examples'
[ "$(wc -l <fields)" -gt 60 ] || fail 'the page has lost its fields'
# All names are there, under their numbers.
"$cli" fields m | sed -n 's/^\([0-9][0-9]*\) \([@A-Za-z0-9]*\).*/\1 \2/p' |
  uniq | sed 's/@Hdr/@Name/' >names
sed -n 's/^| \([0-9]*\)\*\{0,1\} | `\([^`]*\)` .*/\1 \2/p' "$page" |
  diff names - || fail 'names of fields differ'

# ---- What is shown

cat >two <<'END'
From a@b.example Mon Mar  2 10:00:00 2026
Subject: one
From: a@b.example

hello

From a@b.example Mon Mar  2 10:00:00 2026
Subject: two
X-Binary: a	b

x
END
expect 'steps' 0 -v '(Lines[0]<>x)&((Subject=one)|(Subject=two))|(Id=x)' two \
  <<'END'
two:1: 1
  Lines[0]<>x: 1, 1 of 1 count
    + 0 'hello'
  Subject=one: 1, 1 of 1 count
    + 0 'one'
  ends with 1, one is enough, ahead of 'Subject=two'
  ends with 1, one is enough, ahead of 'Id=x'
two:2: 0
  Lines[0]<>x: 0, 0 of 1 count
    - 0 'x'
  ends with 0, not all can hold, ahead of '(Subject=one)|(Subject=two)'
END
expect 'elements' 0 -v --count '3>sort(@ALL[1,7])!=Z' two <<'END'
two:1: 1
  3>sort(@ALL[1,7])!=Z: 1, 1 of 2 count
      0 'Subject: one'
    + 1 'From: a@b.example'
  ends with 1, all read
two:2: 1
  3>sort(@ALL[1,7])!=Z: 1, 1 of 2 count
      0 'Subject: two'
    + 1 'X-Binary: a\x09b'
  ends with 1, all read
END
# Long elements are cut, and of many those that count are shown.
{
  echo
  i=0
  while [ $i -lt 60 ]; do
    printf 'line %d%0200d\n' $i 0
    i=$((i + 1))
  done
} >long
"$cli" rule -v --count 'Lines=line (3|59)0' long >out
[ "$(sed -n 2p out)" = '  Lines=line (3|59)0: 3, 3 of 60 count' ] ||
  fail "many elements: $(sed -n 2p out)"
grep -q "^    + 30 'line 300*'\.\.\.\$" out || fail 'an element that counts'
grep -q '^      (38 more)$' out || fail 'elements that are left out'
[ "$(wc -c <out)" -lt 3500 ] || fail 'elements are not cut'

# ---- Warnings

cat >warnings <<'END'
quaymarsh: rule: warning: there is no such field, so it has no elements: 'Urls'
quaymarsh: rule: warning: the pattern does not compile (Crochet manquant ] apres ): '[a'
quaymarsh: rule: warning: there is no such section with an index: 'No'
quaymarsh: rule: warning: there is no such function, so the elements stay: 'up(Id)=x'
quaymarsh: rule: warning: no leaf: count field operator value: 'Id'
quaymarsh: rule: warning: a joiner needs a ( behind it: '+x'
END
"$cli" rule '(Urls=x)|(Id=[a)|(Id$=No)|(up(Id)=x)|(Id)|((Id=x)+x)' m 2>err >out
diff warnings err || fail 'warnings'
expect 'nothing closed' 0 '((Id=.)' m <<'END'
m: 0
quaymarsh: rule: warning: a ( without its ): '((Id=.)'
END
expect 'no rule' 0 'name:' m <<'END'
m: 0
quaymarsh: rule: warning: the rule is empty: 'name:'
END

# ---- Dictionaries and errors

printf '%s\n' '[#param]' 'version=1' '[$Mine]' 'joe@mail.example' >d.kws
"$kwc" -o d.kwo d.kws || fail 'a dictionary'
expect 'own sections' 0 --keywords d.kwo 'To$=mine' m <<'END'
m: 1
END
expect 'a fixed clock' 0 --now 1772442000 'Profil=^09:Mon$' m <<'END'
m: 1
END
expect 'no dictionary' 78 --keywords none 'To=.' m <<'END'
quaymarsh: none: cannot load the dictionary
END
expect 'no message' 66 'To=.' none m <<'END'
m: 1
quaymarsh: none: No such file or directory
END
"$cli" rule 'To=.' >out 2>&1
[ $? -eq 64 ] || fail 'no file'

finish
