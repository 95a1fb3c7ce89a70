#!/usr/bin/env bash
# Generates the fisheye sample clips used by the engine's tests and the demo, with the ffmpeg
# command (scripts/setup-debian.sh installs it). Nothing it writes is committed.
#
#   scripts/make-sample.sh [OUTPUT_DIR] [SECONDS]
#
# OUTPUT_DIR defaults to build/samples. The scene is an equirectangular test picture (colour bars,
# gradients, a moving marker and a frame counter under a 30-degree grid) turned into a 180-degree
# equidistant fisheye by FFmpeg's v360 filter, looking at the middle of the scene with the scene's
# top at the picture's top. Written as elementary streams (Annex B for H.264 and H.265), one key
# frame a second, no B-frames, as a live camera sends them:
#   fisheye_1920.h264   1920 x 1920, H.264, the demo's and the benchmarks' clip
#   fisheye_480.h264    480 x 480, H.264, for tests
#   fisheye_480.h265    480 x 480, H.265 (when ffmpeg has an H.265 encoder)
#   fisheye_480.mjpeg   480 x 480, Motion JPEG
set -euo pipefail

OUT_DIR=${1:-build/samples}
SECONDS_LONG=${2:-4}
RATE=25

if ! command -v ffmpeg > /dev/null; then
    echo "make-sample: the ffmpeg command is missing (run scripts/setup-debian.sh)" >&2
    exit 1
fi
mkdir -p "$OUT_DIR"

# fisheye_scene SIZE: the filter graph of the scene as a SIZE x SIZE fisheye, black outside the
# image circle as a real lens's picture is (v360 alone would fill the corners with what lies beyond
# 90 degrees). The circle's mask is computed once and repeated.
fisheye_scene() {
    local size=$1 grid=$(($1 / 6)) frames=$((RATE * SECONDS_LONG))
    echo "testsrc=size=$((2 * size))x${size}:rate=${RATE}:duration=${SECONDS_LONG},drawgrid=w=${grid}:h=${grid}:t=3:c=white@0.8,v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=${size}:h=${size},format=yuva444p[fisheye];" \
        "nullsrc=size=${size}x${size}:rate=${RATE},trim=end_frame=1,format=gray,geq=lum='if(lte(hypot(X+0.5-W/2\\,Y+0.5-H/2)\\,W/2)\\,255\\,0)',loop=loop=$((frames - 1)):size=1[mask];" \
        "color=c=black:size=${size}x${size}:rate=${RATE}:duration=${SECONDS_LONG},format=yuv444p[black];" \
        "[fisheye][mask]alphamerge[masked];[black][masked]overlay=format=yuv444,format=yuv420p"
}

run() {
    ffmpeg -hide_banner -loglevel error -y "$@"
}

run -filter_complex "$(fisheye_scene 1920)" -c:v libx264 -preset veryfast -g ${RATE} -bf 0 \
    -f h264 "$OUT_DIR/fisheye_1920.h264"
run -filter_complex "$(fisheye_scene 480)" -c:v libx264 -preset veryfast -g ${RATE} -bf 0 \
    -f h264 "$OUT_DIR/fisheye_480.h264"
ENCODERS=$(ffmpeg -hide_banner -encoders 2> /dev/null || true)
if [[ "$ENCODERS" == *libx265* ]]; then
    run -filter_complex "$(fisheye_scene 480)" -c:v libx265 -preset veryfast -pix_fmt yuv420p \
        -x265-params "log-level=error:keyint=${RATE}:bframes=0" -f hevc "$OUT_DIR/fisheye_480.h265"
fi
run -filter_complex "$(fisheye_scene 480)" -c:v mjpeg -q:v 4 -pix_fmt yuvj420p -f mjpeg "$OUT_DIR/fisheye_480.mjpeg"

ls -l "$OUT_DIR"
