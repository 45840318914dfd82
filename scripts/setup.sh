#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the benchmarks need.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail
packages=(
  build-essential g++ cmake ninja-build pkg-config
  libboost-serialization-dev libboost-graph-dev
  liblua5.2-dev libplist-dev zlib1g-dev
  libspdlog-dev libfmt-dev libtomlplusplus-dev nlohmann-json3-dev libcli11-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libsmf-dev libfluidsynth-dev timgm6mb-soundfont
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all packages present"
  exit 0
fi
sudo_cmd=""
if [ "$(id -u)" -ne 0 ]; then sudo_cmd="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo_cmd apt-get update
$sudo_cmd apt-get install -y "${missing[@]}"
