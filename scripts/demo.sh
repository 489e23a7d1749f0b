#!/usr/bin/env bash
# The product's main job: build everything, make the demo setup bundle and
# install it. With a display the stub starts for you; without one (or with
# --headless) a private Xvfb runs it, a driver walks the installation as a
# person would, and every window is saved as a screenshot.
#   scripts/demo.sh [--headless] [demo|actions]
# "actions" builds and installs examples/actions/ instead: programs run
# before and after installing, the action list, and the clean-up.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="${OSTREL_BUILD_DIR:-$here/build}"
headless=0
example=demo
for arg in "$@"; do
  case "$arg" in
    --headless) headless=1 ;;
    demo | actions) example="$arg" ;;
    *) echo "usage: scripts/demo.sh [--headless] [demo|actions]" >&2; exit 2 ;;
  esac
done
out="$here/out/$example"
if [ -z "${DISPLAY:-}" ] || ! xdpyinfo >/dev/null 2>&1; then headless=1; fi

"$here/scripts/build.sh"

rm -rf "$out"
mkdir -p "$out/screenshots" "$out/install" "$out/home" "$out/tmp"
bundle="$("$build/ostrel-bundle" "$here/examples/$example/$example.setup" --stub "$build/ostrel-stub" --out "$out")"
exe="$(find "$bundle/Contents/MacOS" -maxdepth 1 -type f -perm -u+x | head -n 1)"
echo "Setup bundle: $bundle"

if [ "$headless" -eq 0 ]; then
  echo "Starting the installer; choose where to install it."
  [ "$example" = demo ] && exec "$exe"
  # The example's actions write below its home: one of its own, inside out/.
  export XAUTHORITY="${XAUTHORITY:-$HOME/.Xauthority}"
  HOME="$out/home" TMPDIR="$out/tmp" exec "$exe"
fi

exec "$here/scripts/drive-$example.sh" "$exe" "$out" "$bundle"
