#!/usr/bin/env bash
# Builds everything from nothing and runs every test under AddressSanitizer and
# UndefinedBehaviorSanitizer (lightly optimised, so that the build and the run stay quick on two
# cores).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)

echo "== build and test (address and undefined-behaviour sanitizers) =="
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=None -DTPC_SANITIZE=ON \
    -DCMAKE_C_FLAGS="-O1 -g1" -DCMAKE_CXX_FLAGS="-O1 -g1"
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    LSAN_OPTIONS=suppressions="$PWD/tests/lsan.supp" \
    ctest --test-dir build/asan --output-on-failure -j"$jobs"
