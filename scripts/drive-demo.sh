#!/usr/bin/env bash
# Walks one installation of the demo bundle under a private Xvfb, by clicks
# and keys, saving a screenshot of every window. Arguments: the stub
# executable inside the bundle, and the demo's output folder.
set -euo pipefail
exe="$1"
out="$2"
shots="$out/screenshots"
target_parent="$out/install"

here="$(cd "$(dirname "$0")" && pwd)"
. "$here/xvfb-driver.sh"

# A home of its own, so that the run leaves nothing outside out/.
HOME="$out/home" TMPDIR="$out/home" "$exe" &
stub=$!

main="$(wait_window '^Ostrel Demo')"
shot "$main" main-window
click "$main" 336 208     # Install

notes="$(wait_window '^Pre-Installation Notes$')"
shot "$notes" notes
geometry "$notes"; click "$notes" $((WIDTH - 60)) $((HEIGHT - 30))   # OK

agreement="$(wait_window '^License Agreement$')"
shot "$agreement" agreement
geometry "$agreement"; click "$agreement" $((WIDTH - 70)) $((HEIGHT - 24))   # I Agree

choose_folder "$target_parent"

# A small payload is often in place before this look: then there is nothing to show.
sleep 0.5
shot "$main" installing 2>/dev/null || echo "  (the installation ended before its screenshot)"
wait_stub

installed="$target_parent/DemoApp"
if [ ! -d "$installed" ]; then echo "Nothing was installed at $installed." >&2; exit 1; fi
if ! diff -r "$out/payload/DemoApp" "$installed" >/dev/null; then
  echo "The installed tree differs from its source." >&2; exit 1
fi
ls "$target_parent"/*.zip >/dev/null 2>&1 && { echo "The working archive was left behind." >&2; exit 1; }
echo "The demo was installed at: $installed ($(find "$installed" -type f | wc -l) files, equal to the source)"
echo "Screenshots: $shots"
