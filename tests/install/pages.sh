# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# The commands of the pages, for the scripts that run them. They stand in blocks that begin with ```sh. A block may begin with
# a comment that says who runs it, "# run by tests/install/installed_tree.sh, ...", or why nobody does, "# not run in tests: ...".

# commands_of PAGE [SCRIPT]: the commands of the blocks that a script runs; without one, of those that say nothing. Behind
# each block, what was started in the background ends.
commands_of() {
  awk -v script="${2:-}" '/^```sh$/ { inside = 1; first = 1; next }
    /^```/ { if (inside && mine) print "end_background"; inside = 0 }
    inside && first {
      mine = script == "" ? $0 !~ /^# (not run in tests: .|run by )/ : index($0, "# run by " script) == 1
      first = 0
    }
    inside && mine { print }' "$1"
}

# What commands of the pages need around them. A watch without an end is interrupted. What is watched, or what a new object
# needs, may have been started in the background, and come a moment later.
pages_prelude() {
  cat <<'END'
set -euo pipefail
mathctl() {
  local limit=60 tries=0 most=0
  case " $* " in *" -n "* | *" --for "*) ;; " watch "* | " top "*) limit=2 ;; esac
  case $1 in create | watch) most=40 ;; esac
  if [ "$most" = 0 ] && [ "$BASHPID" != "$$" ]; then exec timeout --preserve-status --signal=INT "$limit" mathctl "$@"; fi
  until timeout --preserve-status --signal=INT "$limit" mathctl "$@"; do
    ((tries++ < most)) || return 1
    sleep 0.5
  done
}
end_background() {
  local ids
  ids=$(jobs -p)
  [ -z "$ids" ] || kill $ids 2>/dev/null || true  # some may have ended
  wait || true
}
END
}
