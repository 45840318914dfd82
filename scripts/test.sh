#!/usr/bin/env bash
# Set up, build, and run every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
build_dir=${ZKGEN_BUILD_DIR:-$root/build}
ctest --test-dir "$build_dir" --output-on-failure --parallel "$(nproc)"
