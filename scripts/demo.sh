#!/usr/bin/env bash
# Set up, build, and perform the bundled demo song with the demo drummer:
# writes demo.mid (and demo.wav when a General MIDI soundfont is installed)
# in the current folder and prints the drum grid of the first bars.
# Extra arguments go to `zkgen generate` (e.g. --take new, --regenerate fills).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
build_dir=${ZKGEN_BUILD_DIR:-$root/build}
wav=()
for sf in /usr/share/sounds/sf2/FluidR3_GM.sf2 /usr/share/sounds/sf2/TimGM6mb.sf2; do
  if [ -f "$sf" ]; then wav=(--wav demo.wav); break; fi
done
"$build_dir/Tools/zkgen/zkgen" generate "$root/Content/Songs/demo.toml" --output demo.mid "${wav[@]}" \
  --show grid --grid-bars 12 "$@"
