#!/usr/bin/env bash
# Configures and builds into build/ (or $ZKGEN_BUILD_DIR). Extra arguments go to cmake's configure step.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir=${ZKGEN_BUILD_DIR:-$root/build}
generator=()
if command -v ninja >/dev/null 2>&1; then generator=(-G Ninja); fi
if [ ! -f "$build_dir/CMakeCache.txt" ]; then
  cmake -S "$root" -B "$build_dir" "${generator[@]}" -DCMAKE_BUILD_TYPE=Release "$@"
elif [ $# -gt 0 ]; then
  cmake -S "$root" -B "$build_dir" "$@"
fi
cmake --build "$build_dir" --parallel "$(nproc)"
