#!/usr/bin/env bash
# Builds the fuzz targets (fuzz/, clang with libFuzzer and the address and undefined-behaviour
# sanitizers, in build/fuzz), makes their seed corpora and runs each target in turn for
# SECONDS_PER_TARGET seconds (default 20). Fails on the first crash, leak, timeout or broken
# invariant; the input that did it is kept under build/fuzz/findings/<target>/. Prints the number
# of inputs each target ran and the total.
#
#   scripts/fuzz.sh [SECONDS_PER_TARGET] [TARGET...]
#
# Corpora grow in build/fuzz/corpus/<target>/ and are reused by the next run. Set FUZZ_NICE=10 to
# run the targets at a lower priority (long campaigns on a shared machine), FUZZ_JOBS=N to run N
# targets at a time (default 1; each target uses one core).
set -euo pipefail

seconds=${1:-20}
shift || true
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build/fuzz"

# clang and its runtime (libFuzzer, the sanitizers), besides the libraries of the readers.
"$root/scripts/install-deps.sh" clang libclang-rt-14-dev

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
if [ ! -f "$build/build.ninja" ]; then
    cmake -S "$root/fuzz" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ \
        -DCMAKE_C_COMPILER=clang "${launcher[@]}" >/dev/null
fi
mkdir -p "$build/logs"
if ! ninja -C "$build" -j"$(nproc)" >"$build/logs/build.log" 2>&1; then
    cat "$build/logs/build.log" >&2
    exit 1
fi

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(fuzz_plist fuzz_binarycookies fuzz_recent_files fuzz_desktop_entry fuzz_profiles_ini
             fuzz_user_dirs fuzz_helper_wire fuzz_preference_domains)
fi

seeds="$build/seeds"
rm -rf "$seeds"
"$root/fuzz/make-seeds.sh" "$build/fuzz_make_seeds" "$seeds"

# The targets' scratch files; a crashed target cannot clean up after itself.
export TMPDIR="$build/tmp"
rm -rf "$TMPDIR"
mkdir -p "$TMPDIR"

# Runs one target; its exit status is left in $log.status.
run_target() {
    local target=$1
    local corpus="$build/corpus/$target"
    local findings="$build/findings/$target"
    local log="$build/logs/$target.log"
    mkdir -p "$corpus" "$findings" "$(dirname "$log")"
    local regressions=()
    if [ -d "$root/fuzz/regressions/$target" ]; then
        regressions=("$root/fuzz/regressions/$target")
    fi
    local status=0
    ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1} UBSAN_OPTIONS=print_stacktrace=1 \
        nice -n "${FUZZ_NICE:-0}" "$build/$target" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/" \
        "$corpus" "$seeds/$target" "${regressions[@]}" >"$log" 2>&1 || status=$?
    echo "$status" >"$log.status"
}

parallel=${FUZZ_JOBS:-1}
for target in "${targets[@]}"; do
    rm -f "$build/logs/$target.log.status"
    while [ "$(jobs -rp | wc -l)" -ge "$parallel" ]; do
        wait -n || true
    done
    run_target "$target" &
done
wait

total=0
failed=()
for target in "${targets[@]}"; do
    log="$build/logs/$target.log"
    status=$(cat "$log.status" 2>/dev/null || echo 1)
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    runs=${runs:-0}
    total=$((total + runs))
    if [ "$status" -ne 0 ]; then
        failed+=("$target")
        printf '%-26s %12s executions  FAILED (exit %d, see %s)\n' "$target" "$runs" "$status" "$log"
        grep -E '^(==[0-9]+==ERROR|SUMMARY|\*\*\* fuzz invariant|artifact_prefix|Test unit written)' \
            "$log" | head -n 10 || true
    else
        printf '%-26s %12s executions\n' "$target" "$runs"
    fi
done
printf '%-26s %12s executions\n' total "$total"

if [ ${#failed[@]} -gt 0 ]; then
    echo "fuzzing failed: ${failed[*]}" >&2
    exit 1
fi
