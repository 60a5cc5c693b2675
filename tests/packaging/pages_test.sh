#!/bin/sh
# The manual pages and the completion tell what the programs tell of themselves:
# every subcommand and option of --help, every function, constant and field of
# the header. The pages are well formed, and what they show as an example works.
top=$QM_SOURCE_DIR
. "${0%/*}/../expect.sh"
LC_ALL=C.UTF-8

# A page on stdin without markup, words set apart by one blank each.
text() {
  mandoc -T ascii | sed "s,.$(printf '\b'),,g" | tr -s ' \n' ' '
}

# has PAGE WORD...: the page shows each word, standing alone.
has() {
  page=$1
  shift
  for word; do
    grep -qE -e "(^|[^A-Za-z0-9_-])$word([^A-Za-z0-9_-]|\$)" "$page" ||
      fail "$page does not tell of $word"
  done
}

# complete WORD...: what bash offers to complete the last one, sorted.
cat >ask <<END
. "$top/packaging/completion/quaymarsh"
COMP_WORDS=("\$@")
COMP_CWORD=\$((\$# - 1))
_\${1} 2>/dev/null
printf '%s\n' "\${COMPREPLY[@]}"
END
complete() {
  bash ask "$@" | sed '/^$/d' | sort -u
}

# ---- The pages

for page in quaymarsh.1 qmkwc.1 quaymarsh.3 quaymarsh.5; do
  # Pages that are not installed here are no fault of it.
  mandoc -T lint -W style "$top/man/$page" |
    grep -v 'referenced manual not found' >said
  [ -s said ] && fail "$(cat said)"
  text <"$top/man/$page" >"$page"
done

# ---- Subcommands and options

# Options of a help text on stdin, a line each.
options() {
  sed -n 's/^  \(-[^ ]*\).*/\1/p' | tr ',' '\n' | sort -u
}

# What stands behind "Subcommands:", first words.
subcommands() {
  sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'
}

"$QM_CLI" --help >help
commands=$(subcommands <help)
[ "$(echo "$commands" | wc -l)" -gt 8 ] || fail 'there are too few subcommands'
complete quaymarsh '' >offered
echo "$commands" | sort | diff - offered || fail 'subcommands are not offered'
count=0
for command in '' $commands 'corpus diff'; do
  # shellcheck disable=SC2086
  "$QM_CLI" $command --help >help
  options <help >told
  # Its own section has its options, but for -h and what all have.
  page=$top/man/quaymarsh.1
  { head -n 3 "$page" && echo .Sh DESCRIPTION &&
    sed -n "/^\.Ss ${command% diff}\$/,/^\.Sh/p" "$page" |
    sed '2,${ /^\.S[sh] /,$d }'; } | text >section
  [ -n "$command" ] || cp quaymarsh.1 section
  # shellcheck disable=SC2046
  has section ${command#corpus } $(grep -vx -e -h -e --help told)
  # shellcheck disable=SC2086
  complete quaymarsh $command - >offered
  diff told offered || fail "options of '$command' are not offered"
  count=$((count + $(wc -l <told)))
done
[ $count -gt 50 ] || fail "only $count options were read"

"$QM_KWC" 2>help
options <help >told
# shellcheck disable=SC2046
has qmkwc.1 $(cat told)
complete qmkwc - | diff told - || fail 'options of qmkwc are not offered'

# ---- Values and files

# offered WHAT WORD...: compares what is offered, on one line, with stdin.
offered() {
  complete "$@" | xargs -rd '\n' >is
  diff - is || fail "offered behind $*"
}
mkdir folder
touch a.eml d.kwo s.kws 'with blank.eml'
offered quaymarsh scan --check vi <<'END'
virus
END
offered quaymarsh fields --now '' </dev/null
offered quaymarsh scan --keywords '' <<'END'
d.kwo folder
END
offered quaymarsh lint '' <<'END'
folder s.kws
END
offered quaymarsh scan w <<'END'
with blank.eml
END
offered quaymarsh corpus d <<'END'
diff
END
offered qmkwc -o x.kwo s <<'END'
s.kws
END
# As bash loads it, for the second program by its own file.
bash -c '. "$1/qmkwc" && complete -p qmkwc' - "$top/packaging/completion" \
  >is || fail 'completion of qmkwc does not load'

# ---- The header

header=$top/src/api/quaymarsh.h
# shellcheck disable=SC2046
has quaymarsh.3 $(sed -n 's/^ *\([A-Za-z]*\);$/\1/p' \
  "$top/src/api/quaymarsh.map") \
  $(sed -n 's/^#define \(QM_[A-Z0-9_]*\) .*[0-9].*/\1/p' "$header") \
  $(sed 's/.*\.//; s/ .*//' "$top/tests/packaging/layout32.txt")

# ---- The example of the source language compiles, and so does its patch

sed -n '/^\.Sh EXAMPLES/,$p' "$top/man/quaymarsh.5" | sed 's/\\e/\\/g' >examples
awk '/^\.Bd/ { n++; in_it = 1; next } /^\.Ed/ { in_it = 0 }
  in_it { print > ("example" n ".kws") }' examples
"$QM_KWC" -o one.kwo example1.kws || fail 'the example does not compile'
"$QM_KWC" --patch -o two.kwo example2.kws || fail 'its patch does not compile'
echo "$work/two.kwo" >list
"$QM_CLI" dict one.kwo --patches list --find Greetings 'valued customer x' \
  >found && grep -q '^found' found || fail 'the patch does not apply'

finish
