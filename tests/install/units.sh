#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The units of the service manager: it understands them, they lack nothing that they name, and what a service may do is little
# (systemd's measure of exposure, 2.0 at most). Usage: units.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
clean_up_at_end
make_private_directory lumenar-units
root=$private_directory/root
units=$root/usr/lib/systemd/system

fail() { echo "$1" >&2; exit 1; }

if ! command -v systemd-analyze >/dev/null; then
  echo "skipped: systemd-analyze is not there (scripts/install-deps package)"
  exit 77
fi

# A system with nothing but our units, the programs that they start, and the targets and slices of the machine's own.
mkdir -p "$units"
cp "$build"/units/* "$units"
cp --no-clobber /usr/lib/systemd/system/*.target /usr/lib/systemd/system/*.slice "$units"
names=()
for unit in "$build"/units/*; do
  name=$(basename "$unit")
  names+=("${name/@/@probe}")
  sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$unit" | while read -r program; do
    install -D -m 755 /dev/null "$root$program"
  done
done
written=$(find "$source/packaging/systemd" -name '*.service.in' -o -name '*.target' | wc -l)
[ ${#names[@]} = "$written" ] || fail "there are ${#names[@]} units, and $written are written"

SYSTEMD_LOG_LEVEL=warning systemd-analyze verify --man=no --root="$root" "${names[@]}" >"$private_directory/verify" 2>&1 ||
  fail "$(cat "$private_directory/verify")"
[ ! -s "$private_directory/verify" ] || fail "$(cat "$private_directory/verify")"

for name in "${names[@]}"; do
  [[ $name == *.service ]] || continue
  systemd-analyze security --offline=true --no-pager --threshold=20 --root="$root" "$name" >"$private_directory/security" ||
    fail "$(cat "$private_directory/security")"
  tail -n 1 "$private_directory/security" | sed 's/ *[^ -~]*$//; s/^[^A-Za-z]*//'
done

# Which unit says what of the rest.
for name in topic-manager hw-enumeration engine@; do
  for line in Type=notify WatchdogSec=30 Restart=always After=lumenar-naming.service PartOf=lumenar.target; do
    grep -q -e "^$line" "$units/lumenar-$name.service" || fail "lumenar-$name.service lacks $line"
  done
done
# The common part stands in each.
for unit in "$units"/lumenar-*.service; do
  for line in DynamicUser=yes User=lumenar NoNewPrivileges=yes IPAddressDeny=any; do
    grep -q -x -e "$line" "$unit" || fail "$unit lacks $line"
  done
done
