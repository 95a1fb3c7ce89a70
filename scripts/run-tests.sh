#!/usr/bin/env bash
# Builds fishplayer with its tests and runs the whole test suite:
#   fuzz     the fuzz targets, each for FISHPLAYER_FUZZ_SECONDS (default 20) on its seed corpus
#   address  every test under AddressSanitizer with UndefinedBehaviorSanitizer (halt on error, leaks)
#   thread   every test under ThreadSanitizer
#   plain    every test in the plain build, packaging included
#   qt6      every test in a plain build on Qt 6 but the demo's input tests (their subject, the
#            source component, has no Qt: the plain build runs them)
#   windows  the Windows DLL and every test under Wine (scripts/run-windows-tests.sh), when the Qt
#            for MinGW is cached on the machine, or when the contract (abi/), the bindings, the exported class or the
#            build files changed since the last full run recorded in .ci/windows-run (then the Qt
#            for MinGW is built first, which takes long); skipped otherwise
# FISHPLAYER_TEST_BUILDS selects and orders them (default: "fuzz address thread plain qt6 windows").
set -euo pipefail
cd "$(dirname "$0")/.."
BUILDS=${FISHPLAYER_TEST_BUILDS:-fuzz address thread plain qt6 windows}
JOBS=$(nproc)
CACHE=${FISHPLAYER_CACHE:-$HOME/.cache/fishplayer}
made=()
trap 'echo "== runs made: ${made[*]:-none}"' EXIT
for build in $BUILDS; do
    start=$(date +%s)
    case "$build" in
    windows)
        recorded=$(cut -d' ' -f1 .ci/windows-run 2>/dev/null || true)
        current=$(scripts/windows-stamp.sh)
        if [ -f "$CACHE/qt5-mingw/complete" ]; then
            echo "== windows: Qt for MinGW cached; running"
        elif [ "$recorded" != "$current" ]; then
            echo "== windows: bindings, exported class or build files changed since the last full run ($recorded, now $current); building Qt for MinGW and running"
        else
            echo "== windows: skipped (no Qt for MinGW cached; nothing it proves changed since the run of $(cut -d' ' -f2 .ci/windows-run))"
            made+=("windows(skipped)")
            continue
        fi
        scripts/setup-windows.sh
        scripts/run-windows-tests.sh
        made+=("windows($(($(date +%s) - start))s)")
        continue
        ;;
    fuzz)
        scripts/run-fuzz.sh "${FISHPLAYER_FUZZ_SECONDS:-20}"
        echo "== fuzz build and runs: $(($(date +%s) - start)) s"
        made+=("fuzz($(($(date +%s) - start))s)")
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
        labels=(-E '^demo[.]inputs[.]')
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
    made+=("$build($(($(date +%s) - start))s)")
done
