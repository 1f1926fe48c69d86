# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# For scripts that start processes and must leave none behind. To be sourced, with `set -euo pipefail`.

private_directory=

# Ends one process: SIGTERM, then SIGKILL after 5 s. A process that leads a group of its own goes with its group.
end_process() {
  local id=$1 signal i
  for signal in TERM KILL; do
    kill -"$signal" -- "-$id" 2>/dev/null || true
    kill -"$signal" "$id" 2>/dev/null || true
    for ((i = 0; i < 100; i++)); do
      kill -0 "$id" 2>/dev/null || kill -0 -- "-$id" 2>/dev/null || break 2
      sleep 0.05
    done
  done
  wait "$id" 2>/dev/null || true
}

# Ends everything that was started, the last first, and removes the private directory.
clean_up() {
  trap '' INT TERM HUP PIPE
  local ids i
  mapfile -t ids <<<"$(jobs -p)"  # the shell knows its processes from the moment they exist
  for ((i = ${#ids[@]} - 1; i >= 0; i--)); do
    if [ -n "${ids[i]}" ]; then end_process "${ids[i]}"; fi
  done
  if [ -n "$private_directory" ]; then rm -rf -- "$private_directory"; fi
}

# From here on, whatever ends the script cleans up.
clean_up_at_end() {
  trap clean_up EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 141' PIPE
  trap 'exit 143' TERM
}

# A new directory that goes with the script; its name stands in $private_directory before it exists, so that no moment is
# left in which it could be forgotten.
make_private_directory() {
  private_directory=${TMPDIR:-/tmp}/$1-$$-$RANDOM$RANDOM
  mkdir -m 700 -- "$private_directory" || { private_directory=; return 1; }
}

# start LOG COMMAND...: starts a process in the background; its id is in $!.
start() {
  local log=$1
  shift
  "$@" >"$log" 2>&1 &
}

# step LOG COMMAND...: runs a command that takes long, in a group of its own. Unlike for a command in the foreground, a
# signal to the script ends it at once.
step() {
  local log=$1
  shift
  setsid "$@" >"$log" 2>&1 &
  if wait "$!"; then return 0; fi
  tail -n 40 "$log" >&2
  return 1
}

# step_with_progress LOG COMMAND...: as step, for a build; shows how far it is, on a terminal in place.
step_with_progress() {
  local log=$1 end=$'\n' shown='' now
  shift
  [ ! -t 1 ] || end=$'\r'
  setsid "$@" >"$log" 2>&1 &
  local build=$! pause=10
  [ ! -t 1 ] || pause=1
  while kill -0 "$build" 2>/dev/null; do
    now=$(grep -o '^\[[0-9]*/[0-9]*\]' "$log" | tail -n 1) || true
    [ "$now" = "$shown" ] || printf '  %s%s' "$now" "$end"
    shown=$now
    sleep "$pause" &  # so that a signal ends the wait at once
    wait -n "$build" $! 2>/dev/null || true
  done
  [ ! -t 1 ] || echo
  if wait "$build"; then return 0; fi
  tail -n 40 "$log" >&2
  return 1
}

# What the demo needs of the build.
# shellcheck disable=SC2034
demo_targets=(engine_host topic_manager hw_enumeration math_factory_hh lumenar_probe lumenar_replay mathctl)

# until_true SECONDS COMMAND...: repeats a quiet command until it succeeds; fails after the time.
until_true() {
  local end=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.05
  done
}

# until_line SECONDS LOG ID LINE: waits until the process has written a line that ends so.
until_line() {
  local end=$((SECONDS + $1)) log=$2 id=$3 line=$4
  until grep -q -e "$line\$" "$log" 2>/dev/null; do
    if ! kill -0 "$id" 2>/dev/null || [ "$SECONDS" -ge "$end" ]; then
      cat "$log" >&2
      return 1
    fi
    sleep 0.05
  done
}

port_is_taken() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# A loopback port that nobody listens on: the wanted one, else another below the range from which the system gives out
# its own.
free_port() {
  local port=$1 i
  for ((i = 0; i < 50; i++)); do
    if ! port_is_taken "$port"; then
      echo "$port"
      return 0
    fi
    port=$((20000 + RANDOM % 10000))
  done
  return 1
}
