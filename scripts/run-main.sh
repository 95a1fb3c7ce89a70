#!/usr/bin/env bash
# The main job: builds fishplayer and runs the smoke program against the test engine and algorithm.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFISHPLAYER_BUILD_TESTS=ON
cmake --build "$BUILD_DIR" -j"$(nproc)" --target fishplayer_smoke
LD_LIBRARY_PATH="$PWD/$BUILD_DIR/fakes/engine/full:$PWD/$BUILD_DIR/fakes/algo/full" "$BUILD_DIR/tests/fishplayer_smoke"
