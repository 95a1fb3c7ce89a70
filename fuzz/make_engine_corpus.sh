#!/usr/bin/env bash
# Writes the seed corpus of fuzz_engine_stream into fuzz/corpus/fuzz_engine_stream/ with ffmpeg: a
# few pictures of 64 x 48 in H.264, H.265 and MJPEG, cut into calls (a two-byte big-endian length,
# then the bytes): each codec alone, and one after another as a camera changing codec sends them.
set -euo pipefail
cd "$(dirname "$0")/corpus/fuzz_engine_stream"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ff() { ffmpeg -hide_banner -loglevel error -y "$@"; }
scene=(-f lavfi -i testsrc=size=64x48:rate=10:duration=0.3)
ff "${scene[@]}" -c:v libx264 -preset ultrafast -g 2 -bf 0 -pix_fmt yuv420p -f h264 "$work/h264"
ff "${scene[@]}" -c:v libx265 -preset ultrafast -x265-params log-level=none -pix_fmt yuv420p -f hevc "$work/h265"
ff "${scene[@]}" -c:v mjpeg -q:v 20 -f mjpeg "$work/mjpeg"
python3 - "$work" <<'PY'
import sys

work = sys.argv[1]
streams = {name: open(f"{work}/{name}", "rb").read() for name in ("h264", "h265", "mjpeg")}


def calls(data, size):
    """The stream cut into calls of at most size bytes, each framed with its length."""
    return b"".join(len(data[i:i + size]).to_bytes(2, "big") + data[i:i + size] for i in range(0, len(data), size))


for name, data in streams.items():
    open(name, "wb").write(calls(data, 65535))
    open(name + "_pieces", "wb").write(calls(data, 300))
delimiter = bytes([0, 0, 0, 1, 0x46, 0x01, 0x50])
open("changes", "wb").write(calls(streams["mjpeg"], 65535) + calls(streams["h264"], 500) +
                            calls(delimiter + streams["h265"], 500) + calls(streams["mjpeg"], 65535))
PY
