#!/usr/bin/env bash
# Builds everything and runs the whole test suite: unit tests without a
# display, then the tests of the real binary, each under an Xvfb of its own.
# Extra arguments go to CMake, e.g. -DOSTREL_SANITIZE=ON (use another
# OSTREL_BUILD_DIR for that).
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="${OSTREL_BUILD_DIR:-$here/build}"
"$here/scripts/build.sh" "$@"
export QT_QPA_PLATFORM_PLUGIN_PATH="${QT_QPA_PLATFORM_PLUGIN_PATH:-}"
# Under the sanitizers: leaks that system libraries keep on purpose.
export LSAN_OPTIONS="suppressions=$here/tests/lsan.supp:print_suppressions=0${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
cd "$build"
ctest --output-on-failure -j2 --timeout 600
