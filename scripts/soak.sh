#!/usr/bin/env bash
# Runs the tests of the real binary N times (default 30) while two other
# processes keep two CPUs busy, as on a loaded shared machine, and prints
# every failure with its run number. A test that fails here fails by chance.
# Usage: scripts/soak.sh [N] [gtest filter]
set -uo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="${OSTREL_BUILD_DIR:-$here/build}"
runs="${1:-30}"
filter="${2:-*}"
ninja -C "$build" ostrel_gui_tests ostrel-stub ostrel-cleanup >/dev/null || exit 1
busy=()
for _ in 1 2; do
  ( while :; do :; done ) &
  busy+=("$!")
done
trap 'kill "${busy[@]}" 2>/dev/null' EXIT
log="$(mktemp -d)"
failed=0
for ((i = 1; i <= runs; i++)); do
  if "$build/ostrel_gui_tests" --gtest_filter="$filter" >"$log/run-$i.txt" 2>&1; then
    echo "run $i/$runs: passed"
    rm -f "$log/run-$i.txt"
  else
    failed=$((failed + 1))
    echo "run $i/$runs: FAILED (output in $log/run-$i.txt)"
    grep -E '^\[  FAILED  \]|Failure$|^Expected|^  Actual|Which is|could not connect' "$log/run-$i.txt" | sort -u | sed 's/^/    /'
    # A crash ends the run without gtest's summary: show its last lines.
    grep -q '^\[  FAILED  \]' "$log/run-$i.txt" || tail -n 5 "$log/run-$i.txt" | sed 's/^/    /'
  fi
done
echo "$((runs - failed)) of $runs runs passed"
[ "$failed" -eq 0 ]
