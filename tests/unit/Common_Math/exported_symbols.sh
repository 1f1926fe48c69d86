#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# An engine library exports its entry points and nothing else. Usage: exported_symbols.sh LIBRARY
set -euo pipefail
exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | sort | xargs)
expected="createEngine destroyEngine joinEngine localargc localargv math"
[ "$exported" = "$expected" ] || { echo "exported: $exported"; exit 1; }
