#!/usr/bin/env bash
# Latency of live playing: the time from a packet's arrival (the demuxer handing it over) to its
# picture shown (decoded, rendered into every view of the demo), as the demo measures it, on an
# RTSP stream served on 127.0.0.1 by GStreamer's RTSP server, over TCP and UDP, at two picture
# sizes. Writes a Markdown table to OUT (default: standard output); scripts/run-benchmarks.sh
# puts it into docs/performance.md.
#
#   scripts/measure-live.sh [BUILD_DIR] [OUT]
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${1:-build}
OUT=${2:-/dev/stdout}
DEMO="$BUILD_DIR/demo/fishplayer_demo"
[[ -x "$DEMO" ]] || { echo "measure-live: build $DEMO first" >&2; exit 1; }
WORK=$(mktemp -d /tmp/fishplayer-live-XXXXXX)
SERVER_PID=""
trap '[[ -n "$SERVER_PID" ]] && kill "$SERVER_PID" 2>/dev/null; rm -rf "$WORK"' EXIT

ROWS=()
for size in 480 1920; do
    echo "measure-live: ${size} x ${size}" >&2
    ffmpeg -hide_banner -loglevel error -y -f lavfi \
        -i "testsrc=size=$((2 * size))x${size}:rate=25:duration=34,v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=${size}:h=${size},format=yuv420p" \
        -c:v libx264 -preset veryfast -g 25 -bf 0 "$WORK/live_${size}.mp4"
    for transport in tcp udp; do
        /usr/bin/python3 source/tests/rtsp_server.py "$WORK/live_${size}.mp4" >"$WORK/server.log" 2>&1 &
        SERVER_PID=$!
        URL=""
        for _ in $(seq 100); do
            URL=$(sed -n 's/^ready //p' "$WORK/server.log")
            [[ -n "$URL" ]] && break
            sleep 0.1
        done
        [[ -n "$URL" ]] || { cat "$WORK/server.log" >&2; exit 1; }
        LINE=$(LD_LIBRARY_PATH="$PWD/$BUILD_DIR/backends/engine:$PWD/$BUILD_DIR/backends/algo" \
            "$DEMO" "$URL" --transport "$transport" --step-seconds 6 --out "$WORK/out" 2>&1 |
            tr '\r' '\n' | grep "latency from packet arrival" || true)
        kill "$SERVER_PID" 2>/dev/null || true
        wait "$SERVER_PID" 2>/dev/null || true
        SERVER_PID=""
        MEDIAN=$(sed -n 's/.*median \([0-9.]*\) ms.*/\1/p' <<<"$LINE")
        P95=$(sed -n 's/.*95th percentile \([0-9.]*\) ms.*/\1/p' <<<"$LINE")
        COUNT=$(sed -n 's/.*(\([0-9]*\) pictures).*/\1/p' <<<"$LINE")
        ROWS+=("| ${size} x ${size} | RTSP/${transport} | ${MEDIAN:-?} | ${P95:-?} | ${COUNT:-?} |")
    done
done
{
    echo "| picture | source | median ms | 95th percentile ms | pictures |"
    echo "|---|---|---:|---:|---:|"
    printf '%s\n' "${ROWS[@]}"
} >"$OUT"
