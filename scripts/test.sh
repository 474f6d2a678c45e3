#!/usr/bin/env bash
# Builds everything from nothing and runs every test under AddressSanitizer and
# UndefinedBehaviorSanitizer. The build is unoptimised and without debug information: on two cores
# that halves its time, and the sanitizers still name the function of every report.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)

echo "== build and test (address and undefined-behaviour sanitizers) =="
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=None -DTPC_SANITIZE=ON \
    -DCMAKE_C_FLAGS="-O0" -DCMAKE_CXX_FLAGS="-O0" \
    -DCMAKE_EXE_LINKER_FLAGS="-fuse-ld=lld" -DCMAKE_SHARED_LINKER_FLAGS="-fuse-ld=lld"
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    LSAN_OPTIONS=suppressions="$PWD/tests/lsan.supp" \
    ctest --test-dir build/asan --output-on-failure -j"$jobs"

# Every reader of outside data under libFuzzer for a few seconds each (scripts/fuzz.sh SECONDS runs
# a longer campaign by hand).
echo "== fuzz targets (short run) =="
scripts/fuzz.sh 5
