#!/usr/bin/env bash
# The whole test suite: installs what is missing, then builds and tests three
# configurations (native release, native with AddressSanitizer and
# UndefinedBehaviorSanitizer, 32-bit ARM under qemu-arm) and the threaded
# tests under ThreadSanitizer, checks that an installed copy is found by
# CMake, pkg-config and python3, and fuzzes every fuzz target for a minute
# after replaying its regression inputs. The native release and sanitizer
# configurations build the Python module and run its pytest suite.
#   scripts/test.sh [release|sanitize|tsan|armhf|install|fuzz]...   (default: all six)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/deps.sh"
configs=("$@")
[ ${#configs[@]} -eq 0 ] && configs=(release sanitize tsan armhf install fuzz)

packages=("${ZELVORA_BUILD_PACKAGES[@]}" "${ZELVORA_PYTHON_PACKAGES[@]}")
[[ " ${configs[*]} " == *" armhf "* ]] && packages+=("${ZELVORA_CROSS_PACKAGES[@]}")
ensure_packages "${packages[@]}"

jobs=$(nproc)
run_config() {
  local name=$1; shift
  local dir="$root/build/ci-$name"
  echo "=== $name ==="
  cmake -S "$root" -B "$dir" -G Ninja "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && ctest --output-on-failure -j "$jobs")
}

# ThreadSanitizer on what runs on several threads: the README's pthreads
# example (row bands on several handles at once) and the tool's band runner.
run_tsan() {
  local dir="$root/build/ci-tsan" flags=-fsanitize=thread
  echo "=== tsan ==="
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZELVORA_BUILD_BENCH=OFF \
    -DCMAKE_C_FLAGS=$flags -DCMAKE_CXX_FLAGS=$flags -DCMAKE_EXE_LINKER_FLAGS=$flags \
    -DCMAKE_SHARED_LINKER_FLAGS=$flags >/dev/null
  cmake --build "$dir" -j "$jobs" --target rows_example_test test_tool_bands
  (cd "$dir" && ctest --output-on-failure -R '^(rows_example_test|ToolBands\..*)$')
}

for config in "${configs[@]}"; do
  case $config in
    release) run_config release -DCMAKE_BUILD_TYPE=Release -DZELVORA_BUILD_BENCH=ON -DZELVORA_BUILD_PYTHON=ON ;;
    sanitize) run_config sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZELVORA_SANITIZE=ON -DZELVORA_BUILD_BENCH=OFF \
                -DZELVORA_BUILD_PYTHON=ON ;;
    armhf) run_config armhf -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$root/cmake/armhf-toolchain.cmake" \
             -DZELVORA_BUILD_BENCH=OFF -DZELVORA_BUILD_TOOL=OFF ;;
    install) "$root/scripts/check_install.sh" ;;
    tsan) run_tsan ;;
    fuzz) ZELVORA_FUZZ_BUILD="$root/build/ci-fuzz" "$root/scripts/fuzz.sh" all "${ZELVORA_FUZZ_SECONDS:-60}" ;;
    *) echo "unknown configuration: $config" >&2; exit 2 ;;
  esac
done
echo "all configurations passed: ${configs[*]}"
