#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What the pages quote of examples/ is what stands there, to the letter, and each example is quoted; a notebook, or what another
# program reads, is named. A quote is a block that begins with ``` and names its file: ```cpp examples/NAME. Usage: quoted_examples.sh SOURCE_DIRECTORY
set -euo pipefail
cd "$1"

quoted() { sed -n "/^\`\`\`[a-z]* ${2//\//\\/}\$/,/^\`\`\`\$/p" "$1" | sed '1d;$d'; }

status=0
mapfile -t examples < <(find examples -type f | sort)
for example in "${examples[@]}"; do
  if [[ $example = *.ipynb || $example = *.yml ]]; then
    grep -q -F "$example" docs/*.md || { echo "$example: no page names it"; status=1; }
    continue
  fi
  pages=$(grep -l "^\`\`\`[a-z]* $example\$" docs/*.md || true)
  [ -n "$pages" ] || { echo "$example: no page quotes it"; status=1; }
  for page in $pages; do
    quoted "$page" "$example" | diff "$example" - || { echo "$page: quotes $example wrongly"; status=1; }
  done
done
exit "$status"
