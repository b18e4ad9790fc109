#!/usr/bin/env bash
# Builds the library with warnings as errors and runs every test.
#   scripts/test.sh              release build in build/
#   scripts/test.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer build in build-san/
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs=$(nproc 2>/dev/null || echo 2)
preset=release
if [ "${1:-}" = "--sanitize" ]; then
  preset=asan-ubsan
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
fi
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j"$jobs"
ctest --preset "$preset" -j"$jobs"
