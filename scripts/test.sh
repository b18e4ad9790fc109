#!/usr/bin/env bash
# Builds the library with warnings as errors and runs every test.
#   scripts/test.sh              release build in build/
#   scripts/test.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer build in build-san/
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs=$(nproc 2>/dev/null || echo 2)
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-san
  cmake -S . -B "$dir" -DMUTILS_WERROR=ON -DMUTILS_SANITIZE=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" >/dev/null
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
  dir=build
  cmake -S . -B "$dir" -DMUTILS_WERROR=ON >/dev/null
fi
cmake --build "$dir" -j"$jobs"
ctest --test-dir "$dir" --output-on-failure -j"$jobs"
