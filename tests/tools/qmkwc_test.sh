#!/bin/sh
# qmkwc and quaymarsh dict: messages with their places, exit codes, the same
# bytes in every run, patches. Needs QM_KWC and QM_CLI.
kwc=${QM_KWC:-$1}
cli=${QM_CLI:-$2}
sources=${QM_SOURCE_DIR:-.}/dictionary
case $sources in /*) ;; *) sources=$PWD/$sources ;; esac
. "${0%/*}/../expect.sh"

# source NAME LINE...: writes a source.
source_file() {
  name=$1
  shift
  printf '%s\n' "$@" >"$name"
}

# ---- Places of errors and warnings

source_file head.kws '[#param]' 'version=1.2'
source_file bad.kws 'outside' '[^R]' '<5>n: (Url=a)&( Bogus[0]=x)' \
  '  n2: (cvd(Url)=[a)' 'x: (Url=a' 'x: Url#=a' '[$H]' '<3>x.y' 'X.y' \
  '[P]' '(=)<5>viagra|cialis' '+|' '[!B]' 'a\;x{3,2} ; c' '[:N]' 'ab' \
  '[a|b]' 'c' '[+#Q]' '++a' '[#param]' 'x' '[' '[%L]' '65,"a'
expect 'a source of errors' 1 "$kwc" -o x.kwo head.kws bad.kws <<'END'
bad.kws:1:1: a line outside of a section
bad.kws:19:2: patch sections need --patch
bad.kws:23:2: a section's name ends with ]
bad.kws:3:17: warning: unknown field: it never has a value
bad.kws:4:17: Crochet manquant ] apres 
bad.kws:5:4: a part of the rule is not in balanced parentheses
bad.kws:6:7: no leaf of a rule: a field, one of = <> == !=, a value
bad.kws:4:3: warning: the line has no score, in a section that scores
bad.kws:5:1: warning: the line has no score, in a section that scores
bad.kws:6:1: warning: the line has no score, in a section that scores
bad.kws:9:1: warning: the line stands already at line 8
bad.kws:9:1: warning: the line has no score, in a section that scores
bad.kws:14:1: Contenu d'accolade invalide { } apres a;x
bad.kws:16:1: the line needs name:pattern
bad.kws:17:3: the section cannot be found by a name with this byte
bad.kws:23:2: a section has no name
bad.kws:23:1: warning: the section has no lines
bad.kws:12:1: the line has no word
bad.kws:21:1: the section is there already
bad.kws:25:4: neither a quoted text nor a byte
END
[ -e x.kwo ] && fail 'an image of a faulty source'

tab=$(printf '\t')
deep=$(printf '(%.0s' $(seq 65))Url=x$(printf ')%.0s' $(seq 65))
source_file rules.kws '[^R]' '(Url=a)(Url=b)' '(Url=a)&b' '()' 'n:' "$deep" \
  '(Url=a)Url=b' 'foo(Url[x])=a' 'len(Url[ -1 , 2 ])=a' '2<Url~=a' \
  'Url$=S' 'Url$=none' '@S: Url=a~(' '[$S]' 'x' '[#T]' 'y' '[^U]' 'Url$=T'
expect 'rules' 1 "$kwc" -o x.kwo head.kws rules.kws <<'END'
rules.kws:3:8: a part in parentheses must stand behind & | or +
rules.kws:4:2: empty part
rules.kws:5:3: the rule has no expression
rules.kws:6:65: too many parentheses within parentheses
rules.kws:7:8: warning: what stands in front has no effect: join parts in parentheses by & | or +
rules.kws:8:1: warning: unknown function: the field is taken as it is
rules.kws:8:5: warning: no index: [i] or [i,j] with whole numbers
rules.kws:10:3: warning: unknown field: it never has a value
rules.kws:12:6: warning: no section of this name
rules.kws:13:11: Parenthese manquante ) apres (
rules.kws:19:6: warning: only sections [$...] and [*...] can be asked so
END
source_file odd.kws '[P]' '(=)<5>viagra|cialis' 'abc|*def' 'a? b|ab' '-foo' \
  "buy${tab}now" '<30>(=)x' '*x|y' '[*D]' '<1>Ab.net' 'X@b.net' '[@E]' \
  '<1>x' 'b.NET' '[%L]' '<1>""' '[&A]' 'p' 'none' '[&B]' 'D' '[Q]' \
  'c|\? b'
expect 'warnings' 0 "$kwc" -o odd.kwo head.kws odd.kws <<'END'
odd.kws:7:5: warning: options stand in front of the score; here they are a word
odd.kws:10:4: warning: a domain with a capital is never found: the digest tells case
odd.kws:13:1: warning: this section has no scores: what looks like one is digested with the line
odd.kws:14:3: warning: a domain with a capital is never found: the digest tells case
odd.kws:19:1: warning: no section of this name
odd.kws:2:14: warning: the line is not looked up by the first byte of this word: give it a line of its own
odd.kws:3:5: warning: the line is not looked up by the first byte of this word: give it a line of its own
odd.kws:4:4: warning: the line is not looked up by the first byte of this word: give it a line of its own
odd.kws:5:1: warning: no word is looked up by a sign in front
odd.kws:16:4: warning: the line makes no bytes
odd.kws:23:3: warning: the line is not looked up by the first byte of this word: give it a line of its own
END
expect 'words' 0 "$cli" dict odd.kwo --find P 'NOW, abc; buy now (v1agra)' <<'END'
found: score 5: viagra|cialis
found: score 100: abc|*def
found: score 100: buy now
END
expect 'no words' 0 "$cli" dict odd.kwo --find P 'cialis' <<'END'
not found
END
expect 'bytes' 65 "$cli" dict odd.kwo --find L x <<'END'
quaymarsh: dict: L: a section of literals cannot be asked for a text
END

# ---- The preprocessor

mkdir sub
source_file main.kws '$IfDef A ; comment' 'lost' '$include nothing' '$endif' \
  '$ifndef A' '$set v=1' '$include sub\one.kws' '$endif' '[#S]' ' $ifdef' \
  ' [x' 'a;b' 'c\;d' '$ifdefx' '' ' ; only'
source_file sub/one.kws '$define B' '$include ../two.kws'
source_file two.kws '$ifdef B' '[#T]' 'two' '$undef B' '$ifdef B' 'x' '$endif' \
  '$endif'
expect 'a good source' 0 "$kwc" -o good.kwo head.kws main.kws </dev/null
expect 'its image' 0 "$cli" dict good.kwo --name param --name SOURCES <<'END'
version 1.2: 487 bytes, 4 sections, 11 lines
[param] strings: 1
  <0>version=1.2
[SOURCES] strings: 4
  <0>head.kws
  <0>main.kws
  <0>one.kws
  <0>two.kws
[e358efa489f58062f10dd7316b65649e] strings: 1
  <0>two
[03c7c0ace395d80182db07ae2c30f034] strings: 5
  <0>$ifdef
  <0>[x
  <0>a
  <0>c;d
  <0>$ifdefx
END
expect 'a defined name' 1 "$kwc" -D A -o x.kwo main.kws <<'END'
main.kws:3:10: cannot read the file
END
for row in '$ifdef A:1:1: $ifdef without $endif' \
  '$endif:1:1: $endif without $ifdef' '$include x:1:10: cannot read the file' \
  '$define:1:8: the directive needs a name' '$set =a:1:6: $set needs NAME=VALUE'
do
  source_file one.kws "${row%%:*}"
  printf 'one.kws:%s\n' "${row#*:}" |
    expect "$row" 1 "$kwc" -o x.kwo one.kws
done
source_file self.kws '$include self.kws'
printf 'self.kws:1:10: files include each other too deeply\n' |
  expect 'itself' 1 "$kwc" -o x.kwo self.kws
for i in 1 2 3 4 5; do
  for k in 1 2 3 4 5 6; do echo "\$include f$((i + 1)).kws"; done >f$i.kws
done
: >f6.kws
printf 'f5.kws:4:10: too many files are included\n' |
  expect 'files by the thousand' 1 "$kwc" -o x.kwo head.kws f1.kws
source_file twice.kws '$include head.kws' '$include sub/../f6.kws' \
  '$include ./f6.kws'
"$kwc" -o x.kwo twice.kws
expect 'each source once' 0 "$cli" dict x.kwo --find sources f6.kws <<'END'
found: score 0: f6.kws
END
"$cli" dict x.kwo | grep -c 'f6.kws' | diff - /dev/fd/3 3<<'END' || fail 'twice'
1
END
"$kwc" -o x.kwo 2>err
[ $? -eq 64 ] || fail 'no source'

# ---- Our own sources: without a message, and the same in every run

expect 'the dictionary' 0 "$kwc" -o one.kwo "$sources"/*.kws </dev/null
"$kwc" -o two.kwo "$sources"/*.kws && cmp one.kwo two.kwo ||
  fail 'two runs differ'
expect 'a name' 0 "$cli" dict one.kwo --find emailnames John <<'END'
found: score 0: john
END
expect 'no name' 0 "$cli" dict --find EmailNames zzz <<'END'
not found
END
expect 'a charset' 0 "$cli" dict --find EasternCharset KOI8-R <<'END'
found: score 20: Cyrillic|koi8*
END
expect 'a field' 0 "$cli" dict --find HdrFieldNames subject <<'END'
found: S
END
expect 'no section' 65 "$cli" dict --find Nowhere x <<'END'
quaymarsh: dict: Nowhere: no such section
END

# ---- Patches

version=$("$cli" dict | sed -n '1s/^version \([^:]*\):.*/\1/p')
source_file p.kws '[+$EmailNames]' '-john' '++zzz' '[+#param]' \
  "--version=$version" '++version=9'
