#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The first process of a machine of tests/install/machine.sh, in name spaces of its own: makes a root directory the root of
# a system and becomes its service manager. Usage: machine_init.sh ROOT
set -euo pipefail
root=$1

mount --bind "$root" "$root"
mount -t proc proc "$root/proc"
mount -t sysfs -o ro sysfs "$root/sys"
mount -t cgroup2 cgroup2 "$root/sys/fs/cgroup"
mount -t tmpfs -o mode=755 tmpfs "$root/run"
mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
mount -t tmpfs -o mode=755 tmpfs "$root/dev"
for device in null zero full random urandom tty; do
  touch "$root/dev/$device"
  mount --bind "/dev/$device" "$root/dev/$device"
done
mkdir "$root/dev/pts" "$root/dev/shm"
mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
ln -s pts/ptmx "$root/dev/ptmx"
ln -s /proc/self/fd "$root/dev/fd"
ip link set lo up

mkdir -p "$root/.outside"
cd "$root"
pivot_root . .outside
# The service manager mounts what a service may read where all see it, as credentials, and leaves that to be so to whoever starts it.
# shellcheck disable=SC2016
exec /usr/bin/env -i container=test PATH=/usr/sbin:/usr/bin:/sbin:/bin /bin/sh -c \
  'cd / && umount -l /.outside && rmdir /.outside && mount --make-rshared / && exec /lib/systemd/systemd --unit=multi-user.target'
