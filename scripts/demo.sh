#!/usr/bin/env bash
# Set up, build, and run the main job on the bundled demo content.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
build_dir=${ZKGEN_BUILD_DIR:-$root/build}
"$build_dir/Tools/zkgen/zkgen" generate --builtin-default-genre --bars 8 --tempo 120 --time-signature 4/4 "$@"
