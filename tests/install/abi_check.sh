#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# scripts/abi-check sees what breaks programs that are there: a function that is gone, a class that has grown; and lets pass
# what breaks none: a function more, anything of what is not promised. Usage: abi_check.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
clean_up_at_end
make_private_directory lumenar-abi-test
work=$private_directory
fail() { echo "abi_check: $1" >&2; exit 1; }
command -v abidw >/dev/null || { echo "skipped: abidw is not there (scripts/install-deps package)"; exit 77; }

mkdir -p "$work/lib"
cat >"$work/exports.map" <<'END'
LUMENAR_PRIVATE { global: _ZN7Lumenar5Inner*; local: *; };
LUMENAR_CLIENT_1 { global: _ZN7Lumenar6Client*; };
END
# library MORE_OF_THE_CLASS FUNCTIONS: a library with a class and functions of it.
library() {
  cat >"$work/library.cpp" <<END
namespace Lumenar::Client { struct Sample { double value; $1 }; $2 }
namespace Lumenar::Inner { $3 }
END
  g++ -g -shared -fPIC -Wl,--version-script="$work/exports.map" "$work/library.cpp" -o "$work/lib/liblumenar_sample.so.1.0.0"
}
mean='double Mean(const Sample& sample) { return sample.value; }'
peak='double Peak(const Sample& sample) { return sample.value; }'
check() { "$source/scripts/abi-check" --baseline "$work/abi" "$work" >"$work/said" 2>&1; }
breaks() {
  local status=0
  check || status=$?
  [ "$status" = 1 ] || fail "$1: ended with $status: $(cat "$work/said")"
  grep -q -e "$2" "$work/said" || fail "$1: said $(cat "$work/said")"
}

library '' "$mean $peak" 'void Step() {}'
"$source/scripts/abi-check" --update --baseline "$work/abi" "$work" >"$work/said"
check || fail "the same library differs: $(cat "$work/said")"
grep -q 'liblumenar_sample: as before' "$work/said" || fail "$(cat "$work/said")"

library '' "$mean" 'void Step() {}'
breaks "a function is gone" 'Lumenar::Client::Peak'
library 'double error;' "$mean $peak" 'void Step() {}'
breaks "a class has grown" 'Lumenar::Client::Sample'

library '' "$mean $peak double Sum(const Sample& sample) { return sample.value; }" 'void Step() {}'
check || fail "a function more breaks nothing: $(cat "$work/said")"
grep -q 'Lumenar::Client::Sum' "$work/said" || fail "a function more is not shown: $(cat "$work/said")"
library '' "$mean $peak" 'void OtherStep() {}'
check || fail "what is not promised may go: $(cat "$work/said")"

rm "$work"/lib/*
g++ -shared -fPIC -x c++ - -o "$work/lib/liblumenar_sample.so.1.0.0" <<<'int nothing;'
status=0
check || status=$?
[ "$status" = 2 ] || fail "a library without debug information: ended with $status: $(cat "$work/said")"
rm "$work"/lib/*
status=0
check || status=$?
[ "$status" = 2 ] || fail "no library: ended with $status"
echo "a function that is gone and a class that has grown were found"
