#!/usr/bin/env bash
# Builds everything from nothing and runs every check, in this order (CI runs exactly this):
#   1. the format check (scripts/check-format.sh);
#   2. every test under AddressSanitizer and UndefinedBehaviorSanitizer (build/asan: clang, -O0,
#      no debug information, a unity build; the sanitizers still name the function of every report),
#      the clean of real Chromium and Firefox ESR profiles included;
#   3. the optimised application as scripts/run.sh builds it (scripts/build-app.sh, build/app),
#      and a start of `tpc --help`;
#   4. the threading tests under ThreadSanitizer (build/tsan: only the programs they need);
#   5. a short run of every fuzz target (scripts/fuzz.sh 5).
# Prints the time of each stage at the end. Stops at the first failure.
#
# Why clang at -O0: on this project clang compiles the sanitizer build about twice as fast as gcc,
# and -O1 doubles the compile time again while saving less than that on the test run.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$(nproc 2>/dev/null || echo 2)
timings=()
stage_start=0
stage_name=""

begin() {
    stage_name=$1
    stage_start=$SECONDS
    echo "== $stage_name =="
}
end() {
    timings+=("$(printf '%-44s %4d s' "$stage_name" $((SECONDS - stage_start)))")
}
summary() {
    echo "== stage times =="
    printf '%s\n' "${timings[@]}"
    printf '%-44s %4d s\n' total "$SECONDS"
}
on_exit() {
    local status=$?
    if [ ${#timings[@]} -gt 0 ]; then
        summary
    fi
    exit "$status"
}
trap on_exit EXIT

# A build folder configured with another compiler or generator is made again from nothing.
fresh() {
    local build=$1 compiler=$2
    if [ -f "$build/CMakeCache.txt" ] &&
        ! { grep -q "^CMAKE_CXX_COMPILER:[A-Z]*=.*$compiler\$" "$build/CMakeCache.txt" &&
            grep -q '^CMAKE_GENERATOR:INTERNAL=Ninja$' "$build/CMakeCache.txt"; }; then
        rm -rf "$build"
    fi
}

begin "packages"
# clang and its runtime (sanitizers, libFuzzer) and clang-format, besides the build's own; and
# the real browsers tests/realbrowsers drives (only the tests need them).
scripts/install-deps.sh clang libclang-rt-14-dev clang-format chromium firefox-esr
end

begin "format check"
scripts/check-format.sh --no-install
end

# Unity builds (several sources of a target compiled as one file) halve the compile time of each
# build; the fuzz build and the usual local builds still compile every source on its own.
clang_args=(-G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
    -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld -DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld
    -DCMAKE_UNITY_BUILD=ON)

begin "asan: configure and build"
fresh build/asan clang++
cmake -S . -B build/asan "${clang_args[@]}" -DTPC_SANITIZE=ON -DCMAKE_C_FLAGS=-O0 \
    -DCMAKE_CXX_FLAGS=-O0 >/dev/null
cmake --build build/asan -j"$jobs"
end

begin "asan: tests"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    LSAN_OPTIONS=suppressions="$PWD/tests/lsan.supp" \
    ctest --test-dir build/asan --output-on-failure -j"$jobs"
end

begin "app: build (scripts/build-app.sh)"
scripts/build-app.sh
build/app/src/tpc --help >/dev/null
end

# The programs whose tests run threads: the task runner and the main-thread queue, the category
# drivers, the preset runner, sleep prevention (its bus watcher), the weekly schedule, and the helper
# client (its tests of the connection and the in-process daemon).
tsan_runs=(
    tests_core_tasks
    tests_core_app
    tests_browsers_driver
    tests_system
    tests_apps
    tests_eraser
    tests_photos
    tests_extensions
    tests_presets
    tests_power
    tests_schedule
    "tests_helper HelperClientTest.*:UnixHelperConnection.*:InProcessDaemon.*"
)
tsan_targets=()
for run in "${tsan_runs[@]}"; do
    tsan_targets+=("${run%% *}")
done

begin "tsan: configure and build"
fresh build/tsan clang++
cmake -S . -B build/tsan "${clang_args[@]}" -DTPC_TSAN=ON -DTPC_BUILD_GUI=OFF \
    -DCMAKE_C_FLAGS=-O1 -DCMAKE_CXX_FLAGS=-O1 >/dev/null
cmake --build build/tsan -j"$jobs" --target "${tsan_targets[@]}"
end

begin "tsan: threading tests"
# Two programs at a time (one a core); each writes its log, and a failure leaves a mark beside it.
tsan_one() {
    local program=${1%% *} filter=${1#* } log
    [ "$filter" = "$1" ] && filter='*'
    log=build/tsan/logs/$program.log
    if TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 build/tsan/tests/"$program" \
        --gtest_brief=1 --gtest_filter="$filter" >"$log" 2>&1; then
        echo "passed  $program ($filter)"
    else
        touch "$log.failed"
        echo "FAILED  $program ($filter), see $log"
        tail -n 60 "$log"
    fi
}
rm -rf build/tsan/logs
mkdir -p build/tsan/logs
for run in "${tsan_runs[@]}"; do
    while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do
        wait -n || true
    done
    tsan_one "$run" &
done
wait
if compgen -G 'build/tsan/logs/*.failed' >/dev/null; then
    exit 1
fi
end

# Every reader of outside data under libFuzzer for a few seconds each (scripts/fuzz.sh SECONDS runs
# a longer campaign by hand).
begin "fuzz targets (short run)"
FUZZ_JOBS=$jobs scripts/fuzz.sh 5
end
