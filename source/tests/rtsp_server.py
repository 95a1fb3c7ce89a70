#!/usr/bin/env python3
"""A real RTSP server on 127.0.0.1 for the source's tests: serves an MP4 file's H.264 (or H.265)
video at rtsp://127.0.0.1:PORT/cam (TCP and UDP transports) with GStreamer's RTSP server, until
killed.

    rtsp_server.py FILE [--port N] [--codec h264|h265]

Port 0 (the default) takes a free port. Prints "ready rtsp://127.0.0.1:PORT/cam" once it listens.
"""
import argparse
import signal
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer  # noqa: E402


def main():
    parser = argparse.ArgumentParser(description="Serve an MP4 file's video over RTSP on 127.0.0.1.")
    parser.add_argument("file", help="MP4 file with H.264 or H.265 video")
    parser.add_argument("--port", type=int, default=0, help="port on 127.0.0.1 (0: a free one)")
    parser.add_argument("--codec", choices=["h264", "h265"], default="h264", help="the file's video codec")
    args = parser.parse_args()
    if not 0 <= args.port <= 65535:
        sys.exit("rtsp_server.py: --port must be 0 to 65535")

    Gst.init(None)
    server = GstRtspServer.RTSPServer()
    server.set_address("127.0.0.1")
    server.set_service(str(args.port))
    factory = GstRtspServer.RTSPMediaFactory()
    location = args.file.replace("\\", "\\\\").replace('"', '\\"')
    codec = args.codec
    factory.set_launch(
        f'( filesrc location="{location}" ! qtdemux ! {codec}parse ! rtp{codec}pay name=pay0 pt=96 )'
    )
    # Each client gets its own pipeline from the start of the file, as a camera starts each
    # session with a key picture.
    factory.set_shared(False)
    server.get_mount_points().add_factory("/cam", factory)
    if server.attach(None) == 0:
        sys.exit(f"rtsp_server.py: cannot listen on 127.0.0.1:{args.port}")
    print(f"ready rtsp://127.0.0.1:{server.get_bound_port()}/cam", flush=True)

    loop = GLib.MainLoop()
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, loop.quit)
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGINT, loop.quit)
    loop.run()


if __name__ == "__main__":
    main()