source_file q.kws '[+$EmailNames]' '-not there'
"$kwc" --patch -o p.kwo p.kws || fail 'a patch'
"$kwc" --patch -o q.kwo q.kws || fail 'another patch'
echo p.kwo >list
expect 'a patched name' 0 "$cli" dict --patches list --find EmailNames zzz <<'END'
found: score 0: zzz
END
"$cli" dict --patches list | sed -n '1s/:.*//p' >out
[ "$(cat out)" = 'version 9' ] || fail 'a patched version'
echo q.kwo >>list
expect 'a patch that fails' 78 "$cli" dict --patches list --name EmailNames <<'END'
quaymarsh: dict: q.kwo: section EmailNames, line 1: the section has no such line
END
source_file r.kws '[#Param]' 'version=1'
expect 'a patch that is none' 0 "$kwc" --patch -o r.kwo r.kws <<'END'
r.kws:1:1: warning: every dictionary has this section: patch it by [+...], or no merge takes the image
END
head -c 100 one.kwo >cut.kwo
expect 'a cut image' 78 "$cli" dict cut.kwo <<'END'
quaymarsh: dict: cut.kwo: the image is cut off or damaged
quaymarsh: dict: as a patch it is passed over; a scan that is given it reads 2 sections, 0 lines
END

finish
