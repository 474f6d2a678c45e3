#!/usr/bin/env bash
# Builds everything from nothing and runs every test: once in a plain build and once under
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)

# The plain build is unoptimised so that the two builds together stay quick on two cores.
echo "== build and test (plain) =="
cmake -S . -B build/plain -DCMAKE_BUILD_TYPE=None
cmake --build build/plain -j"$jobs"
ctest --test-dir build/plain --output-on-failure -j"$jobs"

echo "== build and test (address and undefined-behaviour sanitizers) =="
cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DTPC_SANITIZE=ON
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    LSAN_OPTIONS=suppressions="$PWD/tests/lsan.supp" \
    ctest --test-dir build/asan --output-on-failure -j"$jobs"
