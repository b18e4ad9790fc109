#!/usr/bin/env bash
# Builds the library and the thread test under ThreadSanitizer and runs that test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset tsan >/dev/null
cmake --build --preset tsan -j"$(nproc 2>/dev/null || echo 2)"
TSAN_OPTIONS=halt_on_error=1 ./build-tsan/tests/mutils_tests_core --gtest_filter='Threads*'
