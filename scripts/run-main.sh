#!/usr/bin/env bash
# The main job: builds fishplayer with its open engine and algorithm, installs it, runs the
# example client (built against the installed package) on the test engine and algorithm and on
# the open ones, where it writes a PNG per view into build/example-output, then plays the sample
# fisheye clip through the demo on the open engine and algorithm, which writes
# a PNG per view per step and a contact sheet into build/demo-output, and last plays the sample
# camera live: the clip served over RTSP on 127.0.0.1, the demo on its rtsp:// URL
# (build/demo-output-rtsp).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
DEMO_VIDEO=${DEMO_VIDEO:-$BUILD_DIR/samples/fisheye_1920.h264}
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFISHPLAYER_BUILD_TESTS=ON
cmake --build "$BUILD_DIR" -j"$(nproc)" --target FishPlayer fishplayer_fakes korvane zeb_algo_fcu fishplayer_demo
cmake --install "$BUILD_DIR" --prefix "$BUILD_DIR/install" >/dev/null
cmake -S examples/client -B "$BUILD_DIR/example" -G Ninja -DCMAKE_PREFIX_PATH="$PWD/$BUILD_DIR/install" >/dev/null
cmake --build "$BUILD_DIR/example" >/dev/null
FAKES="$PWD/$BUILD_DIR/fakes"
echo "== example client on the test engine and algorithm"
LD_LIBRARY_PATH="$FAKES/engine/full:$FAKES/algo/full" "$BUILD_DIR/example/fishplayer_example"

if [[ ! -f "$DEMO_VIDEO" ]]; then
    scripts/make-sample.sh "$BUILD_DIR/samples"
fi
echo "== example client on the open engine and algorithm: its views as pictures"
rm -rf "$BUILD_DIR/example-output"
LD_LIBRARY_PATH="$PWD/$BUILD_DIR/backends/engine:$PWD/$BUILD_DIR/backends/algo" \
    "$BUILD_DIR/example/fishplayer_example" "$DEMO_VIDEO" "$BUILD_DIR/example-output"
scripts/check-pictures.py "$BUILD_DIR"/example-output/*.png
echo "the example client's pictures are in $BUILD_DIR/example-output"

echo "== demo on the open engine and algorithm"
LD_LIBRARY_PATH="$PWD/$BUILD_DIR/backends/engine:$PWD/$BUILD_DIR/backends/algo" \
    "$BUILD_DIR/demo/fishplayer_demo" "$DEMO_VIDEO" --out "$BUILD_DIR/demo-output"

echo "== the sample camera live: the clip served over RTSP on 127.0.0.1, the demo on its rtsp:// URL"
# The clip five times over (20 s), so that the camera outlasts the demo's script.
DEMO_MP4="${DEMO_VIDEO%.*}_live.mp4"
for _ in 1 2 3 4 5; do cat "$DEMO_VIDEO"; done >"${DEMO_MP4%.mp4}.h264"
ffmpeg -hide_banner -loglevel error -y -i "${DEMO_MP4%.mp4}.h264" -c copy "$DEMO_MP4"
rm -f "${DEMO_MP4%.mp4}.h264"
SERVER_LOG="$BUILD_DIR/rtsp-server.log"
/usr/bin/python3 source/tests/rtsp_server.py "$DEMO_MP4" >"$SERVER_LOG" 2>&1 &
SERVER_PID=$!
trap 'kill "$SERVER_PID" 2>/dev/null || true' EXIT
URL=""
for _ in $(seq 100); do # at most 10 s
    URL=$(sed -n 's/^ready //p' "$SERVER_LOG")
    [[ -n "$URL" ]] && break
    kill -0 "$SERVER_PID" 2>/dev/null || break
    sleep 0.1
done
if [[ -z "$URL" ]]; then
    echo "run-main: the RTSP server did not start (scripts/setup-debian.sh installs it):" >&2
    cat "$SERVER_LOG" >&2
    exit 1
fi
echo "serving $DEMO_MP4 at $URL"
LD_LIBRARY_PATH="$PWD/$BUILD_DIR/backends/engine:$PWD/$BUILD_DIR/backends/algo" \
    "$BUILD_DIR/demo/fishplayer_demo" "$URL" --step-seconds 2 --out "$BUILD_DIR/demo-output-rtsp"
