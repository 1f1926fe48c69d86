#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A running average of a trace and the peak of that average: finds the reading, creates both, watches and draws them, records
# what they are computed from, saves them as a set and makes them again from it. Files go to the current directory.
# Usage: average_and_peak.sh [PATTERN], as average_and_peak.sh 'PROBE/1/WAKEUP*'; of what fits, the first trace is taken.
set -euo pipefail

trace=$(mathctl readings "${1:-*}" | awk '$2 == "BasicTrace" { print $1; exit }')
[ -n "$trace" ] || { echo "no trace fits ${1:-*}" >&2; exit 1; }

average=$(mathctl create Average "$trace")
trap 'mathctl delete "$average" ${peak:+"$peak"}' EXIT # math objects live on when their client ends
mathctl set "$average" SIZE 10
peak=$(mathctl create Peak "$average")

mathctl watch "$average" -n 3
mathctl plot "$trace" "$average" "$peak" -o now.svg --quiet

mathctl record proof.jsonl.zst --with-inputs "$peak" --reset -n 60
mathctl verify proof.jsonl.zst

mathctl save objects.json
mathctl apply objects.json # says "there" of each; after a restart of the engine it makes them again
