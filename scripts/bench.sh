#!/usr/bin/env bash
# Builds the benchmarks beside their peers (Release), runs every bench/ program and prints one
# table of the comparisons: workload, our time, the peer and its time, the ratio and the target.
#   scripts/bench.sh                     the bench preset, in build-bench/
#   scripts/bench.sh --build-dir DIR     an existing or new build directory instead
#   scripts/bench.sh ... -- ARGS         ARGS passed to every benchmark (e.g. --benchmark_repetitions=3)
# Each program's own output is kept in <build dir>/bench-logs/.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=build-bench
args=()
while [ $# -gt 0 ]; do
  case "$1" in
    --build-dir) dir="$2"; shift 2 ;;
    --) shift; args=("$@"); break ;;
    *) echo "usage: scripts/bench.sh [--build-dir DIR] [-- benchmark args]" >&2; exit 2 ;;
  esac
done
bash scripts/install-deps.sh --bench
jobs=$(nproc 2>/dev/null || echo 2)
if [ "$dir" = build-bench ]; then
  cmake --preset bench >/dev/null
else
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Release -DMUTILS_BUILD_BENCH=ON >/dev/null
fi
targets=()
for src in bench/*.cpp; do targets+=("bench_$(basename "$src" .cpp)"); done
cmake --build "$dir" -j"$jobs" --target "${targets[@]}"
export OPENBLAS_NUM_THREADS=1  # the peers run on one thread, as the library does
mkdir -p "$dir/bench-logs"
rows="$dir/bench-logs/ratios.tsv"
: >"$rows"
for t in "${targets[@]}"; do
  echo "running $t ..." >&2
  "$dir/bench/$t" "${args[@]}" >"$dir/bench-logs/$t.log" 2>&1 || echo "$t failed (see $dir/bench-logs/$t.log)" >&2
  grep '^RATIO' "$dir/bench-logs/$t.log" | cut -f2- >>"$rows" || true
done
echo
awk -F'\t' 'BEGIN { printf "%-46s %10s  %-26s %10s %7s %7s\n", "workload", "ours ms", "peer", "peer ms", "ratio", "target" }
  { printf "%-46s %10.3f  %-26s %10.3f %7.2f %7s%s\n", $1, $2, $3, $4, $5, "<=" $6, ($5 > $6 ? "  OVER" : "") }' "$rows"
