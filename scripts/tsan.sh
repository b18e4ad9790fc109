#!/usr/bin/env bash
# Builds the library and the thread test under ThreadSanitizer and runs that test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build-tsan -DMUTILS_TSAN=ON -DMUTILS_BUILD_TOOLS=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" >/dev/null
cmake --build build-tsan -j"$(nproc 2>/dev/null || echo 2)" --target mutils_tests_core
TSAN_OPTIONS=halt_on_error=1 ./build-tsan/tests/mutils_tests_core --gtest_filter='Threads*'
