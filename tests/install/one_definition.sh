#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Programs that use the shared client library define nothing that it defines, since they would have it twice, each with its own
# state; those that should use it do; and a program of others uses nothing of it but what it promises.
# Usage: one_definition.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
clean_up_at_end
make_private_directory lumenar-one-definition
library=$build/lib/liblumenar_client.so.1

fail() { echo "$1" >&2; exit 1; }
needs_it() { readelf -dW "$1" 2>/dev/null | grep 'NEEDED.*liblumenar_client\.so\.1' >/dev/null; }
# Functions and variables, but for those of templates and inline functions, of which the linker chooses one.
definitions_in() { nm "$@" --defined-only | awk '$2 ~ /^[TDBR]$/ { sub(/@.*/, "", $3); print $3 }' | sort -u; }

[ -e "$library" ] || fail "$library is not there"
definitions_in -D "$library" | grep -v -x -e localargc -e localargv >"$private_directory/library"
[ "$(wc -l <"$private_directory/library")" -ge 500 ] || fail "the library shows next to nothing"

users=()
for program in "$build"/bin/* "$build"/python/lumenar/_core*.so; do
  if needs_it "$program"; then users+=("$program"); fi
done
for name in mathctl math_web follow_average; do
  [[ " ${users[*]} " == *"/$name "* ]] || fail "$name does not use the client library"
done
[ ! -d "$build/python/lumenar" ] || [[ " ${users[*]} " == *"/_core"* ]] || fail "the Python module does not use the client library"

for program in "${users[@]}"; do
  definitions_in "$program" | comm -12 - "$private_directory/library" >"$private_directory/both"
  [ ! -s "$private_directory/both" ] || fail "$program has twice: $(head -n 5 "$private_directory/both" | c++filt)"
done

private=$(nm -D --undefined-only "$build/bin/follow_average" | grep LUMENAR_PRIVATE || true)
[ -z "$private" ] || fail "a client uses what is not promised: $(c++filt <<<"$private")"
# Nothing of other libraries, whose versions in a program may be others.
foreign=$(grep -E '^_Z[A-Z]*(N?St|N5boost|N3fmt|N8nlohmann)' "$private_directory/library" || true)
[ -z "$foreign" ] || fail "the library shows what is others': $(head -n 3 <<<"$foreign" | c++filt)"
echo "${#users[@]} programs have one definition of everything"
