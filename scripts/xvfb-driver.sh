# Sourced by the drive scripts: a private Xvfb for the run, and the helpers
# that find windows, take screenshots and click, the way a person would.
# Expects $shots (the screenshot folder); sets $xvfb and uses $stub.

# Xvfb picks a free display itself and tells its number: lock files in /tmp
# may be stale or missing, and other sessions may be starting theirs.
displayfile="$(mktemp)"
Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp >"$displayfile" 2>/dev/null &
xvfb=$!
stub=""
n=0
cleanup() {
  if [ -n "$stub" ]; then kill "$stub" 2>/dev/null || true; fi
  kill "$xvfb" 2>/dev/null || true
  rm -f "$displayfile"
}
trap cleanup EXIT
for _ in $(seq 100); do [ -s "$displayfile" ] && break; sleep 0.1; done
[ -s "$displayfile" ] || { echo "Xvfb did not start." >&2; exit 1; }
export DISPLAY=":$(head -n 1 "$displayfile")"
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
  # A window that closes meanwhile can leave import waiting for ever.
  timeout 10 import -window "$1" "$f" && echo "  screenshot: $f"
}
geometry() { eval "$(xdotool getwindowgeometry --shell "$1")"; }
click() { xdotool mousemove --window "$1" --sync "$2" "$3" click 1; }
choose_folder() {  # folder
  local chooser
  chooser="$(wait_window '^Select Folder$')"
  shot "$chooser" folder-chooser
  xdotool windowfocus --sync "$chooser"
  xdotool key --clearmodifiers ctrl+a
  xdotool type --delay 5 "$1"
  xdotool key Return
}
wait_stub() {  # waits for the installer to end
  for _ in $(seq 600); do kill -0 "$stub" 2>/dev/null || break; sleep 0.1; done
  if kill -0 "$stub" 2>/dev/null; then echo "The installer did not finish." >&2; exit 1; fi
  wait "$stub" || true
  stub=""
}
