#!/usr/bin/env bash
# Builds the libFuzzer harnesses with clang (ASan + UBSan) and runs each for a bounded time.
#   scripts/fuzz.sh [seconds-per-harness]      (default 30)
# Findings (crash-*, timeout-*, leak-* files) are left in build-fuzz/findings/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh --fuzz
secs=${1:-30}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j"$(nproc 2>/dev/null || echo 2)"
mkdir -p build-fuzz/findings
rm -f build-fuzz/findings/*.summary
# One harness: seeds copied into its working corpus, a bounded run, one summary line (the log's
# tail when something was found). Harnesses run side by side, one per processor.
fuzz_one() {
  local bin=$1 name corpus log runs
  name=$(basename "$bin")
  corpus=build-fuzz/corpus/$name
  mkdir -p "$corpus"
  cp -n fuzz/corpus/"$name"/* "$corpus"/ 2>/dev/null || true
  log=build-fuzz/findings/$name.log
  if ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
     "$bin" -max_total_time="$secs" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
     -artifact_prefix=build-fuzz/findings/"$name"- "$corpus" >"$log" 2>&1; then
    runs=$(sed -n 's/^Done \([0-9]*\) runs.*/\1/p' "$log" | tail -1)
    echo "$name: ${runs:-?} executions, no finding" >"$log.summary"
  else
    { echo "$name: FINDING (see $log)"; tail -30 "$log"; } >"$log.summary"
    return 1
  fi
}
parallel=$(nproc 2>/dev/null || echo 2)
pids=()
for bin in build-fuzz/fuzz/fuzz_*; do
  while [ "$(jobs -rp | wc -l)" -ge "$parallel" ]; do wait -n || true; done
  fuzz_one "$bin" &
  pids+=($!)
done
wait "${pids[@]}" || true
cat build-fuzz/findings/*.log.summary
! grep -q FINDING build-fuzz/findings/*.log.summary
