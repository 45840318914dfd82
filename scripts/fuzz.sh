#!/usr/bin/env bash
# Builds the fuzz targets with clang and libFuzzer in build-fuzz/ (or
# $ZKGEN_FUZZ_BUILD_DIR) and runs them.
#   bash scripts/fuzz.sh [TARGET|all] [SECONDS]
# Each target runs SECONDS (default 60) from its seeds in Fuzz/corpus/TARGET;
# the inputs it finds go to build-fuzz/corpus/TARGET, never into the sources,
# and a crashing input to build-fuzz/artifacts/TARGET/. The build uses
# $ZKGEN_BUILD_JOBS jobs (default: all cores). With ZKGEN_FUZZ_KEEP_GOING=1 a
# target runs in a child process that is restarted after each crash, so that
# one run collects every crash it meets. Exit status 1 when a target found a
# problem.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir=${ZKGEN_FUZZ_BUILD_DIR:-$root/build-fuzz}
which=${1:-all}
seconds=${2:-60}

if ! command -v clang++ >/dev/null 2>&1; then
  echo "fuzzing needs clang and its libFuzzer runtime: apt-get install clang libclang-rt-14-dev" >&2
  exit 2
fi
if [ ! -f "$build_dir/CMakeCache.txt" ]; then
  generator=()
  if command -v ninja >/dev/null 2>&1; then generator=(-G Ninja); fi
  CC=clang CXX=clang++ cmake -S "$root" -B "$build_dir" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DZKGEN_FUZZ=ON -DZKGEN_BUILD_TESTS=OFF -DZKGEN_BUILD_BENCH=OFF -DZKGEN_BUILD_TOOLS=ON
else
  # Configured again, so that a target added since is listed; the tool's
  # parsers (song files, content sources, MIDI files) have targets too.
  cmake -S "$root" -B "$build_dir" -DZKGEN_BUILD_TOOLS=ON >/dev/null
fi

mapfile -t all < "$build_dir/Fuzz/targets.txt"
if [ "$which" = all ]; then
  targets=("${all[@]}")
else
  found=0
  for t in "${all[@]}"; do [ "$t" = "$which" ] && found=1; done
  if [ $found = 0 ]; then
    echo "no fuzz target '$which'; there are: ${all[*]}" >&2
    exit 2
  fi
  targets=("$which")
fi

build_targets=()
for t in "${targets[@]}"; do build_targets+=("fuzz_$t"); done
cmake --build "$build_dir" --parallel "${ZKGEN_BUILD_JOBS:-$(nproc)}" --target "${build_targets[@]}"

# Leaks count; undefined behaviour stops the run (the build makes it fatal).
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# The targets' scratch files stay inside the build folder.
export TMPDIR="$build_dir/tmp"
mkdir -p "$TMPDIR"

keep_going=()
if [ "${ZKGEN_FUZZ_KEEP_GOING:-0}" = 1 ]; then
  keep_going=(-fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1)
fi

status=0
for t in "${targets[@]}"; do
  corpus="$build_dir/corpus/$t"
  artifacts="$build_dir/artifacts/$t/"
  log="$build_dir/logs/$t.log"
  mkdir -p "$corpus" "$artifacts" "$(dirname "$log")"
  stamp="$build_dir/logs/$t.start"
  touch "$stamp"
  echo "== $t: $seconds s"
  if "$build_dir/Fuzz/fuzz_$t" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 \
      -artifact_prefix="$artifacts" -print_final_stats=1 "${keep_going[@]}" "$corpus" "$root/Fuzz/corpus/$t" >"$log" 2>&1; then
    result=ok
  else
    result="FAILED (log: $log, input in $artifacts)"
    status=1
  fi
  grep -E '^Done [0-9]+ runs|stat::number_of_executed_units' "$log" || true
  if [ ${#keep_going[@]} -gt 0 ]; then
    # The parent reports the executions of all its children on its status lines.
    grep -E '^#[0-9]+: cov' "$log" | tail -1 || true
    found=$(find "$artifacts" -type f -newer "$stamp" | wc -l)
    if [ "$found" -gt 0 ]; then
      result="FAILED ($found new inputs in $artifacts)"
      status=1
    fi
  fi
  echo "== $t: $result"
done
exit $status
