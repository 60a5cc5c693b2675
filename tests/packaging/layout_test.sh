#!/bin/sh
# The records lie in memory as hosts were compiled for: as the committed
# layout32.txt or layout64.txt says. A difference breaks every host there is.
set -eu
cd "$QM_SOURCE_DIR/tests/packaging"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck disable=SC2086
$QM_CC -std=c89 -pedantic -Wall -Wextra -Werror -I"$QM_SOURCE_DIR/src/api" \
  -o "$work/layout" record_layout.c
"$work/layout" >"$work/is"
diff "layout$QM_BITS.txt" "$work/is"
echo "$(wc -l <"$work/is") sizes and fields lie where they did"
