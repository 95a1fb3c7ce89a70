#!/usr/bin/env bash
# Builds fishplayer with its tests and runs the whole test suite: the plain build, then the same
# tests under AddressSanitizer with UndefinedBehaviorSanitizer, and under ThreadSanitizer.
# FISHPLAYER_TEST_BUILDS selects the builds (default: "plain address thread").
set -euo pipefail
cd "$(dirname "$0")/.."
BUILDS=${FISHPLAYER_TEST_BUILDS:-plain address thread}
JOBS=$(nproc)
for build in $BUILDS; do
    start=$(date +%s)
    case "$build" in
    plain)
        dir=build
        cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFISHPLAYER_BUILD_TESTS=ON
        labels=()
        ;;
    address | thread)
        # The packaging tests build other projects without the sanitizer: run them in the plain build only.
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
    echo "== tests of the $build build"
    ctest --test-dir "$dir" --output-on-failure -j"$JOBS" --timeout 300 "${labels[@]}"
    echo "== $build build and tests: $(($(date +%s) - start)) s"
done
