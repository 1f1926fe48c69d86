#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The command lumenar, a platform by hand, from an installed tree: it comes up, keeps its programs running, says how they are,
# plays recordings, ends without leaving a process, and refuses what is wrong. Usage: platform.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
clean_up() {  # as in lib.sh, and the platform, which is nobody's child
  trap '' INT TERM HUP PIPE
  "$lumenar" down --dir "$dir" >/dev/null 2>&1 || true
  "$lumenar" down --dir "$dir.second" >/dev/null 2>&1 || true
  rm -rf -- "$private_directory"
}
make_private_directory lumenar-platform
work=$private_directory
dir="$work/a platform"  # with a blank
tree=$work/tree
lumenar=$tree/bin/lumenar
clean_up_at_end
unset LUMENAR_NAMING LUMENAR_TRANSPORT_CONF LUMENAR_DIR SIM_READINGS SIM_CONFIG

fail() { echo "platform: $1" >&2; tail -n 5 "$dir"/log/*.log >&2 || true; exit 1; }
platform() { "$lumenar" "$@" --dir "$dir"; }
mathctl() { (eval "$(platform env)" && "$tree/bin/mathctl" "$@"); }
all_run() { platform status >"$work/status"; }

# exits STATUS LINE ARGUMENTS...
exits() {
  local expected=$1 line=$2 status=0
  shift 2
  "$lumenar" "$@" >"$work/out" 2>"$work/error" || status=$?
  [ "$status" = "$expected" ] || fail "'lumenar $*' ended with $status: $(cat "$work/error")"
  grep -q -e "$line" "$work/error" || fail "'lumenar $*' says: $(cat "$work/error")"
}

# Processes that belong to the platform, by where they keep their files.
processes() {
  local id
  for id in /proc/[0-9]*; do
    [ "$(readlink "$id/cwd" 2>/dev/null)" != "$dir" ] || echo "${id#/proc/}"
  done
}

step "$work/install.log" cmake --install "$build" --prefix "$tree"

exits 2 'Usage'
exits 2 'unknown command nonsense' nonsense
exits 2 'unknown argument --nonsense' up --nonsense --dir "$dir"
exits 2 'needs a port number' up --port 70000 --dir "$dir"
exits 2 'needs files' up --replay --dir "$dir"
exits 2 'cannot read /nonexistent' up --replay /nonexistent --dir "$dir"
exits 2 'needs a library' up --engine
exits 2 'unknown argument more' down more --dir "$dir"
exits 3 'no platform was started' env --dir "$dir"
platform status >"$work/out" && fail "status of nothing" || [ $? = 3 ] || fail "status of nothing"
[ "$(platform down)" = "no platform runs in $dir" ] || fail "down of nothing"

SCPI_DEVICES='' exits 1 '^lumenar: scpi did not become ready: .*SCPI_DEVICES names no device' up --engine scpi --dir "$dir"

# A path counts from where it is written, and not from where engines run.
mkdir "$work/mine"
cp "$tree/lib/libsim.so.1" "$work/mine/libmine.so.1"
(cd "$work/mine" && SIM_READINGS='value:LEVEL' platform up --no-math --engine ./libmine.so.1 >"$work/mine/up")
mathctl get SIM/1/LEVEL >"$work/mine/level"
platform down >"$work/mine/down"

platform up --sim >"$work/up"
grep -q '^export LUMENAR_NAMING=127.0.0.1:' "$work/up" || fail "$(cat "$work/up")"
all_run || fail "$(cat "$work/status")"
for name in naming topic_manager hw_enumeration sim math_factory_hh; do
  grep -q "^$name *runs" "$work/status" || fail "$(cat "$work/status")"
done
mathctl doctor >"$work/doctor" || fail "$(cat "$work/doctor")"
mathctl create Average SIM/1/LEVEL >"$work/id"
mathctl watch "$(cat "$work/id")" -n 3 >"$work/watch"
exits 1 'a platform runs already' up --dir "$dir"

# Two platforms beside one another do not meet.
"$lumenar" up --no-math --dir "$dir.second" >"$work/second"
[ "$(cat "$dir/address")" != "$(cat "$dir.second/address")" ] || fail "two platforms at one address"
"$lumenar" down --dir "$dir.second" >>"$work/second"

# An engine that dies is back.
read -r killed _ <"$dir/run/math_factory_hh"
kill -KILL "$killed"
until_true 30 grep -q -x 1 "$dir/run/math_factory_hh.restarts" || fail "the engine was not started again"
until_true 30 all_run || fail "$(cat "$work/status")"
until_true 30 mathctl create Average SIM/1/LEVEL || fail "the engine that is back does not work"
all_run || fail "$(cat "$work/status")"
grep -q '^math_factory_hh *runs .* 1$' "$work/status" || fail "$(cat "$work/status")"

mapfile -t before < <(processes)
[ ${#before[@]} -ge 6 ] || fail "the platform has ${#before[@]} processes"
platform down >"$work/down" || fail "$(cat "$work/down")"
[ -z "$(processes)" ] || fail "processes stay: $(processes)"
platform status >"$work/out" && fail "status after the end" || [ $? = 3 ] || fail "status after the end"

recording=$(find "$source/tests/data" -name '*.s2p' | sort | head -n 1)
REPLAY_RATE=20 platform up --replay "$recording" --no-math --web >"$work/replay" || fail "up --replay --web"
all_run || fail "the programs of the platform before are counted: $(cat "$work/status")"
until_true 20 mathctl readings || fail "no readings of a recording"
mathctl readings | grep '^REPLAY/1/' >/dev/null || fail "$(mathctl readings)"
page=$(sed -n 's/^The page: //p' "$work/replay")
[[ $page =~ ^http://127\.0\.0\.1:([0-9]+)/$ ]] || fail "no address of a page: $(cat "$work/replay")"
exec 3<>"/dev/tcp/127.0.0.1/${BASH_REMATCH[1]}"
printf 'GET /healthz HTTP/1.1\r\nHost: 127.0.0.1:%s\r\nConnection: close\r\n\r\n' "${BASH_REMATCH[1]}" >&3
grep -q '^HTTP/1.1 200 OK' <&3 || fail "the page's gateway is not well"
exec 3<&-
platform down >>"$work/down"
[ -z "$(processes)" ] || fail "processes stay: $(processes)"
echo "a platform came up, was kept up, played a recording and left nothing"
