#!/usr/bin/env bash
# The first thing to run: installs what is missing, builds the zelvora tool
# and runs `zelvora demo`, which writes its pictures to build/demo (or the
# directory given) and prints the PSNR of every method and Bayer order.
#   scripts/demo.sh [DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/deps.sh"
ensure_packages cmake ninja-build g++ pkg-config libpng-dev libtiff-dev

out=${1:-"$root/build/demo"}
build="$root/build/tool"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZELVORA_BUILD_TESTS=OFF \
  -DZELVORA_BUILD_BENCH=OFF -DZELVORA_BUILD_TOOL=ON >/dev/null
cmake --build "$build" --target zelvora -j "$(nproc)" >/dev/null
"$build/tools/zelvora/zelvora" demo "$out"
echo
echo "The tool is $build/tools/zelvora/zelvora; run it with 'help' for its other commands."
