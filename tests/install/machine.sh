# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# A machine for tests: a root directory with a Debian in it is booted by its own service manager, in name spaces and a control
# group of its own. To be sourced behind scripts/lib.sh and clean_root.sh.
# shellcheck disable=SC2154

machine_group=
machine_id=

# Removes the machine's control group, which holds nobody any more.
remove_machine_group() {
  [ -n "$machine_group" ] || return 0
  find "$machine_group" -depth -type d -exec rmdir {} \; 2>/dev/null || true
  machine_group=
}

# in_machine COMMAND...: as its administrator.
in_machine() {
  nsenter --target "$machine_id" --all /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}

# in_machine_as USER_ID COMMAND...: as somebody without rights.
in_machine_as() {
  local user=$1
  shift
  nsenter --target "$machine_id" --all --setuid "$user" --setgid "$user" /usr/bin/env -i PATH=/usr/bin:/bin HOME=/tmp \
    LC_ALL=C.UTF-8 "$@"
}

machine_is_up() { in_machine systemctl is-system-running | grep -x -e running -e degraded; }

# boot_machine ROOT: returns when the system is up. Skips the test where this machine cannot have such a one.
boot_machine() {
  local root=$1 groups
  groups=$(awk '$3 == "cgroup2" { print $2; exit }' /proc/mounts)
  [ -n "$groups" ] || skip "there are no control groups of version 2"
  machine_group=$groups/lumenar-test-$$-$RANDOM
  mkdir "$machine_group" 2>/dev/null || { machine_group=; skip "control groups cannot be made here"; }
  # The group is entered before the name space of groups is made, whose root it is then.
  # shellcheck disable=SC2016
  start "$root.boot" bash -c 'echo $$ >"$1/cgroup.procs" && shift && exec "$@"' - "$machine_group" \
    unshare --cgroup --mount --pid --uts --ipc --net --fork --kill-child "$source/tests/install/machine_init.sh" "$root"
  machine_process=$!
  # shellcheck disable=SC2317
  find_machine() { machine_id=$(pgrep -P "$machine_process"); }
  until_true 10 find_machine || skip "no name spaces can be made here: $(tail -n 1 "$root.boot")"
  find_machine
  until_true 60 machine_is_up || skip "the service manager does not start here: $(tail -n 1 "$root.boot")"
}

# The machine goes down as by its switch.
end_machine() {
  in_machine systemctl poweroff >/dev/null 2>&1 || true
  # shellcheck disable=SC2317
  machine_is_off() { ! kill -0 "$machine_process" 2>/dev/null; }
  until_true 60 machine_is_off || fail "the machine does not go down: $(in_machine systemctl list-jobs)"
  wait "$machine_process" 2>/dev/null || true
  remove_machine_group
}
