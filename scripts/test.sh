#!/usr/bin/env bash
# Set up, build, and run every test.
#   bash scripts/test.sh              Release build in build/
#   bash scripts/test.sh --sanitize   AddressSanitizer and UndefinedBehaviorSanitizer
#                                     (float-cast-overflow included) in build-sanitize/
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
configure=()
if [ "${1:-}" = "--sanitize" ]; then
  shift
  export ZKGEN_BUILD_DIR=${ZKGEN_BUILD_DIR:-$root/build-sanitize}
  configure=(-DZKGEN_SANITIZE=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZKGEN_BUILD_BENCH=OFF)
  # Leaks are errors; a sanitizer report stops the test that made it.
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0:halt_on_error=1}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
fi
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "${configure[@]}"
build_dir=${ZKGEN_BUILD_DIR:-$root/build}
ctest --test-dir "$build_dir" --output-on-failure --parallel "$(nproc)"
