#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The packages of this machine's processor on a machine that boots: installed while it runs, the services started by its own
# service manager with all that their units say; used from Python, C++ and the command line, from here and from another machine;
# killed, stopped and late; upgraded while they run; the machine switched off and on; removed and purged.
# Usage: booted.sh SOURCE_DIRECTORY BUILD_DIRECTORY [MIRROR]
set -euo pipefail
source=$1
packages=$source/build/packages/$(dpkg --print-architecture)
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
# shellcheck source=tests/install/clean_root.sh
. "$source/tests/install/clean_root.sh"
# shellcheck source=tests/install/machine.sh
. "$source/tests/install/machine.sh"
# shellcheck source=tests/install/remote_client.sh
. "$source/tests/install/remote_client.sh"

require_packages
clean_up_at_end
trap 'clean_up; remove_machine_group' EXIT
make_private_directory lumenar-booted
work=$private_directory
root=$work/root
nobody=65534
mapfile -t ours < <(installable)
clean_root "$root" "${3:-}"
development_tree "$work"
boot_machine "$root"

manager() { in_machine systemctl --no-pager "$@"; }
property() { manager show --value -p "$2" "$1"; }
active() { [ "$(property "$1" ActiveState)" = active ]; }
until_active() { until_true 60 active "$1" || fail "$1: $(manager status "$1")"; }
until_well() { until_true 60 in_machine mathctl doctor || fail "not well: $(in_machine mathctl doctor 2>&1)"; }
# After a fault samples are lost, which doctor tells for ever; but every part works and samples come.
works() {
  ! in_machine mathctl doctor 2>&1 | tee "$work/doctor" | grep '^FAILS' && grep -q '^well  *naming service' "$work/doctor" &&
    in_machine mathctl watch SIM/1/LEVEL PROBE/1/WAKEUP -n 4 --idle 10
}
until_works() { until_true 60 works || fail "does not work: $(in_machine mathctl doctor 2>&1)"; }
journal() { in_machine journalctl --no-pager -o cat "$@"; }
# shellcheck disable=SC2016
version() { in_machine dpkg-query -W -f '${Version}' lumenar-services; }
objects() { in_machine mathctl list --json | grep -c '"id"'; }
has_objects() { [ "$(objects)" = "$1" ]; }
services=(lumenar-naming lumenar-topic-manager lumenar-hw-enumeration lumenar-engine@math_factory_hh)

# install FOLDER: with the package manager of the machine, while it runs.
install() {
  local name
  mkdir -p "$root/packages"
  for name in "${ours[@]}"; do cp "$1/${name}"_*.deb "$root/packages/"; done
  in_machine sh -c 'dpkg --force-confold -i /packages/*.deb' >>"$work/dpkg.log" 2>&1 || fail "installing: $(tail "$work/dpkg.log")"
  rm -rf "$root/packages"
}

installed_and_started() {
  local service
  install "$packages"
  until_active lumenar.target
  for service in "${services[@]}"; do until_active "$service"; done
  # As the pages say, instruments are switched on by name.
  manager enable --now lumenar-engine@probe lumenar-engine@sim >>"$work/manager.log" 2>&1
  until_well
  manager --failed --plain --no-legend list-units 'lumenar*' >"$work/failed"
  [ ! -s "$work/failed" ] || fail "failed: $(cat "$work/failed")"
}

