#!/usr/bin/env bash
# Builds the fuzz targets (clang with libFuzzer, AddressSanitizer with UndefinedBehaviorSanitizer,
# against the fakes of the engine and the algorithm) in build-fuzz/ and runs each one for a bounded
# time on a working copy of its seed corpus inside the build folder, so the repository stays clean.
# Exits non-zero on any finding: crash, sanitizer report, leak, timeout or memory limit. The input
# that caused it is kept in build-fuzz/fuzz-artifacts/ and the run's log in build-fuzz/fuzz-logs/.
#
# Usage: scripts/run-fuzz.sh [seconds per target (default 60)] [target...]
# Reproduce a finding: LD_LIBRARY_PATH=build-fuzz/fakes/engine/full:build-fuzz/fakes/algo/full \
#                      build-fuzz/fuzz/<target> <artifact>
set -euo pipefail
cd "$(dirname "$0")/.."
SECONDS_PER_TARGET=${1:-60}
shift || true
TARGETS=${*:-fuzz_stream_creation fuzz_user_data fuzz_facade_calls fuzz_source_input fuzz_engine_stream}
BUILD_DIR=${BUILD_DIR:-build-fuzz}

# clang 14 and its fuzzer runtime, from Debian's packages when missing.
FUZZER_RUNTIME=/usr/lib/llvm-14/lib/clang/14.0.6/lib/linux/libclang_rt.fuzzer-x86_64.a
if ! command -v clang++-14 >/dev/null 2>&1 || [ ! -e "$FUZZER_RUNTIME" ]; then
    SUDO=""
    if [ "$(id -u)" -ne 0 ]; then
        SUDO=sudo
    fi
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    $SUDO apt-get install -y -qq --no-install-recommends clang-14 libclang-rt-14-dev libfuzzer-14-dev >/dev/null
fi

CC=clang-14 CXX=clang++-14 cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DFISHPLAYER_BUILD_TESTS=ON -DFISHPLAYER_BUILD_FUZZERS=ON -DFISHPLAYER_SANITIZE=address >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)" --target fishplayer_fuzzers

FAKES="$PWD/$BUILD_DIR/fakes"
export LD_LIBRARY_PATH="$FAKES/engine/full:$FAKES/algo/full"
export ASAN_OPTIONS="halt_on_error=1:detect_leaks=1:abort_on_error=0"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
mkdir -p "$BUILD_DIR/fuzz-logs" "$BUILD_DIR/fuzz-artifacts"

PASSED=0
FAILED=0
for TARGET in $TARGETS; do
    CORPUS="$BUILD_DIR/fuzz-corpus/$TARGET"
    LOG="$BUILD_DIR/fuzz-logs/$TARGET.log"
    mkdir -p "$CORPUS"
    cp fuzz/corpus/"$TARGET"/* "$CORPUS"/
    echo "fuzz: $TARGET for ${SECONDS_PER_TARGET}s"
    if "$BUILD_DIR/fuzz/$TARGET" "$CORPUS" -max_total_time="$SECONDS_PER_TARGET" -timeout=20 \
        -rss_limit_mb=4096 -detect_leaks=1 -print_final_stats=1 \
        -artifact_prefix="$BUILD_DIR/fuzz-artifacts/$TARGET-" >"$LOG" 2>&1; then
        PASSED=$((PASSED + 1))
        RESULT=clean
    else
        FAILED=$((FAILED + 1))
        RESULT=FINDING
        grep -E "ERROR|SUMMARY|runtime error|Test unit written" "$LOG" | head -20 || true
    fi
    RUNS=$(sed -n 's/^stat::number_of_executed_units: *//p' "$LOG" | tail -1)
    RATE=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$LOG" | tail -1)
    RSS=$(sed -n 's/^stat::peak_rss_mb: *//p' "$LOG" | tail -1)
    FILES=$(find "$CORPUS" -type f | wc -l)
    echo "fuzz: $TARGET $RESULT: ${RUNS:-?} inputs, ${RATE:-?} exec/s, peak ${RSS:-?} MB, corpus $FILES files"
done
echo "fuzz: $PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
