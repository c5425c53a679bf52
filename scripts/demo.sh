#!/usr/bin/env bash
# The first thing to run: installs what is missing, builds the zelvora tool
# and runs `zelvora demo`, which writes its pictures to build/demo (or the
# directory given) and prints the PSNR of every method and Bayer order. It
# also builds the Python module and copies it to python3's user
# site-packages, so that `import zelvora` works.
#   scripts/demo.sh [DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/deps.sh"
ensure_packages cmake ninja-build g++ pkg-config libpng-dev libtiff-dev "${ZELVORA_PYTHON_PACKAGES[@]}"

out=${1:-"$root/build/demo"}
build="$root/build/tool"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZELVORA_BUILD_TESTS=OFF \
  -DZELVORA_BUILD_BENCH=OFF -DZELVORA_BUILD_TOOL=ON -DZELVORA_BUILD_PYTHON=ON >/dev/null
cmake --build "$build" --target zelvora zelvora_python -j "$(nproc)" >/dev/null
"$build/tools/zelvora/zelvora" demo "$out"
echo
echo "The tool is $build/tools/zelvora/zelvora; run it with 'help' for its other commands."

site=$("$ZELVORA_PYTHON" -m site --user-site)
mkdir -p "$site"
cp "$build"/python/zelvora*.so "$site/"
echo "The Python module is in $site: python3 -c 'import zelvora; help(zelvora)'"
