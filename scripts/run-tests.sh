#!/usr/bin/env bash
# Builds fishplayer with its tests and runs the whole test suite:
#   fuzz     the fuzz targets, each for FISHPLAYER_FUZZ_SECONDS (default 60) on its seed corpus
#   address  every test under AddressSanitizer with UndefinedBehaviorSanitizer (halt on error, leaks)
#   thread   every test under ThreadSanitizer
#   plain    every test in the plain build, packaging included
#   qt6      every test in a plain build on Qt 6 (not in the default list: select it explicitly)
# FISHPLAYER_TEST_BUILDS selects and orders them (default: "fuzz address thread plain").
set -euo pipefail
cd "$(dirname "$0")/.."
BUILDS=${FISHPLAYER_TEST_BUILDS:-fuzz address thread plain}
JOBS=$(nproc)
for build in $BUILDS; do
    start=$(date +%s)
    case "$build" in
    fuzz)
        scripts/run-fuzz.sh "${FISHPLAYER_FUZZ_SECONDS:-60}"
        echo "== fuzz build and runs: $(($(date +%s) - start)) s"
        continue
        ;;
    plain)
        dir=build
        cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFISHPLAYER_BUILD_TESTS=ON
        labels=()
        ;;
    qt6)
        dir=build-qt6
        cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFISHPLAYER_BUILD_TESTS=ON -DFISHPLAYER_QT_MAJOR=6
        labels=()
        ;;
    address | thread)
        # The packaging tests build other projects without the sanitizer: they run in the plain build.
        dir=build-$build
        cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DFISHPLAYER_BUILD_TESTS=ON -DFISHPLAYER_SANITIZE="$build"
        labels=(-LE package)
        ;;
    *)
        echo "unknown build: $build" >&2
        exit 2
        ;;
    esac
    cmake --build "$dir" -j"$JOBS"
    echo "== $build build: $(($(date +%s) - start)) s; its tests follow"
    ctest --test-dir "$dir" --output-on-failure -j"$JOBS" --timeout 300 "${labels[@]}"
done
