#!/usr/bin/env bash
# Builds the libFuzzer targets in build-fuzz/ and runs each in turn for
# SECONDS (600 unless given). New inputs go to build-fuzz/corpus/<target>/,
# the committed seeds in fuzz/corpus/<target>/ are only read. A crash, leak,
# timeout or memory blow-up is reproduced, minimised, and listed at the end;
# the exit status is 1 when anything was found.
#   FUZZ_TARGETS="fuzz_record fuzz_pixels fuzz_archive"  which targets to run
#   FUZZ_BUILD_JOBS=2                                    parallel compile jobs
#   FUZZ_NO_SANITIZE=float-cast-overflow                 checks to leave out
set -euo pipefail

seconds="${1:-600}"
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build-fuzz"
targets=(${FUZZ_TARGETS:-fuzz_record fuzz_pixels fuzz_archive})

# The project's own packages, then the compiler and runtime of libFuzzer.
"$root/scripts/ensure-deps.sh"
fuzz_packages=(clang libclang-rt-14-dev)
missing=()
for p in "${fuzz_packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing missing packages: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DOSTREL_FUZZ=ON -DOSTREL_TESTS=OFF -DOSTREL_FUZZ_NO_SANITIZE="${FUZZ_NO_SANITIZE:-}" >/dev/null
ninja -C "$build" -j"${FUZZ_BUILD_JOBS:-2}" "${targets[@]}"

max_len() {
  case "$1" in
    fuzz_record) echo 8192 ;;
    fuzz_pixels) echo 4096 ;;
    fuzz_archive) echo 16384 ;;
  esac
}

dict_for() {
  case "$1" in
    fuzz_record) echo "-dict=$root/fuzz/record.dict" ;;
    fuzz_pixels) echo "-dict=$root/fuzz/pixels.dict" ;;
    fuzz_archive) echo "-dict=$root/fuzz/archive.dict" ;;
  esac
}

findings=()
for t in "${targets[@]}"; do
  bin="$build/fuzz/$t"
  work="$build/corpus/$t"
  out="$build/findings/$t"
  mkdir -p "$work" "$out"
  echo "== $t: ${seconds}s"
  touch "$out/.started"  # findings of earlier runs stay, and are not listed again
  set +e
  # libFuzzer stops at its first finding: start it again for the time left,
  # up to a few findings, since one fault tends to be met again at once.
  : >"$out/run.log"
  deadline=$((SECONDS + seconds))
  stops=0
  while [ $SECONDS -lt $deadline ] && [ $stops -lt 5 ]; do
    set +e
    "$bin" -max_total_time=$((deadline - SECONDS)) -max_len="$(max_len "$t")" $(dict_for "$t") \
      -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$out/" \
      "$work" "$root/fuzz/corpus/$t" >>"$out/run.log" 2>&1
    status=$?
    set -e
    [ $status -eq 0 ] && break
    stops=$((stops + 1))
    echo "   stopped with status $status after $((seconds - (deadline - SECONDS)))s"
  done
  grep -E "^stat::number_of_executed_units" "$out/run.log" | awk '{n += $2} END {print "   inputs run: " n}'
  grep -E "(DONE|REDUCE|NEW|pulse) +cov:" "$out/run.log" | tail -1 | sed 's/^/   last: /' || true

  for artifact in "$out"/crash-* "$out"/leak-* "$out"/timeout-* "$out"/oom-*; do
    [ -f "$artifact" ] && [ "$artifact" -nt "$out/.started" ] || continue
    case "$artifact" in *.min | *.log) continue ;; esac
    set +e
    "$bin" -timeout=10 -rss_limit_mb=2048 "$artifact" >"$artifact.log" 2>&1
    reproduced=$?
    "$bin" -minimize_crash=1 -max_total_time=60 -timeout=10 -exact_artifact_path="$artifact.min" \
      "$artifact" >/dev/null 2>&1
    set -e
    [ -f "$artifact.min" ] || cp "$artifact" "$artifact.min"
    if [ $reproduced -ne 0 ]; then
      findings+=("$t: $artifact (minimised: $artifact.min, trace: $artifact.log)")
      grep -m3 -E "ERROR|FUZZ CHECK|runtime error|SUMMARY" "$artifact.log" | sed 's/^/   /' || true
    else
      findings+=("$t: $artifact did not reproduce alone (trace: $artifact.log)")
    fi
  done
done

echo
if [ ${#findings[@]} -eq 0 ]; then
  echo "No findings."
  exit 0
fi
echo "Findings:"
printf '  %s\n' "${findings[@]}"
echo "Reproduce one with: build-fuzz/fuzz/<target> FILE"
echo "Then keep it as a regression test under tests/unit/fuzz_regressions/ (see fuzz/README.md)."
exit 1
