#!/usr/bin/env bash
# Puts the small faults of scripts/mutants/*.txt into a scratch copy of the
# tree one at a time, runs the tests after each, and prints the faults that
# survived and the score. By hand only (not part of test.sh): each fault costs
# an incremental build. Arguments: fault ids or patterns to try only those;
# --list to see which faults still apply. See scripts/mutants.py.
set -euo pipefail
exec python3 "$(cd "$(dirname "$0")" && pwd)/mutants.py" "$@"
