#!/usr/bin/env bash
# Installs the engine into a scratch prefix and builds a host program against it
# twice: once with pkg-config, once with find_package.
set -euo pipefail
build_dir=$1
src_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
# The .pc file carries the configure-time prefix; point pkg-config at the scratch one.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig
pcdir=$(dirname "$(find "$prefix" -name zkgenengine.pc | head -n1)")
flags=$(pkg-config --define-variable=prefix="$prefix" --cflags --libs "$pcdir/zkgenengine.pc")
libdir=$(dirname "$(find "$prefix" -name 'libZKGenEngine.so' | head -n1)")
# ZKGEN_CONSUMER_FLAGS: what a sanitized engine asks of its host.
extra=${ZKGEN_CONSUMER_FLAGS:-}
${CXX:-g++} $extra -o "$work/consumer_pc" "$src_dir/consumer.cpp" $flags
LD_LIBRARY_PATH=$libdir "$work/consumer_pc"

mkdir -p "$work/cm"
cmake -S "$src_dir" -B "$work/cm" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="${CXX:-g++}" \
  -DCMAKE_CXX_FLAGS="$extra" -DCMAKE_EXE_LINKER_FLAGS="$extra" >/dev/null
cmake --build "$work/cm" >/dev/null
LD_LIBRARY_PATH=$libdir "$work/cm/consumer"
echo "install consumer: ok"
