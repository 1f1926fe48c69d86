#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The packages of this machine's processor, as scripts/package made them, in a clean root of Debian 12 without a service manager,
# with a network of its own: installed, the services started by the lines of their units, used, upgraded while they run, started
# again, removed and purged. booted.sh does it with a service manager, where a machine can have one.
# Usage: packages.sh SOURCE_DIRECTORY BUILD_DIRECTORY [MIRROR]
set -euo pipefail
source=$1
packages=$source/build/packages/$(dpkg --print-architecture)

# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
# shellcheck source=tests/install/clean_root.sh
. "$source/tests/install/clean_root.sh"
require_packages

# In a network, mount and process space of its own: port 2700 is free there, and nothing outlives the script.
if [ "${LUMENAR_PACKAGES_INSIDE:-}" != yes ]; then
  clean_up_at_end
  make_private_directory lumenar-packages
  clean_root "$private_directory/root" "${3:-}"
  development_tree "$private_directory"
  LUMENAR_PACKAGES_INSIDE=yes start "$private_directory/test.log" unshare --net --mount --pid --fork --kill-child \
    "$0" "$@" "$private_directory/root"
  wait $! && status=0 || status=$?
  cat "$private_directory/test.log"
  exit "$status"
fi

# ---- in the clean root ------------------------------------------------------------------------------------------------

root=${*: -1}
logs=$root/../logs
mkdir -p "$logs"
ip link set lo up
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"

inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 "$@"; }
dpkg_inside() { inside DEBIAN_FRONTEND=noninteractive dpkg --force-confold "$@" >>"$logs/dpkg" 2>&1 || { tail "$logs/dpkg" >&2; fail "dpkg $*"; }; }
# shellcheck disable=SC2016
version() { inside dpkg-query -W -f '${Version}' "$1"; }

install_packages() {
  mkdir -p "$root/packages"
  local name
  for name in $(installable); do cp "$1/${name}"_*.deb "$root/packages/"; done
  inside sh -c 'dpkg --force-confold -i /packages/*.deb' >>"$logs/dpkg" 2>&1 || { tail "$logs/dpkg" >&2; fail "installing"; }
  rm -rf "$root/packages"
}

