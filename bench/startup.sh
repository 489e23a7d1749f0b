#!/usr/bin/env bash
# The self-contained bundle's cost: how long the stub takes from its start to
# its main window on screen, against a plain Qt Widgets program that shows one
# window from a bundle carrying the same libraries (the toolkit's floor), and
# what the bundle weighs. Prints a Markdown table (bench/run.sh appends it to
# its own).
#   bench/startup.sh [RUNS] [BUILD]   RUNS starts of each, 10 unless given;
#                                     BUILD a Release build with OSTREL_BENCH=ON
set -euo pipefail
runs="${1:-10}"
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${2:-$root/build-bench}"
if [ -z "${2:-}" ]; then
  "$root/scripts/ensure-deps.sh"
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DOSTREL_TESTS=OFF -DOSTREL_BENCH=ON >/dev/null
  ninja -C "$build" ostrel-stub ostrel-cleanup ostrel-bundle ostrel-bench-window >&2
fi

s="$(mktemp -d)"
mkdir -p "$s/home"
xvfb=""
cleanup() {
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null
  rm -rf "$s"
}
trap cleanup EXIT

demo="$("$build/ostrel-bundle" "$root/examples/demo/demo.setup" --stub "$build/ostrel-stub" --out "$s/out")"
# The floor's bundle: the same carried runtime beside a one-window program.
plain="$s/Plain.app/Contents"
mkdir -p "$plain/MacOS"
cp -a "$demo/Contents/Frameworks" "$demo/Contents/PlugIns" "$plain/"
cp "$build/ostrel-bench-window" "$plain/MacOS/Plain"
strip "$plain/MacOS/Plain"

displayfile="$s/display"
Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -noreset >"$displayfile" 2>/dev/null &
xvfb=$!
for _ in $(seq 100); do [ -s "$displayfile" ] && break; sleep 0.1; done
export DISPLAY=":$(head -n 1 "$displayfile")" QT_QPA_PLATFORM=xcb

# Seconds from the start of PROGRAM until a visible window titled TITLE.
shown_after() {  # title program
  local start end pid
  start="$(date +%s.%N)"
  HOME="$s/home" TMPDIR="$s" "$2" >/dev/null 2>&1 &
  pid=$!
  for _ in $(seq 2000); do
    xdotool search --onlyvisible --name "$1" >/dev/null 2>&1 && break
    sleep 0.005
  done
  end="$(date +%s.%N)"
  kill "$pid" 2>/dev/null
  wait "$pid" 2>/dev/null || true
  awk -v a="$start" -v b="$end" 'BEGIN {printf "%.3f\n", b - a}'
}
median() { sort -n | awk '{a[NR] = $1} END {print (NR % 2) ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2}'; }

title="$(sed -n 's/^title *= *//p' "$root/examples/demo/demo.setup")"
exe="$demo/Contents/MacOS/$(basename "$(readlink "$demo/Install $(basename "$demo" .app)")")"
shown_after "$title" "$exe" >/dev/null  # one untimed start of each, for the page cache
shown_after "Plain Window" "$plain/MacOS/Plain" >/dev/null
: >"$s/stub.times"
: >"$s/plain.times"
for _ in $(seq "$runs"); do  # in turns, so that neither always goes first
  shown_after "$title" "$exe" >>"$s/stub.times"
  shown_after "Plain Window" "$plain/MacOS/Plain" >>"$s/plain.times"
done
stub_t="$(median <"$s/stub.times")"
plain_t="$(median <"$s/plain.times")"
ratio="$(awk -v a="$stub_t" -v b="$plain_t" 'BEGIN {printf "%.2f", a / b}')"
verdict="$(awk -v r="$ratio" 'BEGIN {print (r <= 1.3) ? "met (≤ 1.3)" : "missed (≤ 1.3)"}')"

mib() { du -sb "$@" | awk '{t += $1} END {printf "%.1f MiB", t / 1048576}'; }
tar -czf "$s/demo.tar.gz" -C "$(dirname "$demo")" "$(basename "$demo")"

echo "| work | ours | peer | peer's time | ratio | target |"
echo "|---|---|---|---|---|---|"
printf '| start to the main window, self-contained bundle | %.3f s | one Qt window from a bundle | %.3f s | %s | %s |\n' \
  "$stub_t" "$plain_t" "$ratio" "$verdict"
echo
echo "| the demo bundle | size |"
echo "|---|---|"
echo "| the stub (stripped) | $(mib "$exe") |"
echo "| carried libraries (Contents/Frameworks) | $(mib "$demo/Contents/Frameworks") |"
echo "| carried Qt plugins (Contents/PlugIns) | $(mib "$demo/Contents/PlugIns") |"
echo "| the whole demo bundle | $(mib "$demo") |"
echo "| the demo bundle as tar.gz | $(mib "$s/demo.tar.gz") |"
