#!/usr/bin/env bash
# Installs the library into a scratch prefix other than the one it was
# configured with and builds a small C consumer against it twice: through
# find_package(Zelvora) and through pkg-config; then imports the installed
# Python module.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/deps.sh"
work="$root/build/ci-install"
rm -rf "$work" && mkdir -p "$work"
echo "=== install ==="
cmake -S "$root" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZELVORA_BUILD_TESTS=OFF \
  -DZELVORA_BUILD_BENCH=OFF -DZELVORA_BUILD_TOOL=OFF -DZELVORA_BUILD_PYTHON=ON -DCMAKE_INSTALL_PREFIX="$work/configured" >/dev/null
cmake --build "$work/build" >/dev/null
cmake --install "$work/build" --prefix "$work/prefix" >/dev/null
[ ! -e "$work/configured" ] || { echo "install wrote to the configured prefix"; exit 1; }

mkdir -p "$work/consumer"
cp "$root/tests/rows_example_test.c" "$work/consumer/main.c"
cp "$root/examples/rows_example.c" "$work/consumer/"
cat >"$work/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.20)
project(consumer C)
find_package(Zelvora REQUIRED)
find_package(Threads REQUIRED)
add_executable(consumer main.c)
target_link_libraries(consumer PRIVATE Zelvora::Zelvora Threads::Threads)
CMAKE
cmake -S "$work/consumer" -B "$work/consumer/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer/build" >/dev/null
"$work/consumer/build/consumer"

export PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name zelvora.pc)")
libdir=$(pkg-config --variable=libdir zelvora)
[ "$(cd "$libdir" && pwd -P)" = "$(cd "$(dirname "$PKG_CONFIG_PATH")" && pwd -P)" ] ||
  { echo "pkg-config points to $libdir"; exit 1; }
cc -std=c99 -pthread "$work/consumer/main.c" $(pkg-config --cflags --libs zelvora) -Wl,-rpath,"$libdir" -o "$work/pc-consumer"
"$work/pc-consumer"
readelf -d "$libdir/libZelvora.so" | grep -q 'SONAME.*libZelvora.so.0' && echo "SONAME libZelvora.so.0"

# The module's directory under the prefix is one Debian's python3 searches
# under /usr/local, and the module imports from there.
site=$(cd "$work/prefix" && dirname lib/python3*/dist-packages/zelvora*.so)
"$ZELVORA_PYTHON" -c "import sys; sys.exit(0 if '/usr/local/$site' in sys.path else 'python3 does not search /usr/local/$site')"
PYTHONPATH="$work/prefix/$site" "$ZELVORA_PYTHON" -c "import zelvora; print('python3 imports zelvora', zelvora.__version__)"
echo "install check passed"
