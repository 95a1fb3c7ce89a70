#!/usr/bin/env bash
# Installs what fishplayer needs to build and test on Debian 12. Elevates itself when not root.
# mate-backgrounds: the photograph of the demo's scene (scripts/make-sample.sh); xdotool: the
# viewer's tests drive it with real X input.
set -euo pipefail
if [ "$(id -u)" -ne 0 ]; then
    exec sudo "$0" "$@"
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends \
    ca-certificates cmake ninja-build g++ make pkg-config \
    qtbase5-dev qt6-base-dev libgtest-dev libgmock-dev googletest libbenchmark-dev \
    clang-14 clang-format libclang-rt-14-dev libfuzzer-14-dev \
    ffmpeg libavcodec-dev libavformat-dev libavutil-dev libswscale-dev libxcb1-dev xvfb \
    gir1.2-gst-rtsp-server-1.0 python3-gi gstreamer1.0-plugins-base gstreamer1.0-plugins-good \
    gstreamer1.0-plugins-bad xdotool mate-backgrounds >/dev/null
echo "setup: build and test tools installed"
