#!/usr/bin/env bash
# Installs the engine into a scratch prefix (never the configured one) and checks
# that the installed tree stands on its own: pkg-config and find_package both
# find it where it was put, a host program builds and runs against it twice,
# the installed zkgen runs, and no installed package file names the
# configure-time prefix or the build tree.
set -euo pipefail
build_dir=$(cd "$1" && pwd -P)
src_dir=$(cd "$2" && pwd -P)
source_root=$(cd "$src_dir/../.." && pwd -P)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
work=$(cd "$work" && pwd -P)

fail()
{
  echo "install consumer: $*" >&2
  exit 1
}

cache_value()
{
  sed -n "s/^$1:[A-Z]*=//p" "$build_dir/CMakeCache.txt"
}

configured_prefix=$(cache_value CMAKE_INSTALL_PREFIX)
[ -n "$configured_prefix" ] || fail "no CMAKE_INSTALL_PREFIX in $build_dir/CMakeCache.txt"
prefix=$work/prefix
[ "$prefix" != "$configured_prefix" ] || fail "scratch prefix equals the configured one"
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

pc=$(find "$prefix" -name zkgenengine.pc -path '*/pkgconfig/*' | head -n1)
[ -n "$pc" ] || fail "zkgenengine.pc not installed"
pcdir=$(dirname "$pc")
libdir=$(dirname "$(find "$prefix" -name 'libZKGenEngine.so' | head -n1)")
cmakedir=$libdir/cmake/ZKGenEngine
[ -f "$cmakedir/ZKGenEngineConfig.cmake" ] || fail "ZKGenEngineConfig.cmake not beside the library"

# Nothing installed for a host to read may name where the tree was configured
# or built: such a path is wrong as soon as the tree lives elsewhere.
for p in "$configured_prefix" "$build_dir" "$source_root"; do
  if grep -rnF -- "$p" "$pcdir" "$cmakedir"; then
    fail "installed package files name $p"
  fi
done

# Plain pkg-config: the .pc finds its prefix from its own place.
export PKG_CONFIG_PATH=$pcdir
pc_prefix=$(pkg-config --variable=prefix zkgenengine)
[ "$(cd "$pc_prefix" && pwd -P)" = "$prefix" ] || fail "pkg-config prefix $pc_prefix is not $prefix"
pc_libdir=$(pkg-config --variable=libdir zkgenengine)
[ "$(cd "$pc_libdir" && pwd -P)" = "$libdir" ] || fail "pkg-config libdir $pc_libdir is not $libdir"
pc_includedir=$(pkg-config --variable=includedir zkgenengine)
[ -f "$pc_includedir/ZKGenEngine/ZKGenEngine.h" ] || fail "no ZKGenEngine.h under $pc_includedir"
flags=$(pkg-config --cflags --libs zkgenengine)
# ZKGEN_CONSUMER_FLAGS: what a sanitized engine asks of its host.
extra=${ZKGEN_CONSUMER_FLAGS:-}
${CXX:-g++} $extra -o "$work/consumer_pc" "$src_dir/consumer.cpp" $flags
LD_LIBRARY_PATH=$libdir "$work/consumer_pc"

mkdir -p "$work/cm"
cmake -S "$src_dir" -B "$work/cm" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="${CXX:-g++}" \
  -DCMAKE_CXX_FLAGS="$extra" -DCMAKE_EXE_LINKER_FLAGS="$extra" >/dev/null
found=$(sed -n 's/^ZKGenEngine_DIR:PATH=//p' "$work/cm/CMakeCache.txt")
[ "$(cd "$found" && pwd -P)" = "$cmakedir" ] || fail "find_package used $found, not $cmakedir"
cmake --build "$work/cm" >/dev/null
LD_LIBRARY_PATH=$libdir "$work/cm/consumer"

# The installed tool, against the installed library.
if [ "$(cache_value ZKGEN_BUILD_TOOLS)" = "ON" ]; then
  [ -x "$prefix/bin/zkgen" ] || fail "zkgen not installed in $prefix/bin"
  version=$(LD_LIBRARY_PATH=$libdir "$prefix/bin/zkgen" --version)
  [ "$version" = "zkgen $(pkg-config --modversion zkgenengine)" ] || fail "zkgen --version printed '$version'"
  echo "$version"
  # It finds the engine through its run path and plays the installed demo
  # library when none is named.
  [ -f "$prefix/share/zkgenengine/Demo.glibb/library.glib" ] || fail "the demo bundle is not installed"
  out=$(env -u LD_LIBRARY_PATH "$prefix/bin/zkgen" generate --bars 2) || fail "installed zkgen generate: $out"
  grep -q "Performance: [1-9][0-9]* events" <<<"$out" || fail "installed zkgen played nothing: $out"
fi

# A tree moved after installing still points at itself.
mv "$prefix" "$work/moved"
moved_prefix=$(PKG_CONFIG_PATH=$work/moved/${pcdir#"$prefix"/} pkg-config --variable=prefix zkgenengine)
[ "$(cd "$moved_prefix" && pwd -P)" = "$work/moved" ] || fail "pkg-config prefix does not follow a moved tree"
echo "install consumer: ok"
