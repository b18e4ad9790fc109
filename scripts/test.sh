#!/usr/bin/env bash
# Builds the library with warnings as errors and runs every test.
#   scripts/test.sh              release build in build/
#   scripts/test.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer build in build-san/
# The release build also builds the Python package and runs its tests with Debian's Python.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs=$(nproc 2>/dev/null || echo 2)
preset=python dir=build
if [ "${1:-}" = "--sanitize" ]; then
  preset=asan-ubsan dir=build-san
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
fi
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j"$jobs"
ctest --preset "$preset" -j"$jobs"
if [ "$preset" = python ]; then
  # pytest exits 5 when it collects nothing: a broken collection must not pass as success.
  status=0
  PYTHONPATH="$PWD/$dir/python" /usr/bin/python3 -m pytest -q -p no:cacheprovider python/tests || status=$?
  if [ "$status" -eq 5 ]; then echo "python tests: pytest collected no tests" >&2; exit 1; fi
  exit "$status"
fi