# unit NAME [INSTANCE]: starts what the unit starts, as a user without rights, with the settings that it names.
unit() {
  local name=$1 instance=${2:-} file line variables=() settings state
  file=$root/usr/lib/systemd/system/$name.service
  line=$(sed -n 's/^ExecStart=//p' "$file" | sed "s|%S|/var/lib|g; s|%t|/run|g; s|%i|$instance|g")
  [ -n "$line" ] || fail "$file starts nothing"
  mapfile -t variables < <(sed -n 's/^Environment=//p' "$file")
  settings=$(sed -n 's/^EnvironmentFile=-//p' "$file" | sed "s|%i|$instance|")
  if [ -n "$settings" ] && [ -e "$root$settings" ]; then
    while IFS='=' read -r key value; do
      value=${value#\'}
      variables+=("$key=${value%\'}")
    done < <(grep -v -e '^#' -e '^$' "$root$settings")
  fi
  while read -r state; do
    mkdir -p "$root$state"
    chown 65534:65534 "$root$state"
  done < <(sed -n 's|^StateDirectory=|/var/lib/|p; s|^RuntimeDirectory=|/run/|p' "$file")
  for setting in "${variables[@]}"; do
    line=${line//"\${${setting%%=*}}"/${setting#*=}}
    line=${line//"\$${setting%%=*}"/${setting#*=}}
  done
  read -r -a words <<<"$line"
  start "$logs/$name$instance" chroot --userspec=65534:65534 "$root" /usr/bin/env -i PATH=/usr/bin:/bin "${variables[@]}" "${words[@]}"
  running+=($!)
}

start_services() {
  running=()
  # The naming service comes late; the others come in the order of their units.
  unit lumenar-topic-manager
  unit lumenar-hw-enumeration
  unit lumenar-naming
  until_true 30 grep -q "topic_manager ready" "$logs/lumenar-topic-manager"
  until_true 30 grep -q "hw_enumeration ready" "$logs/lumenar-hw-enumeration"
  unit lumenar-engine@ math_factory_hh
  unit lumenar-engine@ probe
  unit lumenar-engine@ sim
  until_true 30 inside mathctl doctor || { inside mathctl doctor >&2; fail "the services are not well"; }
  until_true 30 inside mathctl get VOLTAGE || fail "sim has no readings"
}

# answers ADDRESS_OR_DRIVER SETTING: discover finds it, and says how the engine is told.
answers() {
  until_true 30 inside mathctl discover "$1" || fail "discover $1: $(inside mathctl discover "$1" 2>&1)"
  inside mathctl discover "$1" 2>/dev/null | grep -q -F -e "$2" || fail "discover $1 does not say $2"
}

# What the administrator switches on: the page, an instrument that a program plays, the demonstration device of libsigrok.
start_others() {
  unit lumenar-web
  until_true 30 page_is_well || fail "the page: $(cat "$logs/lumenar-web")"
  [ -x "$root/usr/bin/python3" ] || return 0
  start "$logs/player" chroot --userspec=65534:65534 "$root" /usr/bin/python3 /usr/share/lumenar/scpi/scpi_server.py
  running+=($!)
  answers 127.0.0.1:5025 'connect = 127.0.0.1:5025'
  echo "SCPI_DEVICES='multimeter@127.0.0.1:5025'" >>"$root/etc/lumenar/engine-scpi.conf"
  unit lumenar-engine@ scpi
  gives_results SCPI/1/VOLTAGE
  if names | grep -x lumenar-instrument-sigrok >/dev/null; then
    answers demo:logic_channels=0:analog_channels=2 SIGROK_DEVICE=demo
    unit lumenar-engine@ sigrok_devices
    gives_results SIGROK/1/A1_VOLTAGE_DC
  fi
}
page_is_well() {
  exec 3<>/dev/tcp/127.0.0.1/8080 || return 1
  printf 'GET /healthz HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nConnection: close\r\n\r\n' >&3
  grep -q '^HTTP/1.1 200 OK' <&3
}
# gives_results READING: an Average over it has some.
gives_results() {
  local average
  until_true 30 inside mathctl get "$1" || fail "there is no $1: $(tail -n 3 "$logs"/lumenar-engine*)"
  average=$(inside mathctl create Average "$1")
  inside mathctl watch "$average" -n 2 --idle 20 >"$logs/watch" || fail "no Average over $1: $(cat "$logs/watch")"
  inside mathctl delete "$average"
}

end_services() {
  for id in "${running[@]}"; do end_process "$id"; done
  rm -rf "$root"/run/lumenar-*  # as the service manager does
}
all_run() { for id in "${running[@]}"; do kill -0 "$id" 2>/dev/null || fail "process $id has ended: $(tail -n 3 "$logs"/lumenar-*)"; done; }
# The objects that are there now are there after every start.
keep_objects() {
  inside mathctl save >"$root/etc/lumenar/objects.json" || fail "mathctl save"
  unit lumenar-objects
}
objects() { inside mathctl list --json | grep -c '"id"'; }
has_objects() { [ "$(objects)" = "$1" ]; }

use() {
  inside mathctl create Average PROBE/1/WAKEUP >"$logs/id"
  inside mathctl watch "$(cat "$logs/id")" -n 5 >"$logs/watch"
  [ "$(grep -c 'us' "$logs/watch")" -ge 5 ] || fail "no results: $(cat "$logs/watch")"
}

install_packages "$packages"
old=$(version lumenar-services)
for program in mathctl engine_host topic_manager hw_enumeration lumenar; do
  inside "$program" --version >"$logs/version" || fail "$program does not run"
  inside "$program" --help >"$logs/help" || fail "$program --help"
  [ -e "$root/usr/share/man/man1/$program.1.gz" ] || fail "no manual page of $program"
done
[ -e "$root/usr/share/bash-completion/completions/mathctl" ] || fail "no completion of mathctl"
for library in "$root"/usr/lib/*/lib{math_factory_hh,lumenar_signals,probe,replay,sim}.so.1; do
  ! inside ldd "${library#"$root"}" | grep 'not found' || fail "$library lacks a library"
done

start_services
use
start_others
cp "$root"/../examples/{follow_average,libload_meter.so.1} "$root/srv"
start "$logs/load_meter" chroot --userspec=65534:65534 "$root" /usr/bin/engine_host /srv/libload_meter.so.1 --set LOAD_RATE=50
load_meter=$!
until_true 30 inside mathctl get LOADMETER/1/LOAD || fail "the instrument of the examples: $(cat "$logs/load_meter")"
[ "$(inside /srv/follow_average LOADMETER/1/HISTORY 3 | grep -c '^60 points, mean ')" = 3 ] || fail "the client of the examples"
end_process "$load_meter"
if names | grep '^python3-' >/dev/null; then
  inside python3 -c '
import lumenar
with lumenar.Client() as c:
    values = [r.value.mean() for r in c.average("PROBE/1/WAKEUP", size=4).monitor(timeout=20, count=3)]
    c.create("Peak", ["SIM/1/VOLTAGE"])
    assert len(values) == 3 and len(c.objects()) >= 2, (values, c.objects())
' >"$logs/python" 2>&1 || fail "from Python: $(cat "$logs/python")"
fi
echo "#changed by the administrator" >>"$root/etc/lumenar/tcp.conf"

kept=$(objects)
keep_objects

next_version "$old" "$root/../upgrade"
install_packages "$root/../upgrade"
[ "$(version lumenar-services)" = "$old+next" ] || fail "version after the upgrade: $(version lumenar-services)"
grep -q "changed by the administrator" "$root/etc/lumenar/tcp.conf" || fail "the administrator's settings are gone"
all_run
end_services
start_services
unit lumenar-objects
until_true 60 has_objects "$kept" || fail "of $kept objects $(objects) are back: $(cat "$logs/lumenar-objects")"
use
end_services
rm "$root/etc/lumenar/objects.json"  # the administrator's own

mapfile -t ours < <(installable)
dpkg_inside -r "${ours[@]}"
for program in mathctl engine_host lumenar; do [ ! -e "$root/usr/bin/$program" ] || fail "$program stays after removal"; done
grep -q "changed by the administrator" "$root/etc/lumenar/tcp.conf" || fail "removal takes the settings away"
[ -d "$root/var/lib/lumenar" ] || fail "removal takes the state away"
dpkg_inside -P "${ours[@]}"
[ -z "$(left "$root")" ] || fail "after purge there is still: $(left "$root")"
echo "installed, used, upgraded, started again, removed, purged: $(printf '%s ' "${ours[@]}")"
