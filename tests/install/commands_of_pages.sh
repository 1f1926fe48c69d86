#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the commands of the pages. They stand in blocks that begin with ```sh; those of one page run one after another in one
# shell, with the programs of an installed tree, and on a platform with the probe where the page starts none. A block whose
# first line begins with "# not run in tests:" is left out, and the line says why. A watch without an end is interrupted.
# Usage: commands_of_pages.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
make_private_directory lumenar-pages
work=$private_directory
tree=$work/tree
clean_up() {
  trap '' INT TERM HUP PIPE
  local directory
  for directory in "$work"/*.platform; do "$tree/bin/lumenar" down --dir "$directory" >/dev/null 2>&1 || true; done
  rm -rf -- "$private_directory"
}
clean_up_at_end
unset LUMENAR_NAMING LUMENAR_TRANSPORT_CONF
fail() { echo "$1" >&2; exit 1; }

commands_of() {
  awk '/^```sh$/ { inside = 1; first = 1; next }
    /^```/ { inside = 0 }
    inside && first { skip = ($0 ~ /^# not run in tests: ./); first = 0 }
    inside && !skip { print }' "$1"
}

# Commands that no block holds would not be seen.
programs='mathctl [a-z]|lumenar [a-z]|engine_host |topic_manager --|hw_enumeration --|scripts/[a-z]|cmake |systemctl |apt '
outside=$(awk -v programs="^ *($programs)" '/^```/ { block = block == "" ? $0 : ""; next }
  block != "```sh" && $0 ~ programs && (block != "" || /^    /) { print FILENAME ":" FNR ": " $0 }' \
  "$source"/README.md "$source"/docs/*.md "$source"/tools/mathctl/README.md)
[ -z "$outside" ] || fail "commands outside of a block that begins with \`\`\`sh: $outside"

step "$work/install.log" cmake --install "$build" --prefix "$tree"

cat >"$work/prelude" <<'END'
set -euo pipefail
mathctl() {
  local limit=60
  case " $* " in *" -n "* | *" --for "*) ;; " watch "* | " top "*) limit=2 ;; esac
  timeout --preserve-status --signal=INT "$limit" mathctl "$@"
}
END

run_page() {
  local page=$1 name directory
  name=$(basename "$(dirname "$page")")_$(basename "$page" .md)
  directory=$work/$name
  mkdir -p "$directory/scripts"
  ln -s "$tree/bin/lumenar" "$directory/scripts/platform"
  cat "$work/prelude" >"$directory.sh"
  export LUMENAR_DIR=$directory.platform
  if ! grep -q -e '^lumenar up' -e '^scripts/platform up' "$directory.commands"; then
    "$tree/bin/lumenar" up --probe >"$directory.up" || fail "$page: $(cat "$directory.up")"
    "$tree/bin/lumenar" env >>"$directory.sh"
  fi
  { echo 'set -x'; cat "$directory.commands"; } >>"$directory.sh"
  (cd "$directory" && PATH=$tree/bin:$PATH bash "$directory.sh") >"$directory.log" 2>&1 ||
    { tail -n 20 "$directory.log" >&2; fail "$page: a command failed"; }
  "$tree/bin/lumenar" down >"$directory.down" 2>&1
  echo "$page: $(grep -c -v '^ *$' "$directory.commands") lines"
}

cd "$source"
count=0
for page in README.md docs/*.md tools/mathctl/README.md; do
  name=$(basename "$(dirname "$page")")_$(basename "$page" .md)
  commands_of "$page" >"$work/$name.commands"
  [ -s "$work/$name.commands" ] || continue
  run_page "$page"
  count=$((count + 1))
done
[ "$count" -ge 3 ] || fail "commands were found on $count pages alone"
