#!/usr/bin/env bash
# Installs what fishplayer needs to build and test on Debian 12. Elevates itself when not root.
#
#   scripts/setup-debian.sh [--benchmarks]
#
# --benchmarks also installs OpenCV's image processing (libopencv-imgproc-dev), which only
# scripts/run-benchmarks.sh uses, to compare the remap with OpenCV's.
set -euo pipefail
BENCHMARKS=0
for arg in "$@"; do
    case $arg in
        --benchmarks) BENCHMARKS=1 ;;
        -h | --help)
            sed -n '2,7p' "$0" | sed 's/^# \{0,1\}//'
            exit 0
            ;;
        *)
            echo "setup: unknown option '$arg' (allowed: --benchmarks, --help)" >&2
            exit 1
            ;;
    esac
done
if [ "$(id -u)" -ne 0 ]; then
    exec sudo "$0" "$@"
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
# mate-backgrounds: the photograph of the demo's scene (scripts/make-sample.sh); xdotool: the
# viewer's tests drive it with real X input; libegl-dev and libgles-dev: the headers the engine's GL
# renderer is built with; libegl-mesa0, libgles2 and libgl1-mesa-dri: Mesa's EGL and its software
# rasteriser (llvmpipe), on which the GL tests run without a GPU.
apt-get install -y -qq --no-install-recommends \
    ca-certificates cmake ninja-build g++ make pkg-config \
    qtbase5-dev qt6-base-dev libgtest-dev libgmock-dev googletest libbenchmark-dev \
    clang-14 clang-format libclang-rt-14-dev libfuzzer-14-dev \
    ffmpeg libavcodec-dev libavformat-dev libavutil-dev libswscale-dev libxcb1-dev libxcb-shm0-dev xvfb \
    gir1.2-gst-rtsp-server-1.0 python3-gi gstreamer1.0-plugins-base gstreamer1.0-plugins-good \
    gstreamer1.0-plugins-bad xdotool mate-backgrounds \
    libegl-dev libgles-dev libegl-mesa0 libgles2 libgl1-mesa-dri >/dev/null
if [ "$BENCHMARKS" = 1 ]; then
    apt-get install -y -qq --no-install-recommends libopencv-imgproc-dev >/dev/null
fi
echo "setup: build and test tools installed$([ "$BENCHMARKS" = 1 ] && echo ", with OpenCV for the benchmarks")"
