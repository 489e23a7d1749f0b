#!/usr/bin/env bash
# Walks one installation of the demo bundle under a private Xvfb, by clicks
# and keys, saving a screenshot of every window. Arguments: the stub
# executable inside the bundle, and the demo's output folder.
set -euo pipefail
exe="$1"
out="$2"
shots="$out/screenshots"
target_parent="$out/install"
n=0

for d in $(seq 90 150); do [ -e "/tmp/.X$d-lock" ] || break; done
export DISPLAY=":$d"
Xvfb "$DISPLAY" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
stub=""
cleanup() { [ -n "$stub" ] && kill "$stub" 2>/dev/null; kill "$xvfb" 2>/dev/null || true; }
trap cleanup EXIT
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

wait_window() {  # title regex -> window id
  for _ in $(seq 200); do
    id="$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1 || true)"
    [ -n "$id" ] && { sleep 0.3; echo "$id"; return 0; }
    sleep 0.1
  done
  echo "The window \"$1\" did not appear." >&2
  return 1
}
shot() {  # window id, name
  n=$((n + 1))
  local f
  f="$shots/$(printf '%02d' "$n")-$2.png"
  import -window "$1" "$f" && echo "  screenshot: $f"
}
geometry() { eval "$(xdotool getwindowgeometry --shell "$1")"; }
click() { xdotool mousemove --window "$1" --sync "$2" "$3" click 1; }

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

chooser="$(wait_window '^Select Folder$')"
shot "$chooser" folder-chooser
xdotool windowfocus --sync "$chooser"
xdotool key --clearmodifiers ctrl+a
xdotool type --delay 5 "$target_parent"
xdotool key Return

sleep 0.5
shot "$main" installing || true
for _ in $(seq 600); do kill -0 "$stub" 2>/dev/null || break; sleep 0.1; done
if kill -0 "$stub" 2>/dev/null; then echo "The installer did not finish." >&2; exit 1; fi
wait "$stub" || true
stub=""

installed="$target_parent/DemoApp"
if [ ! -d "$installed" ]; then echo "Nothing was installed at $installed." >&2; exit 1; fi
if ! diff -r "$out/payload/DemoApp" "$installed" >/dev/null; then
  echo "The installed tree differs from its source." >&2; exit 1
fi
ls "$target_parent"/*.zip >/dev/null 2>&1 && { echo "The working archive was left behind." >&2; exit 1; }
echo "The demo was installed at: $installed ($(find "$installed" -type f | wc -l) files, equal to the source)"
echo "Screenshots: $shots"
