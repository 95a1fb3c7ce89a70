#!/usr/bin/env bash
# Writes the seed corpus of fuzz_source_input into fuzz/corpus/fuzz_source_input/ with ffmpeg:
# a few pictures of 64 x 48 in each container and codec the source reads, and a PNG (refused).
set -euo pipefail
cd "$(dirname "$0")/corpus/fuzz_source_input"
ff() { ffmpeg -hide_banner -loglevel error -y "$@"; }
scene=(-f lavfi -i testsrc=size=64x48:rate=10:duration=0.3)
ff "${scene[@]}" -c:v libx264 -preset ultrafast -g 2 -bf 0 -pix_fmt yuv420p -f h264 raw_h264
ff "${scene[@]}" -c:v libx265 -preset ultrafast -x265-params log-level=none -pix_fmt yuv420p -f hevc raw_h265
ff -i raw_h264 -c copy -f mp4 mp4_h264
ff -i raw_h265 -c copy -tag:v hvc1 -f mp4 mp4_h265
ff -i raw_h264 -c copy -f matroska mkv_h264
ff -i raw_h264 -c copy -f mpegts ts_h264
ff "${scene[@]}" -c:v mjpeg -q:v 20 -f mpjpeg mpjpeg
ff -f lavfi -i testsrc=size=16x16 -frames:v 1 -f image2pipe -c:v png png
