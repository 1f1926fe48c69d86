#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A person who has the packages and their pages alone, on a machine like this one but without the source tree: the packages are
# installed, the commands of README's first pages and of the page about the first instrument run as they stand there, and the
# examples that come with the packages (clients, instrument, shell, Python and its notebook) are built and run with nothing else
# of ours, as a user without rights. Tells how long it took. Usage: new_user.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
packages=$source/build/packages/$(dpkg --print-architecture)
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
# shellcheck source=tests/install/clean_root.sh
. "$source/tests/install/clean_root.sh"
# shellcheck source=tests/install/pages.sh
. "$source/tests/install/pages.sh"
require_packages

# In spaces of its own: what is installed and started is gone with the script.
if [ "${LUMENAR_NEW_USER_INSIDE:-}" != yes ]; then
  clean_up_at_end
  make_private_directory lumenar-new-user
  export LUMENAR_NEW_USER_WORK=$private_directory
  unshare --mount --pid --net --fork --kill-child true 2>"$private_directory/log" ||
    skip "no name spaces can be made here: $(cat "$private_directory/log")"
  LUMENAR_NEW_USER_INSIDE=yes start "$private_directory/log" unshare --mount --pid --net --fork --kill-child "$0" "$@"
  wait $! && status=0 || status=$?
  cat "$private_directory/log"
  exit "$status"
fi

# ---- the machine of the new user: this one, changed in a layer above it ------------------------------------------------

work=$LUMENAR_NEW_USER_WORK
machine=$work/machine
home=/home/newcomer
user=65534
mkdir -p "$work"/{changes,work,machine,copies}
cp "$packages"/*.deb "$work/copies"
mount -t overlay overlay -o "lowerdir=/,upperdir=$work/changes,workdir=$work/work" "$machine" 2>"$work/mount" ||
  skip "no layer above this system can be mounted: $(cat "$work/mount")"
mount -t proc proc "$machine/proc"
mount --bind /dev "$machine/dev"
mount -t tmpfs -o mode=1777 tmpfs "$machine/tmp"
mount -t tmpfs tmpfs "$machine/run"
for hidden in "$source" "$build"; do
  [ ! -d "$machine$hidden" ] || mount -t tmpfs tmpfs "$machine$hidden"
done
ip link set lo up
mkdir -p "$machine/tmp/packages" "$machine$home"
cp "$work"/copies/*.deb "$machine/tmp/packages"
chown "$user:$user" "$machine$home"

inside() { chroot "$machine" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
# as_user LOG COMMANDS: in one shell of the new user's, in his home, until the first that fails.
as_user() {
  chroot --userspec="$user:$user" "$machine" /usr/bin/env -i PATH=/usr/bin:/bin HOME=$home LC_ALL=C.UTF-8 MPLBACKEND=Agg \
    bash -euo pipefail -c "cd $home; $2" >"$work/$1" 2>&1 || { tail -n 30 "$work/$1"; fail "$1"; }
}

installed() {
  inside sh -c 'dpkg -i /tmp/packages/*.deb' >"$work/dpkg" 2>&1 || {
    ! grep -q 'dependency problems' "$work/dpkg" || skip "this machine lacks something: $(grep -m 3 'depends on' "$work/dpkg")"
    tail -n 20 "$work/dpkg"
    fail "installing"
  }
  [ ! -e "$machine$source/README.md" ] || fail "the source tree is still there"
}

# The commands between the first platform that README starts and its end.
readme_commands() {
  awk '/^```sh$/ { inside = 1; block = ""; next } /^```/ { if (block ~ /lumenar up/) { printf "%s", block; exit } inside = 0 }
    inside { block = block $0 "\n" }' "$machine/usr/share/doc/lumenar/README.md"
}
follows_readme() {
  readme_commands >"$work/commands"
  grep -q 'mathctl create' "$work/commands" || fail "README shows no first object: $(cat "$work/commands")"
  as_user readme "$(cat "$work/commands")"
  ls "$machine$home"/*.png >/dev/null 2>&1 || fail "README's commands leave no picture: $(ls "$machine$home")"
}

# The instrument that a program plays, and libsigrok's demonstration device.
follows_first_instrument() {
  commands_of "$machine/usr/share/doc/lumenar/docs/first-instrument.md" >"$work/commands"
  grep -q 'SCPI_DEVICES=' "$work/commands" || fail "the page about the first instrument shows none: $(cat "$work/commands")"
  as_user first_instrument "$(pages_prelude; cat "$work/commands")"
  for picture in spectrum wave; do
    [ -s "$machine$home/$picture.png" ] || fail "the page about the first instrument leaves no $picture.png: $(ls "$machine$home")"
  done
}

builds_the_examples() {
  as_user build 'cp -r /usr/share/doc/lumenar/examples . && cmake -G Ninja -S examples -B build && cmake --build build'
  # Without CMake, as the page says, but for the path of packages.
  # shellcheck disable=SC2016
  as_user build_by_hand 'g++ examples/follow_average.cpp -o by_hand $(pkg-config --cflags --libs lumenar-client)'
}

runs_the_examples() {
  # shellcheck disable=SC2016
  as_user examples '
    lumenar up --probe --engine "$PWD/build/libload_meter.so.1"
    trap "lumenar down" EXIT
    eval "$(lumenar env)"
    build/follow_average PROBE/1/WAKEUP_DB 3
    ./by_hand LOADMETER/1/HISTORY 2
    build/own_reading MYLAB/1 3
    build/look_around
    mathctl get LOADMETER/1/LOAD
    for script in examples/*.sh; do [ ! -e "$script" ] || bash "$script" "PROBE/1/WAKEUP*"; done
    python3 -c "import lumenar; print(len(lumenar.Client().readings()))"
    if python3 -c "import nbconvert, ipykernel, matplotlib" 2>/dev/null; then
      python3 -m nbconvert --to notebook --execute --output executed.ipynb --output-dir . examples/lumenar.ipynb
      test -s executed.ipynb && echo "the notebook ran"
    else
      echo "the notebook was left out (scripts/install-deps notebook)"
    fi'
  grep -q '^60 points, mean ' "$work/examples" || fail "the instrument of the examples: $(cat "$work/examples")"
  grep '^the notebook' "$work/examples"
}

begin=$SECONDS
installed
echo "installed after $((SECONDS - begin)) s"
follows_readme
echo "README followed after $((SECONDS - begin)) s"
[ $((SECONDS - begin)) -lt 300 ] || fail "README promises five minutes; it took $((SECONDS - begin)) s"
instrument_begin=$SECONDS
follows_first_instrument
echo "the page about the first instrument followed in $((SECONDS - instrument_begin)) s"
[ $((SECONDS - instrument_begin)) -lt 300 ] || fail "it promises five minutes"
builds_the_examples
runs_the_examples
echo "clients, instrument and scripts built and run after $((SECONDS - begin)) s"
