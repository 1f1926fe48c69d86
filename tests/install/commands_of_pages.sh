#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the commands of the pages (pages.sh): those of one page one after another in one shell, with the programs of an
# installed tree, and on a platform with the probe where the page starts none. What another script runs, or nobody, is left out.
# Usage: commands_of_pages.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
# shellcheck source=tests/install/pages.sh
. "$source/tests/install/pages.sh"
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

# Commands that no block holds would not be seen. Those of a quoted example run with it.
programs='mathctl [a-z]|lumenar [a-z]|engine_host |topic_manager --|hw_enumeration --|scripts/[a-z]|cmake |systemctl |apt '
outside=$(awk -v programs="^ *($programs)" '/^```/ { block = block == "" ? $0 : ""; next }
  block ~ /^```[a-z]+ examples\// { next }
  block != "```sh" && $0 ~ programs && (block != "" || /^    /) { print FILENAME ":" FNR ": " $0 }' \
  "$source"/README.md "$source"/docs/*.md "$source"/tools/mathctl/README.md)
[ -z "$outside" ] || fail "commands outside of a block that begins with \`\`\`sh: $outside"

# A script that is named does look at the page.
while IFS=: read -r page _ mark; do
  script=${mark#\# run by }
  script=${script%%,*}
  grep -q -F "$page" "$source/$script" || fail "$page: is not run by $script"
done < <(cd "$source" && grep -n '^# run by ' README.md docs/*.md tools/mathctl/README.md)

step "$work/install.log" cmake --install "$build" --prefix "$tree"

# start_platform PAGE DIRECTORY: with the probe, and for the page on network analysers what serves as one.
start_platform() {
  local page=$1 directory=$2 instruments=(--probe)
  if [ "$page" = docs/normalise.md ]; then
    printf '%s\n' x-axis,1 Hz,dB 1e9,-0.1 2e9,-0.3 3e9,-0.2 >"$directory/S21.csv"
    cp "$source/tests/data/recordings/two_port.s2p" "$directory/device.s2p"
    cp "$directory/device.s2p" "$directory/through.s2p"
    instruments+=(--replay "$directory/S21.csv")
  fi
  REPLAY_ENGINE=VNA "$tree/bin/lumenar" up "${instruments[@]}" >"$directory.up" || fail "$page: $(cat "$directory.up")"
  "$tree/bin/lumenar" env >>"$directory.sh"
}

run_page() {
  local page=$1 name directory
  name=$(basename "$(dirname "$page")")_$(basename "$page" .md)
  directory=$work/$name
  mkdir -p "$directory/scripts"
  ln -s "$tree/bin/lumenar" "$directory/scripts/platform"
  ln -s "$tree/share/doc/lumenar/examples" "$directory/examples"
  pages_prelude >"$directory.sh"
  export LUMENAR_DIR=$directory.platform
  if ! grep -q -e '^lumenar up' -e '^scripts/platform up' "$directory.commands"; then
    start_platform "$page" "$directory"
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
