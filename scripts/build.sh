#!/usr/bin/env bash
# Configures and builds everything into build/ (or $OSTREL_BUILD_DIR).
# Extra arguments go to CMake, e.g. -DOSTREL_SANITIZE=ON.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="${OSTREL_BUILD_DIR:-$here/build}"
"$here/scripts/ensure-deps.sh"
cmake -S "$here" -B "$build" -G Ninja "$@" >/dev/null
ninja -C "$build" >&2
