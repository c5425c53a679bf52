#!/usr/bin/env bash
# Fuzzes one target (demosaic, shading, deep, tool) or all of them in turn:
#   scripts/fuzz.sh TARGET|all [SECONDS] [libFuzzer options...]   (default 600 s each)
# Builds the fuzzers with clang and the sanitizers in build/fuzz (or
# $ZELVORA_FUZZ_BUILD), replays the kept regression inputs and the generated
# seeds, then runs each target for SECONDS with $ZELVORA_FUZZ_JOBS processes
# (default 2, one per core; all but the first on narrower vector instruction
# sets unless $ZELVORA_INSTRUCTION_SET is given). The corpus grows in
# BUILD/corpus/TARGET; a finding is kept in BUILD/findings, printed with its
# reproducer, and fails the script. Fixed findings belong in
# fuzz/regressions/TARGET.
set -euo pipefail
export LC_ALL=C
root=$(cd "$(dirname "$0")/.." && pwd)
targets=(demosaic shading deep tool)
target=${1:-}
seconds=${2:-600}
shift $(($# < 2 ? $# : 2))
if [[ " all ${targets[*]} " != *" $target "* ]] || ! [[ $seconds =~ ^[0-9]+$ ]]; then
  echo "usage: scripts/fuzz.sh ${targets[*]// /|}|all [SECONDS] [libFuzzer options...]" >&2
  exit 2
fi
[ "$target" = all ] || targets=("$target")

source "$root/scripts/deps.sh"
ensure_packages "${ZELVORA_BUILD_PACKAGES[@]}" "${ZELVORA_FUZZ_PACKAGES[@]}"

build=${ZELVORA_FUZZ_BUILD:-$root/build/fuzz}
jobs=${ZELVORA_FUZZ_JOBS:-2}
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DZELVORA_BUILD_FUZZERS=ON \
  -DZELVORA_BUILD_TESTS=OFF -DZELVORA_BUILD_BENCH=OFF -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON >/dev/null
cmake --build "$build" -j "$(nproc)"
(cd "$build" && ctest --output-on-failure -R "^fuzz_($(IFS='|'; echo "${targets[*]}"))_")

seeds=$build/seeds
rm -rf "$seeds"
"$build/fuzz/fuzz_seeds" "$seeds"
findings=$build/findings
mkdir -p "$findings"

narrower=(AVX2 SSE4 scalar)
round=0
failed=()
for t in "${targets[@]}"; do
  corpus=$build/corpus/$t
  logs=$build/logs/$t
  mkdir -p "$corpus" "$logs"
  rm -f "$logs"/*.log
  options=(-max_total_time="$seconds" -timeout=30 -print_final_stats=1 -artifact_prefix="$findings/$t-")
  [ -f "$root/fuzz/$t.dict" ] && options+=(-dict="$root/fuzz/$t.dict")
  before=$(ls "$findings")
  echo "=== fuzz $t: $seconds s, $jobs process(es), corpus $corpus"
  # One process per job, all sharing the corpus. Unless ZELVORA_INSTRUCTION_SET
  # is given, the first runs the best vector instruction set and the others
  # narrower ones, so that every width's row ends meet the fuzzer.
  pids=() isas=()
  for ((k = 0; k < jobs; k++)); do
    isa=${ZELVORA_INSTRUCTION_SET-}
    [ -z "${ZELVORA_INSTRUCTION_SET+set}" ] && [ "$k" -gt 0 ] && isa=${narrower[(round + k - 1) % ${#narrower[@]}]}
    isas+=("$isa")
    ZELVORA_INSTRUCTION_SET=$isa "$build/fuzz/fuzz_$t" "${options[@]}" "$@" "$corpus" "$seeds/$t" \
      >"$logs/fuzz-$k.log" 2>&1 &
    pids+=($!)
  done
  status=0
  for pid in "${pids[@]}"; do wait "$pid" || status=$?; done
  round=$((round + 1))
  for ((k = 0; k < jobs; k++)); do
    # The last status line: executions, coverage (cov, ft), corpus, speed.
    grep -E '^#[0-9]+[[:space:]]+(DONE|pulse|NEW|REDUCE)' "$logs/fuzz-$k.log" | tail -n 1 |
      sed "s|^|  ${isas[k]:-best}: |" || true
  done
  new=$(comm -13 <(echo "$before") <(ls "$findings") | grep "^$t-" || true)
  if [ -n "$new" ] || [ "$status" -ne 0 ]; then
    echo "fuzz_$t exited with status $status"
    failed+=("$t")
    for log in "$logs"/*.log; do
      # The sanitizer's or libFuzzer's report, from its first line to the end.
      awk '/^==[0-9]+==|^INFO: a leak|ERROR: libFuzzer|runtime error:|broke its contract/ {p=1} p' "$log"
    done
    for unit in $new; do
      isa=
      for ((k = 0; k < jobs; k++)); do grep -q "$unit" "$logs/fuzz-$k.log" && isa=${isas[k]}; done
      echo "reproducer $findings/$unit, base64 below; replay:"
      echo "  ${isa:+ZELVORA_INSTRUCTION_SET=$isa }$build/fuzz/fuzz_$t $findings/$unit"
      base64 -w 76 "$findings/$unit"
    done
  fi
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzing found problems in: ${failed[*]}" >&2
  exit 1
fi
echo "fuzzing passed: ${targets[*]}"
