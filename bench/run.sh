#!/usr/bin/env bash
# Measures the installer's own file work against the standard tools, side by
# side in one run, and prints one table (also written to bench/latest.md).
# bench/startup.sh adds the start-up and size rows of the self-contained
# bundle. The download row fetches 1 GiB from the project's own server on
# 127.0.0.1 through the stub's HTTP client, and the same URL with curl.
#   bench/run.sh [RUNS]        RUNS timed runs of each, 3 unless given
# The corpus (about 20,000 files in 2,500 folders, 600 MB, and one 1 GiB
# file, also cut into the five pieces of a split setup) is made in a private
# tmpfs when one can be mounted (as root), else in /dev/shm, so that the
# disc's cache does not decide the result. Everything is removed at the end.
#   BENCH_SCRATCH=DIR     use DIR (must not exist) instead
#   BENCH_SKIP_INSTALL=1  leave out the installations through the real binary
#                         (under Xvfb); any other value, 0 included, keeps them
set -euo pipefail
runs="${1:-3}"
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build-bench"

"$root/scripts/ensure-deps.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DOSTREL_TESTS=OFF -DOSTREL_BENCH=ON >/dev/null
ninja -C "$build" ostrel-bench ostrel-bench-net ostrel-stub ostrel-cleanup ostrel-bundle ostrel-bench-window >&2
bench="$build/ostrel-bench"
net="$build/ostrel-bench-net"

# Scratch space: a tmpfs of our own, /dev/shm, or what the caller gave.
mounted=""
if [ -n "${BENCH_SCRATCH:-}" ]; then
  s="$BENCH_SCRATCH"
  mkdir "$s"
  medium="$(df --output=fstype "$s" | tail -n 1) (given)"
else
  s="$build/scratch"
  mkdir -p "$s"
  if [ "$(id -u)" -eq 0 ] && mount -t tmpfs -o size=12g,mode=0700 ostrel-bench "$s" 2>/dev/null; then
    mounted="$s"
    medium="tmpfs (mounted for the run)"
  else
    rmdir "$s"
    s="$(mktemp -d /dev/shm/ostrel-bench.XXXXXX)"
    medium="tmpfs (/dev/shm)"
  fi
fi
xvfb=""
server_in=""
cleanup() {
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null
  [ -n "$server_in" ] && exec {server_in}>&-
  if [ -n "$mounted" ]; then umount "$mounted" && rmdir "$mounted"; else rm -rf "$s"; fi
}
trap cleanup EXIT

