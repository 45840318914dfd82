#!/usr/bin/env bash
# The main job as a user runs it: `zkgen generate` as a whole process (bundle
# load included) over a song of N bars (default 500) made of the demo song's
# sections, with its wall time and peak memory.
#   bash scripts/bench_song.sh [BARS]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir=${ZKGEN_BUILD_DIR:-$root/build}
bars=${1:-500}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Sections of the demo song in turn: 4/4, 7/8 and 6/8, tempo changes.
{
  echo 'title = "Long song"'
  echo 'tempo = 112'
  echo '[controls]'
  echo 'fills = 50'
  total=0; i=0
  specs=('4|4/4|15|30' '8|4/4|45|45' '8|4/4|50|80' '6|7/8|70|55' '8|4/4|80|90' '4|6/8|10|25')
  while [ $total -lt "$bars" ]; do
    IFS='|' read -r b ts c n <<<"${specs[$((i % 6))]}"
    [ $((total + b)) -gt "$bars" ] && b=$((bars - total))
    printf '[[section]]\nname = "S%d"\nbars = %d\ntime-signature = "%s"\ncomplexity = %d\nintensity = %d\n' "$i" "$b" "$ts" "$c" "$n"
    total=$((total + b)); i=$((i + 1))
  done
} >"$work/song.toml"
zkgen=$build_dir/Tools/zkgen/zkgen
"$zkgen" generate "$work/song.toml" -o "$work/warm.mid" >/dev/null
# Wall time from the shell's clock; peak memory and CPU time (which a busy
# machine disturbs less) from GNU time when it is installed (package "time").
for run in 1 2 3 4 5; do
  rm -f "$work/song.mid" "$work/song.take"
  start=$(date +%s%N)
  if [ -x /usr/bin/time ]; then
    /usr/bin/time -f "%M KB, cpu %U s user + %S s system" -o "$work/kb" "$zkgen" generate "$work/song.toml" -o "$work/song.mid" >/dev/null
  else
    "$zkgen" generate "$work/song.toml" -o "$work/song.mid" >/dev/null
    echo "?" >"$work/kb"
  fi
  end=$(date +%s%N)
  echo "run $run: $(( (end - start) / 1000000 )) ms, peak $(cat "$work/kb") ($bars bars)"
done