# What the units promise is so: a user without rights and with nothing to write but his state, and nothing but loopback.
services_are_confined() {
  local service id
  for service in "${services[@]}"; do
    id=$(property "$service" MainPID)
    [ "$(in_machine cat "/proc/$id/status" | awk '/^CapEff|^CapBnd/ { sum += $2 != "0000000000000000" } /^NoNewPrivs/ { sum += $2 != 1 }
      /^Seccomp:/ { sum += $2 != 2 } /^Uid/ { sum += $2 == 0 } END { print sum }')" = 0 ] ||
      fail "$service has rights: $(in_machine cat "/proc/$id/status")"
  done
  # Names that its own user has on the disk, its state, and nothing that others may read.
  in_machine find /var/lib/private/lumenar -maxdepth 1 -mindepth 1 -perm /077 >"$work/readable"
  [ ! -s "$work/readable" ] || fail "others may read $(cat "$work/readable")"
  # Besides Debian's own naming service, at port 2809, and its ssh, nobody listens beyond loopback.
  in_machine cat /proc/net/tcp | awk 'NR > 1 && $4 == "0A" && $2 !~ /^0100007F:/ && $2 !~ /:(0AF9|0016)$/' >"$work/open"
  [ ! -s "$work/open" ] || fail "something listens beyond loopback: $(cat "$work/open")"
}

used() {
  # From Python, as somebody without rights; the object stays when the program has ended.
  if names | grep '^python3-' >/dev/null; then
    in_machine_as "$nobody" python3 -c '
import lumenar
with lumenar.Client() as c:
    average = c.average("SIM/1/LEVEL", size=4)
    values = [r.value.mean() for r in average.monitor(timeout=20, count=3)]
    assert len(values) == 3 and average.result.unit == "dBm", (values, average.result.unit)
    kept = c.create("Peak", ["SIM/1/VOLTAGE"])
' >"$work/python" 2>&1 || fail "from Python: $(cat "$work/python")"
  fi
  in_machine_as "$nobody" mathctl create Average PROBE/1/WAKEUP >"$work/id"
  in_machine_as "$nobody" mathctl watch "$(cat "$work/id")" -n 5 >"$work/watch"
  [ "$(grep -c 'us' "$work/watch")" -ge 5 ] || fail "no results: $(cat "$work/watch")"
}

# Engines that are not used any more; hardware enumeration forgets them as the page says.
forget_engines() {
  manager stop lumenar-hw-enumeration
  manager start lumenar-hw-enumeration
}

# A client and an instrument that were built against the packages; the instrument as a service like the others.
others_programs_run() {
  cp "$work/examples/libload_meter.so.1" "$root/usr/lib/"
  cp "$work"/examples/{follow_average,look_around,own_reading} "$root/srv"
  echo "LOAD_RATE=50" >"$root/etc/lumenar/engine-load_meter.conf"
  in_machine ldconfig
  manager start lumenar-engine@load_meter || fail "the instrument of the examples: $(journal -u lumenar-engine@load_meter)"
  [ "$(in_machine_as "$nobody" /srv/follow_average LOADMETER/1/HISTORY 3 | grep -c '^60 points, mean ')" = 3 ] || fail "follow_average"
  [ "$(in_machine_as "$nobody" /srv/own_reading MYLAB/1 3 | tail -n 1)" = "peak of MYLAB/1/VOLTAGE: 0.3 V" ] || fail "own_reading"
  in_machine_as "$nobody" /srv/look_around >"$work/looked" || fail "look_around: $(cat "$work/looked")"
  manager stop lumenar-engine@load_meter
  rm "$root/usr/lib/libload_meter.so.1" "$root/etc/lumenar/engine-load_meter.conf"
  in_machine ldconfig
  forget_engines
}

# run_once ENGINE SETTING READING: an engine's unit with one line more in its settings has the reading, and an Average over it gives
# results; then it is off again.
run_once() {
  local engine=$1 setting=$2 reading=$3 settings=$root/etc/lumenar/engine-$1.conf
  cp "$settings" "$work/engine.conf"
  [ -z "$setting" ] || echo "$setting" >>"$settings"
  manager start "lumenar-engine@$engine" || fail "$engine: $(journal -u "lumenar-engine@$engine")"
  until_true 30 in_machine mathctl get "$reading" || fail "$engine has no $reading: $(journal -u "lumenar-engine@$engine")"
  in_machine_as "$nobody" mathctl create Average "$reading" >"$work/id"
  in_machine_as "$nobody" mathctl watch "$(cat "$work/id")" -n 2 --idle 20 >"$work/watch" || fail "no Average over $reading: $(cat "$work/watch")"
  in_machine_as "$nobody" mathctl delete "$(cat "$work/id")"
  manager stop "lumenar-engine@$engine"
  cp "$work/engine.conf" "$settings"
  forget_engines
}

# answers ADDRESS_OR_DRIVER SETTING: discover finds it, and says how the engine is told.
answers() {
  in_machine_as "$nobody" mathctl discover "$1" >"$work/discovered" 2>&1 || fail "discover $1: $(cat "$work/discovered")"
  grep -q -F -e "$2" "$work/discovered" || fail "discover $1: $(cat "$work/discovered")"
}

# The services that are off until somebody switches them on, as far as they are built here.
other_services_run() {
  if [ -e "$root/usr/lib/systemd/system/lumenar-web.service" ]; then
    manager enable --now lumenar-web >>"$work/manager.log" 2>&1 || fail "the page: $(journal -u lumenar-web)"
    in_machine_as "$nobody" python3 -c '
import urllib.request
for path, word in (("/", "<html"), ("/healthz", ""), ("/metrics", "lumenar")):
    text = urllib.request.urlopen("http://127.0.0.1:8080" + path, timeout=20).read().decode()
    assert word in text, (path, text[:200])
' >"$work/web" 2>&1 || fail "the page: $(cat "$work/web")"
    manager disable --now lumenar-web >>"$work/manager.log" 2>&1
  fi
  command install -m 644 "$source/tests/data/recordings/two_port.s2p" "$root/srv/"
  run_once replay REPLAY_FILES=/srv/two_port.s2p REPLAY/1/TWO_PORT_S21
  # An instrument that a program plays, found and read as a real one.
  in_machine systemd-run --quiet --unit=player /usr/bin/python3 /usr/share/lumenar/scpi/scpi_server.py
  until_true 30 in_machine mathctl discover 127.0.0.1:5025 || fail "nobody plays: $(journal -u player)"
  answers 127.0.0.1:5025 'connect = 127.0.0.1:5025'
  run_once scpi "SCPI_DEVICES='multimeter@127.0.0.1:5025'" SCPI/1/VOLTAGE
  manager stop player
  if names | grep -x lumenar-instrument-sigrok >/dev/null; then
    answers demo:logic_channels=0:analog_channels=2 SIGROK_DEVICE=demo
    run_once sigrok_devices '' SIGROK/1/A1_VOLTAGE_DC
  fi
}

# The objects that are there now are there from now on.
keep_objects() {
  in_machine sh -c 'mathctl save >/etc/lumenar/objects.json' || fail "mathctl save"
  kept=$(objects)
  [ "$kept" -ge 1 ] || fail "there are no objects to keep"
  manager start lumenar-objects
  until_active lumenar-objects
}

# killed SERVICE: it is started again, and all is well.
killed() {
  local service=$1 before
  before=$(property "$service" NRestarts)
  manager kill -s KILL "$service"
  # shellcheck disable=SC2317
  restarted() { [ "$(property "$service" NRestarts)" -gt "$before" ] && active "$service"; }
  until_true 60 restarted || fail "$service is not started again: $(manager status "$service")"
}

survives() {
  local service
  for service in "${services[@]}"; do killed "$service"; done
  until_true 60 has_objects "$kept" || fail "of $kept objects $(objects) are back: $(journal -u lumenar-objects)"
  until_works
}

# One that hangs is found by the watchdog, which is shortened for the test.
hangs() {
  local service=lumenar-topic-manager before
  mkdir -p "$root/etc/systemd/system/$service.service.d"
  printf '[Service]\nWatchdogSec=2\n' >"$root/etc/systemd/system/$service.service.d/test.conf"
  manager daemon-reload
  manager restart "$service"
  until_active "$service"
  before=$(property "$service" NRestarts)
  manager kill -s STOP "$service"
  until_true 60 restarted || fail "the watchdog does not see that $service hangs"
  journal -u "$service" | grep "Watchdog timeout" >/dev/null || fail "$service was not ended by the watchdog: $(journal -u "$service")"
  rm -r "$root/etc/systemd/system/$service.service.d"
  manager daemon-reload
}

# Services that start before the naming service wait for it, and count as started when they work.
late_naming_service() {
  local service=lumenar-hw-enumeration
  manager stop lumenar-naming
  manager mask --runtime lumenar-naming >>"$work/manager.log" 2>&1  # or else whoever wants it would bring it back
  manager --no-block restart "$service"
  # shellcheck disable=SC2317
  waits() { journal -u "$service" -n 20 | grep 'is waited for'; }
  until_true 30 waits || fail "$service says nothing: $(journal -u "$service" -n 5)"
  [ "$(property "$service" ActiveState)" = activating ] || fail "$service counts as $(property "$service" ActiveState)"
  manager unmask --runtime lumenar-naming >>"$work/manager.log" 2>&1
  manager start lumenar-naming
  until_active "$service"
  until_works
}

upgraded() {
  local before
  old=$(version)
  before=$(property lumenar-engine@math_factory_hh MainPID)
  echo "#changed by the administrator" >>"$root/etc/lumenar/tcp.conf"
  next_version "$old" "$work/upgrade"
  install "$work/upgrade"
  [ "$(version)" = "$old+next" ] || fail "version after the upgrade"
  grep -q "changed by the administrator" "$root/etc/lumenar/tcp.conf" || fail "the administrator's settings are gone"
  until_active lumenar-engine@math_factory_hh
  [ "$(property lumenar-engine@math_factory_hh MainPID)" != "$before" ] || fail "the old engine runs on after the upgrade"
  until_active lumenar-engine@probe
  until_true 60 has_objects "$kept" || fail "of $kept objects $(objects) are back after the upgrade"
  until_works
}

# Switched off and on: all is back by itself.
booted_again() {
  end_machine
  boot_machine "$root"
  until_active lumenar.target
  until_true 60 has_objects "$kept" || fail "of $kept objects $(objects) are back after the boot: $(journal -u lumenar-objects)"
  until_works
  in_machine_as "$nobody" mathctl watch PROBE/1/WAKEUP -n 2 >"$work/watch" || fail "no readings after the boot"
}

# Lines of ours have priorities in the journal.
journal_has_priorities() {
  [ -n "$(journal -p warning -u 'lumenar-*')" ] || fail "no line of the services has a priority"
}

# Without their package instruments are off; the rest runs on.
instruments_removed() {
  in_machine dpkg -r lumenar-instruments >>"$work/dpkg.log" 2>&1 || fail "removing the instruments: $(tail "$work/dpkg.log")"
  ! active lumenar-engine@probe || fail "probe runs on without its library"
  active lumenar-engine@math_factory_hh || fail "the math engine went with the instruments"
}

removed_and_purged() {
  local program
  rm "$root/etc/lumenar/objects.json"  # the administrator's own
  in_machine dpkg -r "${ours[@]}" >>"$work/dpkg.log" 2>&1 || fail "removing: $(tail "$work/dpkg.log")"
  for program in mathctl engine_host lumenar; do [ ! -e "$root/usr/bin/$program" ] || fail "$program stays after removal"; done
  ! in_machine sh -c 'cat /proc/[0-9]*/comm' | grep -E 'engine_host|topic_manager|hw_enumeration|mathctl' || fail "processes stay after removal"
  grep -q "changed by the administrator" "$root/etc/lumenar/tcp.conf" || fail "removal takes the settings away"
  in_machine dpkg -P "${ours[@]}" >>"$work/dpkg.log" 2>&1 || fail "purging: $(tail "$work/dpkg.log")"
  [ -z "$(left "$root")" ] || fail "after purge there is still: $(left "$root")"
  [ -z "$(manager list-unit-files --no-legend 'lumenar*')" ] || fail "units stay after purge"
}

installed_and_started
services_are_confined
used
other_services_run
others_programs_run
keep_objects
survives
hangs
late_naming_service
join_client_machine
serves_a_client_on_another_machine
serves_the_page_to_another_machine
serves_a_client_through_one_port
end_process "$client_machine"
journal_has_priorities
upgraded
booted_again
instruments_removed
removed_and_purged
end_machine
echo "installed, used, killed, hung, upgraded, booted again, removed, purged: ${ours[*]}"