echo "Making the corpus in $s ($medium)" >&2
mkdir -p "$s/src" "$s/results"
"$bench" corpus "$s/src/Corpus" >&2
"$bench" zip "$s/src" Corpus "$s/payload.zip" >/dev/null
# A payload of about 100 MB, installed whole against unzip of its archive.
mkdir -p "$s/small"
"$bench" corpus "$s/small/Small" 100 >&2
"$bench" zip "$s/small" Small "$s/small.zip" >/dev/null
"$bench" big "$s/big" 1024
# The same 1 GiB as a split setup's pieces: five of them, and their manifest.
mkdir -p "$s/pieces"
split -n 5 -d -a 1 "$s/big" "$s/pieces/Data#"
pieces=("$s"/pieces/Data#*)
"$bench" manifest "$s/pieces.manifest" "${pieces[@]}"
results="$s/results"

# timed NAME COMMAND...: one run, appended to $results/NAME.
timed() {
  local name="$1"
  shift
  "$bench" time "$results/$name" -- "$@" >/dev/null || { echo "failed: $*" >&2; exit 1; }
}
fresh() { rm -rf "$1"; mkdir -p "$1"; }

# The local server for the download row; it ends when its input closes.
coproc SERVER { "$net" serve $((1 << 30)); }
server_in="${SERVER[1]}"
read -r url <&"${SERVER[0]}"

# One untimed pass of each over the same files first: the first reading of
# a file just written costs the kernel extra, whichever tool comes first.
"$bench" unscramble "$s/big"
dd if="$s/big" of="$s/big.new" bs=1M status=none && mv "$s/big.new" "$s/big"
fresh "$s/x"; "$bench" expand "$s/payload.zip" "$s/x"
fresh "$s/x"; unzip -q "$s/payload.zip" -d "$s/x"
"$net" download "$url" "$s/dl" >/dev/null; rm -f "$s/dl"
curl -s -o "$s/dl" "$url"; rm -f "$s/dl"
"$bench" join "$s/joined" "${pieces[@]}"; rm -f "$s/joined"
cat "${pieces[@]}" >"$s/joined"; rm -f "$s/joined"

# Each piece of work, ours and the peers'; odd runs take ours first, even runs
# last, so that neither side always meets the memory the other just freed.
expand_ours() { fresh "$s/x"; timed expand-ours "$bench" expand "$s/payload.zip" "$s/x"; }
expand_peers() {
  fresh "$s/x"; timed expand-unzip unzip -q "$s/payload.zip" -d "$s/x"
  fresh "$s/x"; timed expand-bsdtar bsdtar -xf "$s/payload.zip" -C "$s/x"
  fresh "$s/x"; timed expand-cp cp -r "$s/src/Corpus" "$s/x/"
}
unscramble_ours() { timed unscramble-ours "$bench" unscramble "$s/big"; }
# The durable pattern ours follows: a new file, renamed over the old one.
unscramble_peers() {
  timed unscramble-dd sh -c 'dd if="$1" of="$1.new" bs=1M status=none && mv "$1.new" "$1"' dd "$s/big"
}
delete_ours() { fresh "$s/x"; cp -a "$s/src/Corpus" "$s/x/"; timed delete-ours "$bench" delete "$s/x/Corpus"; }
delete_peers() { fresh "$s/x"; cp -a "$s/src/Corpus" "$s/x/"; timed delete-rm rm -rf "$s/x/Corpus"; }
join_ours() {
  timed join-ours "$bench" join "$s/joined" "${pieces[@]}"; rm -f "$s/joined"
  timed join-checked "$bench" join --manifest "$s/pieces.manifest" "$s/joined" "${pieces[@]}"; rm -f "$s/joined"
}
join_peers() { timed join-cat sh -c 'cat "$@" >"$0"' "$s/joined" "${pieces[@]}"; rm -f "$s/joined"; }
copy_ours() { fresh "$s/x"; timed copy-ours "$bench" copy "$s/src/Corpus" "$s/x/Corpus"; }
copy_peers() { fresh "$s/x"; timed copy-cp cp -a "$s/src/Corpus" "$s/x/Corpus"; }
download_ours() { timed download-ours "$net" download "$url" "$s/dl"; rm -f "$s/dl"; }
download_peers() { timed download-curl curl -s -o "$s/dl" "$url"; rm -f "$s/dl"; }

for run in $(seq "$runs"); do
  echo "Run $run of $runs" >&2
  for work in expand unscramble delete copy join download; do
    if [ $((run % 2)) -eq 1 ]; then "${work}_ours"; "${work}_peers"; else "${work}_peers"; "${work}_ours"; fi
  done
done
rm -rf "$s/x"

# Whole plain installations through the real binary, from the press of
# Install to the end of the process: the corpus, and the 100 MB payload.
install_note=""
if [ "${BENCH_SKIP_INSTALL:-0}" != 1 ]; then
  # install NAME TOP SOURCE: one installation of SOURCE (a folder named TOP).
  # A NAME ending in "-unchecked" installs the same bundle without its
  # manifest, so that nothing is checked against a SHA-256 first.
  install() {
    local name="$1" top="$2" source="$3" bundle exe win start end timer
    bundle="$s/bundle-$name"
    if [ ! -d "$bundle" ]; then
      printf '%s\n' "name = Bench$top" "title = Ostrel Benchmark" "message = Installs the benchmark corpus." \
        "target = $top" "payload = $source" "application_folder = yes" "prompt_to_replace = no" >"$s/$name.setup"
      "$build/ostrel-bundle" "$s/$name.setup" --stub "$build/ostrel-stub" --out "$bundle" >/dev/null
      [ "${name%-unchecked}" = "$name" ] || rm "$bundle/Bench$top.app/Contents/Resources/Manifest"
    fi
    exe="$bundle/Bench$top.app/Contents/MacOS/Bench$top"
    rm -rf "$s/home"
    mkdir -p "$s/home"
    HOME="$s/home" TMPDIR="$s/home" "$bench" time "$results/install-$name-raw" -- "$exe" &
    timer=$!
    win=""
    for _ in $(seq 300); do
      win="$(xdotool search --onlyvisible --name '^Ostrel Benchmark$' 2>/dev/null | head -n 1 || true)"
      [ -n "$win" ] && break
      sleep 0.1
    done
    [ -n "$win" ] || { echo "The installer's window did not appear." >&2; exit 1; }
    sleep 0.3
    start=$(date +%s.%N)
    xdotool mousemove --window "$win" --sync 336 208 click 1   # Install
    wait "$timer"
    end=$(date +%s.%N)
    # The time from the press, with the process's own peak memory.
    tail -n 1 "$results/install-$name-raw" | awk -v a="$start" -v b="$end" '{print b - a, $2, $3}' >>"$results/install-$name"
    diff -rq "$source" "$s/home/Applications/$top" >/dev/null ||
      { echo "The installed tree differs from its source." >&2; exit 1; }
    rm -rf "$s/home"
  }
  install_peers() {
    fresh "$s/x"; timed install-cp cp -r "$s/src/Corpus" "$s/x/"
    fresh "$s/x"; timed install-small-unzip unzip -q "$s/small.zip" -d "$s/x"
  }
  # Xvfb picks a free display and tells its number.
  echo "Starting Xvfb for the installations" >&2
  displayfile="$s/display"
  Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp >"$displayfile" 2>/dev/null &
  xvfb=$!
  for _ in $(seq 100); do [ -s "$displayfile" ] && break; sleep 0.1; done
  [ -s "$displayfile" ] || { echo "Xvfb did not start." >&2; exit 1; }
  export DISPLAY=":$(head -n 1 "$displayfile")"
  for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done
  for run in $(seq "$runs"); do
    echo "Installations, run $run of $runs" >&2
    if [ $((run % 2)) -eq 1 ]; then
      install corpus Corpus "$s/src/Corpus"; install corpus-unchecked Corpus "$s/src/Corpus"
      install small Small "$s/small/Small"; install_peers
    else
      install_peers; install corpus Corpus "$s/src/Corpus"; install corpus-unchecked Corpus "$s/src/Corpus"
      install small Small "$s/small/Small"
    fi
  done
  rm -rf "$s/x"
else
  install_note=" (installations left out)"
fi

# The table: medians of wall time and peak resident memory.
median() { sort -n | awk '{a[NR] = $1} END {print (NR % 2) ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2}'; }
secs() { cut -d' ' -f1 "$results/$1" | median; }
peak() { cut -d' ' -f2 "$results/$1" | median | awk '{printf "%.0f", $1 / 1024}'; }
row() {  # work, ours, peer name, peer, target ratio
  local ours peer ratio verdict
  [ -f "$results/$2" ] || return 0
  ours="$(secs "$2")"
  peer="$(secs "$4")"
  ratio="$(awk -v a="$ours" -v b="$peer" 'BEGIN {printf "%.2f", a / b}')"
  verdict="$(awk -v r="$ratio" -v t="$5" 'BEGIN {print (t == "" ? "" : (r <= t ? "met (≤ " t ")" : "missed (≤ " t ")"))}')"
  printf '| %s | %.2f s | %s MiB | %s | %.2f s | %s MiB | %s | %s |\n' "$1" "$ours" "$(peak "$2")" "$3" "$peer" "$(peak "$4")" "$ratio" "$verdict"
}
cpu="$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')"
table="$(
  echo "Machine: $(nproc) cores ($cpu), $(free -g | awk '/^Mem:/ {print $2}') GiB, $(uname -sr); scratch on $medium; $(date -u +%Y-%m-%d)."
  echo "Corpus: $(find "$s/src/Corpus" -type f | wc -l) files in $(find "$s/src/Corpus" -type d | wc -l) folders, $(du -sm "$s/src/Corpus" | cut -f1) MiB; payload zip $(du -m "$s/payload.zip" | cut -f1) MiB; one 1 GiB file; a second payload of $(du -sm "$s/small/Small" | cut -f1) MiB ($(du -m "$s/small.zip" | cut -f1) MiB zipped). Medians of $runs runs$install_note."
  echo
  echo "| work | ours | our peak | peer | peer's time | peer's peak | ratio | target |"
  echo "|---|---|---|---|---|---|---|---|"
  row "expand the payload zip" expand-ours "unzip -q" expand-unzip 0.25
  row "expand the payload zip" expand-ours "bsdtar -xf" expand-bsdtar ""
  row "expand the payload zip" expand-ours "cp -r of the tree" expand-cp 1.0
  row "unscramble 1 GiB" unscramble-ours "dd bs=1M to a new file, mv over" unscramble-dd 1.3
  row "delete the tree" delete-ours "rm -rf" delete-rm 0.8
  row "copy the tree" copy-ours "cp -a" copy-cp 0.6
  row "download 1 GiB from 127.0.0.1" download-ours "curl -s -o" download-curl 1.2
  row "join a 1 GiB split setup" join-ours "cat of the pieces" join-cat 1.15
  row "join, each piece checked (SHA-256)" join-checked "cat of the pieces" join-cat ""
  row "whole installation, Install to end" install-corpus-unchecked "cp -r of the tree" install-cp 1.5
  row "the same, Data2 checked (SHA-256)" install-corpus "cp -r of the tree" install-cp ""
  row "100 MB installation, Install to end" install-small "unzip -q of its archive" install-small-unzip 0.6
  echo
  echo "The self-contained bundle: start-up (medians of $((runs * 5)) starts) and sizes."
  echo
  "$root/bench/startup.sh" $((runs * 5)) "$build"
)"
echo "$table" | tee "$root/bench/latest.md"
