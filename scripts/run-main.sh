#!/usr/bin/env bash
# The main job: builds and installs fishplayer, builds the example client against the installed
# package, and runs it end to end on the test engine and algorithm.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFISHPLAYER_BUILD_TESTS=ON
cmake --build "$BUILD_DIR" -j"$(nproc)" --target FishPlayer fishplayer_fakes
cmake --install "$BUILD_DIR" --prefix "$BUILD_DIR/install" >/dev/null
cmake -S examples/client -B "$BUILD_DIR/example" -G Ninja -DCMAKE_PREFIX_PATH="$PWD/$BUILD_DIR/install" >/dev/null
cmake --build "$BUILD_DIR/example" >/dev/null
FAKES="$PWD/$BUILD_DIR/fakes"
LD_LIBRARY_PATH="$FAKES/engine/full:$FAKES/algo/full" "$BUILD_DIR/example/fishplayer_example"
