#!/usr/bin/env bash
# The product's main job: build everything, make the demo setup bundle and
# install it. With a display the stub starts for you; without one (or with
# --headless) a private Xvfb runs it, a driver walks the installation as a
# person would, and every window is saved as a screenshot.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="${OSTREL_BUILD_DIR:-$here/build}"
out="$here/out/demo"
headless=0
[ "${1:-}" = "--headless" ] && headless=1
if [ -z "${DISPLAY:-}" ] || ! xdpyinfo >/dev/null 2>&1; then headless=1; fi

"$here/scripts/build.sh"

rm -rf "$out"
mkdir -p "$out/screenshots" "$out/install" "$out/home"
bundle="$("$build/ostrel-bundle" "$here/examples/demo/demo.setup" --stub "$build/ostrel-stub" --out "$out")"
exe="$(find "$bundle/Contents/MacOS" -maxdepth 1 -type f -perm -u+x | head -n 1)"
echo "Demo bundle: $bundle"

if [ "$headless" -eq 0 ]; then
  echo "Starting the installer; choose where to install it."
  exec "$exe"
fi

exec "$here/scripts/drive-demo.sh" "$exe" "$out"
