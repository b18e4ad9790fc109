#!/usr/bin/env bash
# Measures the command-line program's batch mode: Canny edges of 16 generated 1024 x 1024
# greymaps with --jobs 1 and --jobs 2, and prints the ratio of the two wall times.
#   scripts/bench-cli.sh [path-to-mutils]        (default build/tools/mutils)
set -euo pipefail
cd "$(dirname "$0")/.."
bin=$(realpath "${1:-build/tools/mutils}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for i in $(seq 1 16); do
  pgmramp -ellipse 1024 1024 > "$work/in$i.pgm"
done
# Best wall time of three runs with --jobs $1 (the machine's other load only ever adds time).
elapsed() {
  local start end best=""
  for _ in 1 2 3; do
    start=$(date +%s.%N)
    "$bin" edges canny "$work"/in*.pgm -o "$work/out$1" --jobs "$1" >/dev/null
    end=$(date +%s.%N)
    best=$(awk -v a="$start" -v b="$end" -v m="$best" 'BEGIN { t = b - a; print (m == "" || t < m) ? t : m }')
  done
  echo "$best"
}
"$bin" edges canny "$work/in1.pgm" -o "$work/warm.pgm" >/dev/null  # warm the page cache
t1=$(elapsed 1)
t2=$(elapsed 2)
printf 'jobs 1: %.3f s\njobs 2: %.3f s\nratio jobs2/jobs1: %.2f\n' "$t1" "$t2" "$(awk -v a="$t1" -v b="$t2" 'BEGIN { print b / a }')"
