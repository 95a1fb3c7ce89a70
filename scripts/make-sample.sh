#!/usr/bin/env bash
# Generates the fisheye sample clips used by the engine's tests and the demo, with the ffmpeg
# command (scripts/setup-debian.sh installs it). Nothing it writes is committed.
#
#   scripts/make-sample.sh [OUTPUT_DIR] [SECONDS] [room]
#
# OUTPUT_DIR defaults to build/samples. Two scenes, each turned into a 180-degree equidistant
# fisheye by FFmpeg's v360 filter:
#   - the room (the demo's default): a ceiling-mounted camera looking straight down. Around it, from
#     the horizon at the rim to straight down at the centre, half of the turn is a photograph (a
#     dune by the sea, "Dune.jpg" of Debian's mate-backgrounds package, GPL-2+, by Marco Cogoni and
#     Hylke Bons) and the other half the test pattern below, so that every view, the 360-degree
#     panorama included, shows a picture and something moves;
#   - the test pattern: an equirectangular test picture (colour bars, gradients, a moving marker
#     and a frame counter under a 30-degree grid) seen by a wall-mounted camera, looking at the
#     middle of the scene with the scene's top at the picture's top.
# Written as elementary streams (Annex B for H.264 and H.265), one key frame a second, no
# B-frames, as a live camera sends them:
#   fisheye_1920.h264   1920 x 1920, H.264, the room (ceiling mount): the demo's and the
#                       benchmarks' clip
#   fisheye_wall_1920.h264  1920 x 1920, H.264, the test pattern (wall mount)
#   fisheye_480.h264    480 x 480, H.264, for tests
#   fisheye_480.h265    480 x 480, H.265 (when ffmpeg has an H.265 encoder)
#   fisheye_480.mjpeg   480 x 480, Motion JPEG
set -euo pipefail

OUT_DIR=${1:-build/samples}
SECONDS_LONG=${2:-4}
ONLY=${3:-} # "room": the demo's clip only (its test)
if [ -n "$ONLY" ] && [ "$ONLY" != room ]; then
    echo "make-sample: unknown choice '$ONLY' (room, or nothing for every clip)" >&2
    exit 2
fi
RATE=25

if ! command -v ffmpeg > /dev/null; then
    echo "make-sample: the ffmpeg command is missing (run scripts/setup-debian.sh)" >&2
    exit 1
fi
PHOTO=${FISHPLAYER_SAMPLE_PHOTO:-/usr/share/backgrounds/mate/nature/Dune.jpg}
if [ ! -r "$PHOTO" ]; then
    echo "make-sample: the room's photograph $PHOTO is missing (install mate-backgrounds: scripts/setup-debian.sh)" >&2
    exit 1
fi
mkdir -p "$OUT_DIR"

# circle_cut SIZE: the end of a scene's filter graph: its [fisheye] picture black outside the image
# circle, as a real lens's picture is (v360 alone would fill the corners with what lies beyond 90
# degrees). The circle's mask is computed once and repeated.
circle_cut() {
    local size=$1 frames=$((RATE * SECONDS_LONG))
    echo "nullsrc=size=${size}x${size}:rate=${RATE},trim=end_frame=1,format=gray,geq=lum='if(lte(hypot(X+0.5-W/2\\,Y+0.5-H/2)\\,W/2)\\,255\\,0)',loop=loop=$((frames - 1)):size=1[mask];" \
        "color=c=black:size=${size}x${size}:rate=${RATE}:duration=${SECONDS_LONG},format=yuv444p[black];" \
        "[fisheye][mask]alphamerge[masked];[black][masked]overlay=format=yuv444:shortest=1,format=yuv420p"
}

# pattern WIDTH HEIGHT GRID: the test pattern under its grid.
pattern() {
    echo "testsrc=size=$1x$2:rate=${RATE}:duration=${SECONDS_LONG},drawgrid=w=$3:h=$3:t=3:c=white@0.8"
}

# fisheye_scene SIZE: the test pattern as a SIZE x SIZE wall fisheye.
fisheye_scene() {
    local size=$1
    echo "$(pattern $((2 * size)) "$size" $((size / 6))),v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=${size}:h=${size},format=yuva444p[fisheye];" \
        "$(circle_cut "$size")"
}

# room_scene SIZE: the room as a SIZE x SIZE ceiling fisheye; the photograph is input 0. The lower
# half of the equirectangular scene (horizon to straight down) is the photograph beside the test
# pattern, the upper half (which a 180-degree lens looking down does not see) its mirror image.
room_scene() {
    local size=$1 half=$(($1 / 2)) frames=$((RATE * SECONDS_LONG))
    echo "[0:v]scale=${size}:${half},setsar=1,format=yuv444p,loop=loop=$((frames - 1)):size=1,fps=${RATE}[photo];" \
        "$(pattern "$size" "$half" $((size / 6))),format=yuv444p[pattern];" \
        "[photo][pattern]hstack=inputs=2,split[below][mirror];[mirror]vflip[above];" \
        "[above][below]vstack,v360=input=e:output=fisheye:h_fov=180:v_fov=180:pitch=-90:w=${size}:h=${size},format=yuva444p[fisheye];" \
        "$(circle_cut "$size")"
}

run() {
    ffmpeg -hide_banner -loglevel error -y "$@"
}

run -i "$PHOTO" -filter_complex "$(room_scene 1920)" -frames:v $((RATE * SECONDS_LONG)) -c:v libx264 \
    -preset veryfast -g ${RATE} -bf 0 -f h264 "$OUT_DIR/fisheye_1920.h264"
if [ "$ONLY" = room ]; then
    exit 0
fi
run -filter_complex "$(fisheye_scene 1920)" -c:v libx264 -preset veryfast -g ${RATE} -bf 0 \
    -f h264 "$OUT_DIR/fisheye_wall_1920.h264"
run -filter_complex "$(fisheye_scene 480)" -c:v libx264 -preset veryfast -g ${RATE} -bf 0 \
    -f h264 "$OUT_DIR/fisheye_480.h264"
ENCODERS=$(ffmpeg -hide_banner -encoders 2> /dev/null || true)
if [[ "$ENCODERS" == *libx265* ]]; then
    run -filter_complex "$(fisheye_scene 480)" -c:v libx265 -preset veryfast -pix_fmt yuv420p \
        -x265-params "log-level=error:keyint=${RATE}:bframes=0" -f hevc "$OUT_DIR/fisheye_480.h265"
fi
run -filter_complex "$(fisheye_scene 480)" -c:v mjpeg -q:v 4 -pix_fmt yuvj420p -f mjpeg "$OUT_DIR/fisheye_480.mjpeg"

ls -l "$OUT_DIR"
