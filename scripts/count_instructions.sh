#!/usr/bin/env bash
# Instructions per pixel of one call of a kernel on 32-bit ARM, counted under
# qemu-arm: every instruction executed is one trace line with -singlestep.
# Two runs, of one and of two calls, are subtracted, so the program's own
# set-up and the one-time choices of the library drop out.
#   scripts/count_instructions.sh [KERNEL...]   (default: every kernel)
# Builds the armhf static library first when it is missing.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/deps.sh"
ensure_packages "${ZELVORA_BUILD_PACKAGES[@]}" "${ZELVORA_CROSS_PACKAGES[@]}"
build="$root/build/count-armhf"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/armhf-toolchain.cmake" \
  -DZELVORA_BUILD_TESTS=OFF -DZELVORA_BUILD_BENCH=OFF -DZELVORA_BUILD_TOOL=OFF >/dev/null
cmake --build "$build" --target Zelvora_static >/dev/null
sysroot=/usr/arm-linux-gnueabihf
flags=(-O2 -march=armv7-a -mfpu=neon -mfloat-abi=hard)
arm-linux-gnueabihf-gcc "${flags[@]}" -std=c99 -I"$root/include" -c "$root/bench/instructions.c" -o "$build/instructions.o"
arm-linux-gnueabihf-g++ "${flags[@]}" "$build/instructions.o" "$build/libZelvora.a" -o "$build/instructions"

count() {
  local log="$build/trace.log"
  qemu-arm -L "$sysroot" -singlestep -d exec,nochain -D "$log" "$build/instructions" "$1" "$2"
  local n
  n=$(grep -c '^Trace' "$log")
  rm -f "$log"
  echo "$n"
}

kernels=("$@")
[ ${#kernels[@]} -eq 0 ] && kernels=(nearest bilinear bilinear16 edge edge16 edge16full)
printf '%-12s %s\n' kernel "instructions/pixel (128x128)"
for k in "${kernels[@]}"; do
  one=$(count "$k" 1)
  two=$(count "$k" 2)
  awk -v k="$k" -v a="$one" -v b="$two" 'BEGIN { printf "%-12s %.1f\n", k, (b - a) / (128 * 128) }'
done
