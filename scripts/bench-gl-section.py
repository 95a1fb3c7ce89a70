#!/usr/bin/env python3
"""Writes the GL renderer's section of docs/performance.md from bench_gl's JSON output.

    scripts/bench-gl-section.py DOC JSON

The section goes between its two marker lines, replacing what was there, or at the end of DOC.
scripts/run-benchmarks.sh calls it; it can be run alone after bench_gl to refresh the section.
"""
import json
import sys

BEGIN = "<!-- gl renderer: begin -->"
END = "<!-- gl renderer: end -->"


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: bench-gl-section.py DOC JSON")
    doc, path = sys.argv[1], sys.argv[2]
    runs = json.load(open(path))
    ctx = runs["context"]
    med = {b["run_name"]: b for b in runs["benchmarks"] if b.get("aggregate_name") == "median"}
    skipped = [b["name"] for b in runs["benchmarks"] if b.get("error_occurred")]
    if skipped:
        sys.exit(f"bench-gl-section: {path}: {', '.join(skipped)} did not run (no EGL with OpenGL ES 3?)")

    def ms(name):
        b = med.get(name)
        if not b:
            sys.exit(f"bench-gl-section: {path} has no median of {name}")
        return b["real_time"]

    lines = [BEGIN, "", "## GL renderer", ""]
    w = lines.append
    w("`bench/bench_gl.cpp`: the engine's GL renderer (`backends/engine/gl/`) on the machine's EGL. **No GPU was "
      "at hand for these figures**: they are Mesa's llvmpipe, the software rasteriser, on the same shared 2-core "
      "machine as the rest of this page, with llvmpipe's own threads (one per core). They say what the GL path "
      "costs where a host has no GPU, not what a GPU does.")
    w("")
    w(f"Run {ctx.get('date')} on {ctx.get('num_cpus')} CPUs, load average "
      f"{', '.join('%.2f' % x for x in ctx.get('load_avg', []))}; medians of the repetitions, wall time.")
    w("")
    w("| what | ms |")
    w("|---|---:|")
    w(f"| upload of a 1920x1920 4:2:0 picture (5.5 MB; a 1-pixel view read back to finish it) | {ms('BM_GlUpload/1920/real_time'):.2f} |")
    w(f"| upload of a 3840x3840 4:2:0 picture (22 MB) | {ms('BM_GlUpload/3840/real_time'):.2f} |")
    w(f"| a 1280x720 PTZ view of a 1920x1920 picture, drawn and read back as RGB | {ms('BM_GlView/ptz/real_time'):.2f} |")
    w(f"| a 1280x720 360 panorama of it, drawn and read back as RGB | {ms('BM_GlView/360/real_time'):.2f} |")
    for n in (1, 4, 16):
        w(f"| {n} PTZ view(s) of 1280x720, each into its own framebuffer, no read-back, then glFinish | "
          f"{ms(f'BM_GlDraw/{n}/real_time'):.2f} |")
    w("")
    per_view = ms("BM_GlDraw/16/real_time") / 16
    w(f"- A view costs llvmpipe {per_view:.1f} ms ({1280 * 720 / per_view / 1e3:.0f} Mpixels/s): every output pixel "
      "runs the geometry twice (its own position for luma, its 2 x 2 block's for chroma, as the CPU renderer "
      "samples chroma), with its arc tangents, sines and cosines, where the CPU renderer reads a table built once "
      "per view. The read-back adds little (`BM_GlView` against `BM_GlDraw/1`).")
    w("- The uploads read the same bytes every time, warm in the caches as a picture just decoded is; they are a copy "
      "into llvmpipe's texture memory here, a transfer over the bus on a GPU.")
    w("- Views drawn into one framebuffer one after the other are not a measure: llvmpipe drops a draw that the "
      "next one covers whole, so `BM_GlDraw` gives each view a framebuffer of its own, as views in windows of "
      "their own have.")
    w("")
    gl, cpu = med.get("BM_EndToEnd/gl/real_time"), med.get("BM_EndToEnd/cpu/real_time")
    if gl and cpu:
        w("End to end, in the same run: the sample clip (`scripts/make-sample.sh`'s `fisheye_1920.h264`) decoded and, "
          "for each picture, a camera's views (four PTZ of 960x540, a 360 of 1920x480, a 180 and a LAT of 1280x720) "
          "drawn into RGB buffers, by each renderer:")
        w("")
        w("| renderer | wall ms / picture | CPU ms / picture |")
        w("|---|---:|---:|")
        for name, b in (("GL (llvmpipe)", gl), ("CPU", cpu)):
            w(f"| {name} | {b['ms_per_picture']:.2f} | {b['cpu_ms_per_picture']:.2f} |")
        w("")
        w(f"- GL on llvmpipe / CPU renderer: {gl['ms_per_picture'] / cpu['ms_per_picture']:.2f} times the wall time, "
          f"{gl['cpu_ms_per_picture'] / cpu['cpu_ms_per_picture']:.2f} times the CPU time (same run). This is why "
          "`KORVANE_RENDERER=auto` takes GL only where the EGL display is a GPU.")
    w("")
    w("What would have to be measured on a GPU (headless EGL on its driver, `KORVANE_RENDERER=gl`, "
      "`scripts/run-benchmarks.sh`), and is not shown here:")
    w("")
    w("- sixteen PTZ views of a 1920x1920 camera in under 1 ms of GPU time: `BM_GlDraw/16` (without read-back, "
      "ended by glFinish) must be under 1 ms;")
    w("- 64 cameras x 4 views at 25 fps within one GPU: 64 x 25 = 1600 uploads and 6400 views a second, so "
      "1600 x `BM_GlUpload/1920` + 6400 x (`BM_GlDraw/4` / 4) must stay under 1000 ms of GPU time per second, "
      "plus the read-back of what is shown on the CPU side (`BM_GlView` less the draw) where views go to "
      "surfaces or X11 windows.")
    w("")
    w(END)
    section = "\n".join(lines)
    text = open(doc).read()
    if BEGIN in text and END in text:
        head, rest = text.split(BEGIN, 1)
        _, tail = rest.split(END, 1)
        text = head + section + tail
    else:
        text = text.rstrip("\n") + "\n\n" + section + "\n"
    open(doc, "w").write(text)
    print(f"bench-gl-section: wrote the GL section of {doc}")


if __name__ == "__main__":
    main()
