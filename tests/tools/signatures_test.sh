#!/bin/sh
# The examples of doc/signatures.md: each row of a value and its signature is a
# message of its own, the rest is about the message at the end of that page.
# Needs QM_CLI, or the program as argument.
cli=${QM_CLI:-$1}
page=${QM_SOURCE_DIR:-.}/doc/signatures.md
case $page in /*) ;; *) page=$PWD/$page ;; esac
. "${0%/*}/../expect.sh"

# Writes a message for each row, and the rows as FILE, field and value. A table
# begins with a row of two names of fields, or of "Field" and "Value".
sed '1,/^## The message of the examples$/d; s/^    //' "$page" | sed 1d >whole
sed '/^## The message of the examples$/,$d' "$page" | awk '
  function cell(n) {
    text = cells[n]
    gsub(/^ *`|` *$/, "", text)
    gsub(/\\[|]/, "|", text)
    return text
  }
  !/^[|]/ { table = "" }
  !/^[|]/ || /^[|]-/ { next }
  {
    line = $0
    gsub(/\\[|]/, "\001", line)
    count = split(line, cells, " [|] |^[|] | [|]$")
    for (i = 1; i <= count; i++) gsub("\001", "|", cells[i])
  }
  table == "" {
    table = "other"
    if (cells[2] ~ /^`[A-Z]/ && cells[3] ~ /^`Adn/) {
      table = "values"
      from = cell(2)
      field = cell(3)
    }
    if (cells[2] == "Field" && cells[3] == "Value") table = "whole"
    next
  }
  table == "whole" { print "whole", cell(2), cell(3) }
  table == "values" {
    file = sprintf("m%03d", ++messages)
    print file, field, cell(3)
    value = cell(2)
    text = "text"
    id = "12@mail.example"
    type = "text/plain"
    extra = ""
    if (from == "Id") id = value
    else if (from == "Bound") type = "multipart/mixed; boundary=\"" value "\""
    else if (from == "Filename") type = "image/png; name=\"" value "\""
    else if (from == "Content" || from == "Url") text = value
    else extra = from ": " value "\n"
    printf "%sMessage-ID: <%s>\nDate: Wed, 14 Nov 2007 06:30:00 +0000\n" \
           "Content-Type: %s\n\n%s\n", extra, id, type, text >file
    close(file)
  }' >rows
[ "$(wc -l <rows)" -gt 60 ] || { echo 'the page has lost its examples'; exit 1; }

# "FILE FIELD VALUE" of all messages.
"$cli" fields m* whole | awk '
  /^file: / { file = $2; next }
  match($0, /^[0-9]+ [A-Za-z0-9]+: /) {
    name = substr($0, 1, RLENGTH - 2)
    sub(/^[0-9]+ /, "", name)
    print file, name, substr($0, RLENGTH + 1)
  }' >shown
status=0
while IFS= read -r row; do
  grep -qxF -- "$row" shown && continue
  status=1
  name=${row#* }
  echo "told: $row"
  echo "is:   $(grep "^${row%% *} ${name%% *} " shown)"
done <rows
exit $status
