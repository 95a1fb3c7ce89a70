#!/usr/bin/env bash
# Builds the benchmarks (Release), runs them all and writes docs/performance.md.
#
#   scripts/run-benchmarks.sh [BUILD_DIR]
#
# BUILD_DIR defaults to build-bench. Environment: REPETITIONS (default 5) runs of every benchmark,
# whose median is reported; THREADS (default: the number of cores) threads for the dewarping and
# for FFmpeg's v360 filter alike; V360_FRAMES (default 40) frames per v360 run; ONLY (a comma list
# of overhead, dewarp, v360, engine, gl, source, live; none for no section) measures those sections
# again and writes the others from the last run's data in BUILD_DIR/bench-data (a section measured
# while the machine was busy can be redone alone); each section gives its own run's date and load.
#
# Every comparison is a ratio measured in the same run: the library against the fake-engine calls it
# makes, the renderer against v360 on the same frame and against a plain copy, from and to memory, of
# the bytes it moves, and a camera's views from the decoder's planes against the whole-picture RGB
# conversion, with decoding alone beside them (bench_engine on the sample clip and on it scaled to
# 3840x3840; scripts/bench-engine-section.py writes that section), and the GL renderer's upload, views
# and end to end against the CPU renderer (bench_gl; scripts/bench-gl-section.py writes that section).
# Needs libbenchmark-dev, python3 and the ffmpeg command (scripts/setup-debian.sh); the comparison
# with OpenCV's remap needs libopencv-imgproc-dev (scripts/setup-debian.sh --benchmarks) and is left
# out without it.
set -euo pipefail

cd "$(dirname "$0")/.."
BUILD_DIR=${1:-build-bench}
REPETITIONS=${REPETITIONS:-5}
THREADS=${THREADS:-$(nproc)}
V360_FRAMES=${V360_FRAMES:-40}
ONLY=${ONLY:-}
# want SECTION: whether this run measures SECTION (ONLY unset: every section).
want() { [ -z "$ONLY" ] || [[ ",$ONLY," == *",$1,"* ]]; }
for section in ${ONLY//,/ }; do
    case "$section" in
        overhead | dewarp | v360 | engine | gl | source | live | none) ;;
        *)
            echo "run-benchmarks: ONLY names '$section'; sections: overhead, dewarp, v360, engine, gl, source, live, or none (only write the document)" >&2
            exit 1
            ;;
    esac
done
if [ "$V360_FRAMES" -lt 2 ]; then
    echo "run-benchmarks: V360_FRAMES must be at least 2" >&2
    exit 1
fi
DATA="$BUILD_DIR/bench-data"
OUT=docs/performance.md

for tool in ffmpeg python3 cmake; do
    if ! command -v "$tool" > /dev/null; then
        echo "run-benchmarks: $tool is missing (run scripts/setup-debian.sh)" >&2
        exit 1
    fi
done

cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release -DFISHPLAYER_BUILD_BENCHMARKS=ON \
    -DFISHPLAYER_BUILD_TESTS=ON -DFISHPLAYER_BUILD_BACKENDS=ON > /dev/null
cmake --build "$BUILD_DIR" --target bench_overhead bench_dewarp bench_engine bench_source fishplayer_fakes \
    fishplayer_demo korvane zeb_algo_fcu
# The GL renderer's benchmark where the engine is built with it (EGL and GLES headers installed).
BENCH_GL=0
if cmake --build "$BUILD_DIR" --target bench_gl > /dev/null 2>&1; then
    BENCH_GL=1
fi
mkdir -p "$DATA"

# The fisheye frames: the scene of scripts/make-sample.sh (test picture under a 30-degree grid,
# turned into a 180-degree equidistant fisheye by v360), one raw RGB24 frame per size.
for size in 1920 2880; do
    ffmpeg -hide_banner -loglevel error -y -f lavfi \
        -i "testsrc=size=$((2 * size))x${size}:rate=1,drawgrid=w=$((size / 6)):h=$((size / 6)):t=3:c=white@0.8,v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=${size}:h=${size}" \
        -frames:v 1 -pix_fmt rgb24 -f rawvideo "$DATA/frame_${size}.rgb"
    # The same frame in the planar layout v360 works in, so that no conversion is timed with it.
    ffmpeg -hide_banner -loglevel error -y -f rawvideo -pix_fmt rgb24 -s "${size}x${size}" -i "$DATA/frame_${size}.rgb" \
        -pix_fmt gbrp -f rawvideo "$DATA/frame_${size}.gbrp"
done

# Repetitions interleaved at random, so that a burst of load on the shared machine spreads over the
# benchmarks compared instead of falling on one of them.
REPEAT=(--benchmark_repetitions="$REPETITIONS" --benchmark_report_aggregates_only=true --benchmark_min_time=0.2
    --benchmark_enable_random_interleaving=true)

if want overhead; then
    echo "run-benchmarks: library overhead"
    LD_LIBRARY_PATH="$BUILD_DIR/fakes/engine/full:$BUILD_DIR/fakes/algo/full" \
        "$BUILD_DIR/bench/bench_overhead" "${REPEAT[@]}" \
        --benchmark_out="$DATA/overhead.json" --benchmark_out_format=json > /dev/null
fi

if want dewarp; then
    echo "run-benchmarks: dewarping"
    FISHPLAYER_BENCH_FRAME_1920="$DATA/frame_1920.rgb" FISHPLAYER_BENCH_FRAME_2880="$DATA/frame_2880.rgb" \
        FISHPLAYER_BENCH_THREADS="$THREADS" FISHPLAYER_BENCH_DUMP_DIR="$DATA" \
        "$BUILD_DIR/bench/bench_dewarp" "${REPEAT[@]}" \
        --benchmark_out="$DATA/dewarp.json" --benchmark_out_format=json > /dev/null
fi

# v360 doing the same geometries: a PTZ view along the lens's axis (diagonal field of view 80
# degrees at zoom 1, in proportion to the zoom: 120 degrees at 1.5), the ceiling panorama (v360 has
# no vertical field for an equirectangular output, so it computes the whole sphere and the lower
# half is kept), and four PTZ views (the middle one, then 27 degrees right, down and left).
DFOV=80
FISHEYE_IN="v360=input=fisheye:ih_fov=180:iv_fov=180:interp=linear"
ptz_filter() { echo "$FISHEYE_IN:output=flat:d_fov=$DFOV:w=1280:h=720$1"; }
PANORAMA="$FISHEYE_IN:output=equirect:w=3840:h=1920:pitch=90,crop=3840:960:0:960"
FOUR_OFFSETS=("" ":yaw=27" ":pitch=-27" ":yaw=-27")

# v360_run SIZE SCENE FRAMES FORMAT OUTPUT: one ffmpeg run; prints its rtime in seconds. The
# input is planar RGB, v360's own layout; timed runs (FORMAT null) keep it to the end, the pictures
# written for PSNR (FORMAT rawvideo) are converted to RGB24.
v360_run() {
    local size=$1 scene=$2 frames=$3
    shift 3
    local input=(-f rawvideo -pix_fmt gbrp -s "${size}x${size}" -stream_loop $((frames - 1)) -i "$DATA/frame_${size}.gbrp")
    local pixfmt=gbrp
    [ "$1" = rawvideo ] && pixfmt=rgb24
    local args=()
    case $scene in
        none) args=(-map 0:v -frames:v "$frames" -f "$1" -pix_fmt "$pixfmt" "$2") ;;
        ptz) args=(-vf "$(ptz_filter "")" -frames:v "$frames" -f "$1" -pix_fmt "$pixfmt" "$2") ;;
        panorama) args=(-vf "$PANORAMA" -frames:v "$frames" -f "$1" -pix_fmt "$pixfmt" "$2") ;;
        fourptz)
            local graph="[0:v]split=4[i0][i1][i2][i3]"
            for i in 0 1 2 3; do
                graph+=";[i$i]$(ptz_filter "${FOUR_OFFSETS[$i]}")[o$i]"
            done
            args=(-filter_complex "$graph")
            for i in 0 1 2 3; do
                local target=$2
                [ "$target" != "-" ] && target="${2%.rgb}_$i.rgb"
                args+=(-map "[o$i]" -frames:v "$frames" -f "$1" -pix_fmt "$pixfmt" "$target")
            done
            ;;
    esac
    ffmpeg -hide_banner -nostats -benchmark -filter_threads "$THREADS" -threads 1 "${input[@]}" "${args[@]}" -y 2>&1 |
        sed -n 's/.*rtime=\([0-9.]*\)s.*/\1/p'
}

psnr() { # psnr WIDTH HEIGHT A B: the average PSNR of two raw RGB24 pictures
    ffmpeg -hide_banner -f rawvideo -pix_fmt rgb24 -s "$1x$2" -i "$3" -f rawvideo -pix_fmt rgb24 -s "$1x$2" -i "$4" \
        -lavfi "[0][1]psnr" -f null - 2>&1 | sed -n 's/.*average:\([0-9.inf]*\).*/\1/p'
}

if want v360; then
    echo "run-benchmarks: v360"
    V360="$DATA/v360.txt"
    : > "$V360"
    for size in 1920 2880; do
        for scene in ptz panorama fourptz; do
            # Runs of V360_FRAMES and of one frame, with and without the filter: the differences leave
            # the filter's time for V360_FRAMES - 1 frames, without reading the frames, without the
            # process's start and without the filter's set-up (the renderer's table is built beforehand too).
            for ((r = 0; r < REPETITIONS; ++r)); do
                base=$(v360_run "$size" none "$V360_FRAMES" null -)
                base1=$(v360_run "$size" none 1 null -)
                full=$(v360_run "$size" "$scene" "$V360_FRAMES" null -)
                full1=$(v360_run "$size" "$scene" 1 null -)
                echo "time $scene $size $V360_FRAMES $base $base1 $full $full1" >> "$V360"
            done
            v360_run "$size" "$scene" 1 rawvideo "$DATA/v360_${scene}_${size}.rgb" > /dev/null
        done
        echo "psnr ptz $size $(psnr 1280 720 "$DATA/ptz_${size}.rgb" "$DATA/v360_ptz_${size}.rgb")" >> "$V360"
        echo "psnr panorama $size $(psnr 3840 960 "$DATA/panorama_${size}.rgb" "$DATA/v360_panorama_${size}.rgb")" >> "$V360"
        for i in 0 1 2 3; do
            echo "psnr fourptz_$i $size $(psnr 1280 720 "$DATA/fourptz_${size}_$i.rgb" "$DATA/v360_fourptz_${size}_$i.rgb")" >> "$V360"
        done
    done
fi

if want engine; then
    echo "run-benchmarks: decoding and a camera's views"
    [ -f build/samples/fisheye_1920.h264 ] || scripts/make-sample.sh build/samples > /dev/null
    [ -f "$DATA/fisheye_3840.h264" ] || ffmpeg -hide_banner -loglevel error -y -i build/samples/fisheye_1920.h264 \
        -vf scale=3840:3840 -c:v libx264 -preset ultrafast -tune zerolatency -g 25 -bf 0 -f h264 "$DATA/fisheye_3840.h264"
    # The same views through an ffmpeg graph as users build it today: the clip decoded on one thread,
    # split, each view made by v360 (bilinear, -filter_threads THREADS), every output discarded; and
    # the decoding alone. Each line: what, utime, stime, rtime (seconds), pictures.
    chain_run() { # chain_run CLIP WHAT
        local graph=(-map 0:v -f null -)
        if [ "$2" = views ]; then
            local f="v360=input=fisheye:ih_fov=180:iv_fov=180:interp=linear"
            local g="[0:v]split=7[a][b][c][d][e][f][g]"
            g+=";[a]$f:output=flat:d_fov=80:w=960:h=540[o0];[b]$f:output=flat:d_fov=80:yaw=-30:w=960:h=540[o1]"
            g+=";[c]$f:output=flat:d_fov=80:pitch=-30:w=960:h=540[o2];[d]$f:output=flat:d_fov=80:yaw=30:pitch=15:w=960:h=540[o3]"
            g+=";[e]$f:output=equirect:w=1920:h=960,crop=1920:480:0:480[o4];[f]$f:output=hequirect:w=1280:h=720[o5]"
            g+=";[g]$f:output=equirect:w=1280:h=720[o6]"
            graph=(-filter_complex "$g")
            for i in 0 1 2 3 4 5 6; do graph+=(-map "[o$i]" -f null -); done
        fi
        ffmpeg -hide_banner -nostats -benchmark -threads 1 -filter_threads "$THREADS" -i "$1" "${graph[@]}" 2>&1 |
            awk -v what="$2" '/^frame=/ { sub(/^frame= */, ""); n = $1 } /bench: utime/ { for (i = 2; i <= 4; ++i) { split($i, kv, "="); v[i] = kv[2] + 0 } } END { print what, v[2], v[3], v[4], n }'
    }
    for size in 1920 3840; do
        clip=build/samples/fisheye_1920.h264
        [ "$size" = 3840 ] && clip="$DATA/fisheye_3840.h264"
        : > "$DATA/chain_$size.txt"
        for ((r = 0; r < REPETITIONS; ++r)); do
            chain_run "$clip" decode >> "$DATA/chain_$size.txt"
            chain_run "$clip" views >> "$DATA/chain_$size.txt"
        done
    done
    FISHPLAYER_BENCH_CLIP=build/samples/fisheye_1920.h264 "$BUILD_DIR/bench/bench_engine" "${REPEAT[@]}" \
        --benchmark_out="$DATA/engine_1920.json" --benchmark_out_format=json > /dev/null
    FISHPLAYER_BENCH_CLIP="$DATA/fisheye_3840.h264" "$BUILD_DIR/bench/bench_engine" "${REPEAT[@]}" \
        --benchmark_out="$DATA/engine_3840.json" --benchmark_out_format=json > /dev/null
fi

if want source; then
    echo "run-benchmarks: source reading"
    ffmpeg -hide_banner -loglevel error -y -f lavfi \
        -i "testsrc=size=1920x960:rate=25:duration=10,v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=960:h=960,format=yuv420p" \
        -c:v libx264 -preset veryfast -g 25 -bf 0 -f h264 "$DATA/clip_960.h264"
    ffmpeg -hide_banner -loglevel error -y -i "$DATA/clip_960.h264" -c copy "$DATA/clip_960.mp4"
    FISHPLAYER_BENCH_CLIP_H264="$DATA/clip_960.h264" FISHPLAYER_BENCH_CLIP_MP4="$DATA/clip_960.mp4" \
        "$BUILD_DIR/bench/bench_source" "${REPEAT[@]}" \
        --benchmark_out="$DATA/source.json" --benchmark_out_format=json > /dev/null
fi

if [ "$BENCH_GL" = 1 ] && want gl; then
    echo "run-benchmarks: GL renderer"
    FISHPLAYER_BENCH_CLIP=build/samples/fisheye_1920.h264 "$BUILD_DIR/bench/bench_gl" "${REPEAT[@]}" \
        --benchmark_out="$DATA/gl.json" --benchmark_out_format=json > /dev/null
fi

if want live; then
    echo "run-benchmarks: live latency"
    scripts/measure-live.sh "$BUILD_DIR" "$DATA/live.md"
fi

python3 - "$DATA" "$OUT" "$THREADS" "$REPETITIONS" << 'PYTHON'
import json, re, statistics, sys, subprocess, datetime

data, out, threads, reps = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])

def medians(path):
    runs = json.load(open(path))
    result = {}
    for b in runs["benchmarks"]:
        if b.get("aggregate_name") == "median":
            result[b["run_name"]] = b
    return runs["context"], result

scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
def ns(b):
    return b["real_time"] * scale[b["time_unit"]]

lines = []
w = lines.append
ctx, ov = medians(f"{data}/overhead.json")
dctx, dw = medians(f"{data}/dewarp.json")

def run_line(c):
    return f"Run {c.get('date')}, load average {', '.join('%.2f' % x for x in c.get('load_avg', []))}."

w("# Performance")
w("")
w("Written by `scripts/run-benchmarks.sh` (Release build, Google Benchmark). Every figure is the median of "
  f"{reps} repetitions; every comparison is a ratio of two figures measured in the same run, so it holds "
  "better than the absolute figures on a shared, noisy machine. (Google Benchmark's warning that it was built "
  "as DEBUG is about Debian's build of the benchmark library, not about the code measured.)")
w("")
w(f"Machine: {ctx.get('num_cpus')} CPUs at {ctx.get('mhz_per_cpu')} MHz, "
  f"caches {', '.join(str(c['size'] // 1024) + ' KiB L' + str(c['level']) for c in ctx.get('caches', []))}; "
  "each section gives the date and the load average of its run.")
w("")

# --- Library overhead -------------------------------------------------------------------------
w("## Library overhead against the test fakes")
w("")
w("`bench/bench_overhead.cpp`, with the fake engine and fake algorithm of the tests. Each operation is timed "
  "through the library (*library*) and as the bare fake-engine and fake-algorithm calls it made (*bare*: "
  "the calls recorded from the fakes' journal, replayed with the same arguments and records). *Added* is "
  "library - bare per operation; *allocations* are the library's own heap allocations per operation "
  "(every operator new and malloc of the process, minus those of the bare calls, which the fakes make to "
  "keep their journal). Controls alternate a move with its opposite, so that no view sticks at a limit. "
  "Players are created with drawing off, so that no draw thread competes; their outlines are kept all the same.")
w("")
w(run_line(ctx))
w("")
w("| operation | fake calls | bare ns | library ns | ratio | added ns | allocations |")
w("|---|---:|---:|---:|---:|---:|---:|")
rows = {}
for name, b in ov.items():
    if "/bare:0" not in name:
        continue
    bare = ov.get(name.replace("/bare:0", "/bare:1"))
    if not bare:
        continue
    ops = b["ops"]
    lib_ns, bare_ns = ns(b) / ops, ns(bare) / ops
    allocs = b["allocs"] - bare["allocs"]
    label = name.replace("BM_", "").replace("/bare:0", "")
    rows[label] = (b["fake_calls"], bare_ns, lib_ns, allocs, b.get("points"))
    ratio = "%.1f" % (lib_ns / bare_ns) if b["fake_calls"] > 0 else "no calls"
    w(f"| {label} | {b['fake_calls']:.0f} | {bare_ns:.0f} | {lib_ns:.0f} | {ratio} | {lib_ns - bare_ns:.0f} | {allocs:.1f} |")
w("")
w("The overlay passes are `CLS_MainPlayer::DrawCalculate` with a client callback that reads every point "
  "(curved outlines: 22 polylines sharing the algorithm's 40000-point block, 1818 points each, the largest "
  "outline the algorithm can return; 22 polylines of 2500 points would need 55000). A pass calls neither the "
  "engine nor the algorithm: the outlines are computed when a view moves (`PTZCtl/RightCurve` is that move).")
w("")
w("### Targets")
w("")
def verdict(ok):
    return "met" if ok else "**missed**"
put = rows.get("PutStreamToPlayer")
if put:
    w(f"- The library adds less than 1 µs to a stream packet: {put[2] - put[1]:.0f} ns added "
      f"({put[2]:.0f} ns against {put[1]:.0f} ns bare): {verdict(put[2] - put[1] < 1000)}.")
curve8 = rows.get("OverlayPass/Curve/views:8")
if curve8:
    w(f"- An overlay pass with 8 curved outlines costs less than 50 µs: {curve8[2] / 1000:.2f} µs: "
      f"{verdict(curve8[2] < 50000)}.")
controls = {k: v for k, v in rows.items() if not k.startswith("OverlayPass") and not k.startswith("CreateDelete")}
worst = max(controls.items(), key=lambda kv: kv[1][3])
over = sorted(k for k, v in controls.items() if v[3] > 1.05)
w(f"- No control allocates more than once: at most {worst[1][3]:.1f} allocations ({worst[0]}): "
  f"{verdict(not over)}." + (f" Over one: {', '.join(over)}." if over else ""))
w("")

# --- Dewarping -------------------------------------------------------------------------------
v360 = {}
psnr = {}
for line in open(f"{data}/v360.txt"):
    f = line.split()
    if f[0] == "time":
        scene, size, frames = f[1], int(f[2]), int(f[3])
        base, base1, full, full1 = (float(x) for x in f[4:8])
        v360.setdefault((scene, size), []).append(max((full - full1) - (base - base1), 1e-9) / (frames - 1))
    elif f[0] == "psnr":
        psnr[(f[1], int(f[2]))] = float(f[3]) if f[3] not in ("", "inf") else float("inf")

w("## Dewarping throughput of the open engine")
w("")
w(f"`bench/bench_dewarp.cpp`: `fisheye::CLS_RemapTable::Apply` (bilinear, table built beforehand) on one frame "
  f"of the sample scene (`scripts/make-sample.sh`'s test picture as an equidistant 180-degree fisheye), "
  f"{threads} thread(s). Beside it FFmpeg's `v360` filter (`ffmpeg -benchmark`, bilinear, "
  f"`-filter_threads {threads}`) doing the same geometry at the same output size on the same frame, given in "
  "planar RGB (its own layout: no conversion is timed with it; the renderer takes interleaved RGB24); its "
  "time per frame comes from the real times of runs of many frames and of one frame, with and "
  "without the filter, which leaves out reading the frames, the process's start and the filter's set-up "
  "(the renderer's table is built beforehand too). PSNR compares the two outputs.")
w("")
w(run_line(dctx))
w("")
w("The copy is the memory-bandwidth reference: a plain `memcpy` (on as many threads as the renderer) of as many "
  "bytes as the scene's remap moves per frame, the source bytes it reads (every source pixel its tables sample, "
  "counted once) plus the output bytes it writes, from and to buffers that are in no cache: each copy takes the "
  "next slice of two 256 MiB arenas, far larger than the last-level cache, so it runs at the memory's speed. "
  "*MB moved* is that byte count (source + output). A copy of the output bytes alone between buffers that stay "
  "in cache, the reference of earlier runs, ran at tens of GB/s from the caches and measured them rather than "
  "the memory. What the reference leaves out works against the renderer: a copy moves each byte twice (a read "
  "and a write) where the remap reads its source bytes and writes its output bytes once, but the remap also "
  "reads its table (not counted: a node of 8 bytes a cell of 8 pixels where the grid stands in, 8 bytes a "
  "pixel elsewhere), and it samples the source at scattered places "
  "where the copy streams. The renderer, on the other hand, remaps the same frame over and over, so whatever "
  "of its table and source fits in the caches stays there, as a frame handed over by a decoder that has just "
  "written it would.")
w("")
w("| scene | fisheye | frames/s | Mpixels/s | v360 frames/s | speed-up over v360 | OpenCV ms | speed-up over OpenCV | PSNR dB | MB moved | copy ms | copy GB/s | dewarp / copy |")
w("|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|")
scenes = [("ptz", "BM_Ptz", "Ptz", "PTZ 1280x720", 1280 * 720),
          ("panorama", "BM_Panorama", "Panorama", "360 panorama 3840x960", 3840 * 960),
          ("fourptz", "BM_FourPtz", "FourPtz", "four PTZ 1280x720", 4 * 1280 * 720)]
summary = []
for scene, bm, copy_name, label, pixels in scenes:
    for size in (1920, 2880):
        b = dw.get(f"{bm}/{size}/real_time")
        if not b:
            continue
        t = ns(b) / 1e9
        copy = dw.get(f"BM_Copy/{copy_name}/{size}/real_time")
        copy_t = ns(copy) / 1e9 if copy else float("nan")
        moved = copy["source_bytes"] + copy["output_bytes"] if copy else float("nan")
        vt = statistics.median(v360.get((scene, size), [float("nan")]))
        if scene == "fourptz":
            p = min(psnr.get((f"fourptz_{i}", size), float("nan")) for i in range(4))
        else:
            p = psnr.get((scene, size), float("nan"))
        speed = vt / t
        cv = dw.get(f"BM_OpenCv/{copy_name}/{size}/real_time")
        cv_t = ns(cv) / 1e9 if cv else float("nan")
        summary.append((label, size, speed, p, t / copy_t, cv_t / t))
        w(f"| {label} | {size}x{size} | {1 / t:.1f} | {pixels / t / 1e6:.0f} | {1 / vt:.1f} | {speed:.2f} | "
          f"{cv_t * 1e3:.2f} | {cv_t / t:.2f} | "
          f"{p:.1f} | {moved / 1e6:.1f} | {copy_t * 1e3:.3f} | {moved / copy_t / 1e9:.1f} | {t / copy_t:.1f} |")
w("")
w("v360 cannot limit an equirectangular output to the lower half of the sphere: for the panorama it computes "
  "3840x1920 and the lower half is kept (`crop`), which is what it takes to make this picture with it. "
  "The four-PTZ PSNR is the lowest of the four views.")
w("")
w("The same scenes with the portable C++ kernels instead of the ones the processor runs by default "
  "(`n_RemapKernel::Best`: AVX2 where the processor has it; both give the same bytes, a unit test compares "
  "them), and with exact tables instead of the interpolation grid (`CLS_RemapTable::GRID`) that the scenes "
  "above and the engine use. *Cells from the grid* is the share of 8-pixel cells whose entries the grid makes "
  "(within 1/64 of a source pixel of the exact ones); the others read their exact entries (8 bytes an output "
  "pixel). Against the exact tables the views keep a PSNR of at least 50 dB for every view kind and mount "
  "(unit test `RemapGrid`).")
w("")
w("| scene | fisheye | default ms | portable ms | portable / default | exact tables ms | exact / grid | cells from the grid |")
w("|---|---|---:|---:|---:|---:|---:|---:|")
for scene, bm, copy_name, label, pixels in scenes:
    for size in (1920, 2880):
        b = dw.get(f"{bm}/{size}/real_time")
        portable = dw.get(f"BM_Portable/{copy_name}/{size}/real_time")
        exact = dw.get(f"BM_Exact/{copy_name}/{size}/real_time")
        if b and portable and exact:
            w(f"| {label} | {size}x{size} | {ns(b) / 1e6:.2f} | {ns(portable) / 1e6:.2f} | {ns(portable) / ns(b):.2f} | "
              f"{ns(exact) / 1e6:.2f} | {ns(exact) / ns(b):.2f} | {b.get('interpolated', float('nan')) * 100:.0f} % |")
w("")
w("From a decoder's planes (`CLS_YuvRemap`, I420 of the same scene: luma remapped at the view's size, chroma at "
  "half of it each way, converted to BGRX per output pixel, as for an X11 window), against the RGB remap of the "
  "same scene; for the four PTZ views also with exact tables and with the portable kernels (the same bytes as "
  "the AVX2 ones, a unit test compares them).")
w("")
w("| scene | fisheye | planes ms | ns per pixel | RGB remap ms | planes / RGB | exact tables ms | portable ms |")
w("|---|---|---:|---:|---:|---:|---:|---:|")
for scene, bm, copy_name, label, pixels in scenes:
    b = dw.get(f"BM_Planes/{copy_name}/1920/real_time")
    rgb = dw.get(f"{bm}/1920/real_time")
    if not b or not rgb:
        continue
    exact = dw.get(f"BM_Planes/{copy_name}Exact/1920/real_time")
    portable = dw.get(f"BM_Planes/{copy_name}Portable/1920/real_time")
    w(f"| {label} | 1920x1920 | {ns(b) / 1e6:.2f} | {ns(b) / pixels:.2f} | {ns(rgb) / 1e6:.2f} | {ns(b) / ns(rgb):.2f} | "
      + (f"{ns(exact) / 1e6:.2f}" if exact else "-") + " | " + (f"{ns(portable) / 1e6:.2f}" if portable else "-") + " |")
w("")
w("### Targets")
w("")
slow = [f"{l} from {s}" for l, s, sp, _, _, _ in summary if not sp >= 2.0]
badq = [f"{l} from {s}" for l, s, _, p, _, _ in summary if not p >= 30.0]
far = [f"{l} from {s} ({r:.1f}x)" for l, s, _, _, r, _ in summary if not r <= 3.0]
slow_cv = [f"{l} from {s} ({c:.2f}x)" for l, s, _, _, _, c in summary if not c >= 2.0]
w(f"- At least twice v360's throughput: {verdict(not slow)}." + (f" Below: {', '.join(slow)}." if slow else ""))
w(f"- Equal quality, PSNR against v360 at least 30 dB: {verdict(not badq)}." + (f" Below: {', '.join(badq)}." if badq else ""))
if any(c == c for *_, c in summary):  # NaN without OpenCV
    w(f"- At least twice OpenCV's fixed-point `cv::remap` on the same maps (CV_16SC2 positions, CV_16UC1 "
      f"fractions, bilinear, as many threads): {verdict(not slow_cv)}." + (f" Below: {', '.join(slow_cv)}." if slow_cv else ""))
else:
    w("- Against OpenCV's `cv::remap`: not measured (the benchmarks were built without OpenCV).")
w(f"- Within 3x of the memory-bandwidth limit (time of a plain copy of the bytes moved, out of cache): {verdict(not far)}."
  + (f" Beyond: {', '.join(far)}." if far else ""))
w("")

# --- Scaling ----------------------------------------------------------------------------------
w("## Scaling")
w("")
w("PTZ views of 1280x720 from the 1920x1920 fisheye, all remapped per frame:")
w("")
w("| views | ms per frame | ratio to one view | ms per view |")
w("|---:|---:|---:|---:|")
one = dw.get("BM_PtzViews/1/real_time")
for n in (1, 2, 4, 8, 16):
    b = dw.get(f"BM_PtzViews/{n}/real_time")
    if b and one:
        w(f"| {n} | {ns(b) / 1e6:.2f} | {ns(b) / ns(one):.2f} | {ns(b) / 1e6 / n:.2f} |")
w("")
w("One PTZ view from the 1920x1920 fisheye at growing output sizes:")
w("")
w("| output | ms per frame | ns per pixel | ratio to 1280x720, per pixel |")
w("|---|---:|---:|---:|")
ref = dw.get("BM_PtzSize/1280/720/real_time")
for wd, ht in ((320, 180), (640, 360), (1280, 720), (1920, 1080), (3840, 2160)):
    b = dw.get(f"BM_PtzSize/{wd}/{ht}/real_time")
    if b and ref:
        per = ns(b) / (wd * ht)
        w(f"| {wd}x{ht} | {ns(b) / 1e6:.2f} | {per:.2f} | {per / (ns(ref) / (1280 * 720)):.2f} |")
w("")
w("Overlay passes against the number of PTZ views (library, ns per pass):")
w("")
w("| views | rectangles | curves |")
w("|---:|---:|---:|")
for n in (1, 4, 8):
    r = rows.get(f"OverlayPass/Rect/views:{n}")
    c = rows.get(f"OverlayPass/Curve/views:{n}")
    if r and c:
        w(f"| {n} | {r[2]:.0f} | {c[2]:.0f} |")
w("")
w("## Source reading")
w("")
w("`bench/bench_source.cpp`: a 10 s clip of 960 x 960 (250 pictures, a key picture every second) read whole "
  "through the video source (`SourceReader`: demuxing, Annex B filtering, parameter sets and delimiters added, "
  "each packet copied out) against the bare demuxing of the same clip with libavformat (`BM_Demux`), per packet.")
w("")
sctx, sr = medians(f"{data}/source.json")
w(run_line(sctx))
w("")
w("| clip | demux µs/packet | source µs/packet | ratio |")
w("|---|---:|---:|---:|")
for kind, name in (("H264", "raw H.264"), ("MP4", "H.264 in MP4")):
    d, s_ = sr.get(f"BM_Demux/{kind}"), sr.get(f"BM_Source/{kind}")
    if d and s_:
        w(f"| {name} | {1e6 / d['items_per_second']:.1f} | {1e6 / s_['items_per_second']:.1f} | "
          f"{d['items_per_second'] / s_['items_per_second']:.2f} |")
w("")
w("## Live latency")
w("")
w("`scripts/measure-live.sh`: the demo on an RTSP stream of a 34 s fisheye clip (25 pictures a second, "
  "a key picture every second) served by GStreamer's RTSP server on 127.0.0.1, over TCP and over UDP, for 30 s "
  "each (five steps of 6 s, each ending with the demo writing its 9 pictures and contact sheet). The latency "
  "runs from the demuxer handing a packet over to the engine's count of pictures shown passing it (decoded, "
  "rendered into the main surface and the seven engine views of the demo), sampled every 2 ms. The 95th "
  "percentile holds the session's start (the packets read while probing, the views' tables built on the "
  "first picture) and the pictures decoded while the demo encodes its PNG files on the same cores.")
w("")
live = open(f"{data}/live.md").read().strip().splitlines()
lines.extend(live)
cells = {}
for row in live[2:]:
    f = [x.strip() for x in row.strip("|").split("|")]
    try:
        cells[(f[0], f[1])] = float(f[2])
    except ValueError:
        pass
for transport in ("RTSP/tcp", "RTSP/udp"):
    small, big = cells.get(("480 x 480", transport)), cells.get(("1920 x 1920", transport))
    if small and big:
        w("")
        w(f"- {transport}: median at 1920 x 1920 / median at 480 x 480 = {big / small:.1f} (same run).")
w("")
w("## Profiles of the missed targets")
w("")
w("Recorded with perf and callgrind on 2 cores shared with other work:")
w("")
w("- **Allocations per control.** Callgrind on `PTZCtl/Up`: every allocation the library adds comes from "
  "rebuilding the moved view's outline. Before: the outline was published one polyline at a time as a "
  "fresh copy of the list with the polyline appended (a reader's copy could share the list), two "
  "allocations per polyline: 8 for a rectangle, 45 for a curve of 22 polylines with its point block. "
  "Now readers take their own list (sharing the polylines) and the view's list is rebuilt in place in its "
  "reserved storage, which leaves one allocation per published polyline, the polyline's own points, and "
  "for a curve the algorithm's point block: 4 for a rectangle (four 2-point polylines), 23 for a curve. "
  "Each polyline is a vector of its own that the draw thread may still hold while the next outline is "
  "built, and each curve build hands the algorithm a fresh point block, so one allocation per control "
  "would take a different outline layout; it is left as it is. The controls that move nothing of a PTZ "
  "view (180, 360 and LAT moves, zoom commands the view refuses) allocate nothing.")
w("- **Dewarping against the copy.** Before the vectorised kernel, perf on `BM_Ptz/1920`, one thread: 87% "
  "of the time in the scalar `RemapRows<3>`, spread over its loads and multiplications. The AVX2 kernel "
  "(eight pixels per step: two 8-byte gathers per pixel, one per source row, each bringing a pixel and its right "
  "neighbour, and the same fixed-point sums with `pmaddwd`, byte for byte the portable kernel's result) took "
  "one thread's PTZ frame from 3.9-4.1 ms to 1.6-2.4 ms and the panorama from 1920x1920 from 24.6-25.4 ms to "
  "12.5-14 ms, minimum CPU times of alternating runs on this shared machine. Column tiles of 512 pixels, each "
  "band of rows going through them one after the other, took the panorama from 2880x2880 from 28 ms to 20-22 ms "
  "(one thread): a whole panorama row goes round the image circle and evicts what the next row reads again, a "
  "tile row only an arc of it. After both, perf (`cpu-clock`, one thread): 84% of `BM_Ptz/1920` in "
  "`RemapRowAvx2<3>`, 42% of its samples on the instructions right after the gathers, waiting for source "
  "pixels; 69% of `BM_Panorama/1920` in it, 62% of those after the gathers. The PTZ view is bound by the "
  "kernel's own work (about 15 instructions per pixel; 1.7 ns per pixel for outputs whose table stays in "
  "cache, 2.4 ns from 1920x1080 on), the panorama by memory: per frame it streamed 29.5 MB of table (8 bytes "
  "per output pixel) besides its 11 MB of output and read the source at scattered places.")
w("- **Four PTZ views, tiles and the table.** Four PTZ views cost more than four times one (about 6 times, one "
  "thread), and they look sideways near the rim, where an output row walks along a source column. Output tiles "
  "in 2-D, as OpenCV's remap makes them, were measured against the column tiles (one thread, the lowest CPU "
  "time of three alternating runs, 1920x1920): four PTZ views 8.8 ms with column tiles of 512, 8.5 to 9.4 ms "
  "with tiles of 64x16, 64x8, 32x16 and 128x8 (no gain beyond the noise); the panorama 10.9 ms against 14.8 to "
  "16.5 ms (a panorama column runs along a radius of the image circle, and a tall column tile keeps a sector of "
  "it in cache, where short tiles take a ring round the circle at a time). The planes path gave the same "
  "picture. What four views add is their tables: four tables of 7.4 MB and the source no longer fit in the "
  "last-level cache that holds one view's. The column tiles are kept.")
w("- **The compact table.** Two ways were weighed: 6-byte entries (the step flags follow from the position and "
  "the source size, outside marked by an impossible position), which keep the bytes identical and save a "
  "quarter of the table's traffic, or positions interpolated from a sparse grid, which saves nearly all of it "
  "where the view is smooth. The grid was chosen: a node every 8 pixels of each output row (1 byte an output "
  "pixel), cells kept exact where the interpolation strays more than 1/64 of a source pixel from the exact "
  "entry or where the view leaves the source (the image circle's rim, the border), so black stays black and "
  "step flags stay right; PSNR against the exact tables at least 50 dB for every view kind and mount (54.9 dB "
  "at the least on a chequered scene in the unit test's views). A first version with 16x16 cells interpolated "
  "in both directions in scalar code cost as much as the remap itself (one PTZ view 1.5 to 3.0 ms); the "
  "row grid with an AVX2 maker of the entries (one cell, 8 entries, in a few vector instructions) costs about "
  "0.3 ns a pixel. It gains where tables are the traffic (several views, the planes path with two tables a "
  "view: see the tables above) and loses that much where one view's table stays in cache. The panoramas keep "
  "most of their cells exact: an output cell of 8 pixels spans an arc of over 20 source pixels at the rim, "
  "which a line does not follow within 1/64 of a pixel. End to end (a camera's seven views from the planes, "
  "decoding included: the end-to-end section) the grid and exact tables cost the same within this machine's "
  "noise: there the decoder's fresh picture, the seven outputs and the gathers' latency weigh more than the "
  "tables. The full table is still kept (for `Entry()` and the exact cells), so the grid saves traffic, not "
  "memory.")
w("- **The planes kernel.** perf on the engine's planes path (bench_engine, planes to BGRX, 1920x1920): 58% "
  "of the samples in the one-channel remap kernel, which was the generic one with three of its four channel "
  "slots idle (two 8-byte gathers per pixel). A one-channel kernel (one 4-byte read per pixel and source row "
  "in a 32-bit gather, all eight lanes busy, the same sums) took `BM_Planes` (one thread, alternating runs of "
  "the two builds) from 2.85 to 2.2 ms for the PTZ view, 18.4 to 14.5-15.8 ms for the panorama and 13.0 to "
  "9.6-11.7 ms for four PTZ views. After it, perf on `BM_Planes/FourPtz`: 37% in that kernel, 55% of its "
  "samples on the instruction after the gather (waiting for source bytes), 11% making entries from the grid, "
  "6% in the conversion; the remap from planes is bound by the gathers' latency, not by arithmetic, which is "
  "why a conversion in 16-bit lanes (the same multiplications with `pmaddwd`) was not pursued.")
w("- **Against OpenCV's remap.** The goal of twice OpenCV's speed is missed in every scene (see the ratios "
  "above). Both read the same four source pixels per output pixel at scattered places; the kernels here do it "
  "with AVX2 gathers, and perf puts 42 to 62% of the RGB kernel's samples and 55% of the one-channel kernel's "
  "on the instruction right after a gather, waiting for source bytes. What is left besides the gathers' "
  "latency is the table's traffic (the grid above) and about 15 instructions a pixel; twice OpenCV would need "
  "fewer scattered reads per pixel, which a bilinear remap does not have. The PTZ scenes changed with the "
  "geometry's zoom (80 degrees across at zoom 1, 44 before), so figures of earlier runs are not comparable.")
w("- **Cameras per machine.** The view set of the end-to-end section is 4.8 Mpixels a picture, more than the "
  "1920x1920 picture it comes from; at 25 pictures a second that is 120 Mpixels a second of bilinear "
  "gathers for one camera, on 2 cores shared with other work. The views, not decoding, bound the cameras here.")
w("")
# Sections other scripts write between their own marker lines ("<!-- NAME: begin -->" to
# "<!-- NAME: end -->") are kept; scripts/bench-engine-section.py writes its own afterwards.
try:
    previous = open(out).read()
except OSError:
    previous = ""
for block in re.finditer(r"<!-- ([^:>]+): begin -->.*?<!-- \1: end -->", previous, re.S):
    if block.group(1) != "engine end to end":
        lines.extend(["", block.group(0)])
open(out, "w").write("\n".join(lines) + "\n")
print(f"run-benchmarks: wrote {out}")
PYTHON
python3 scripts/bench-engine-section.py "$OUT" 1920="$DATA/engine_1920.json,$DATA/chain_1920.txt" \
    3840="$DATA/engine_3840.json,$DATA/chain_3840.txt"
if [ "$BENCH_GL" = 1 ] && [ -f "$DATA/gl.json" ]; then
    python3 scripts/bench-gl-section.py "$OUT" "$DATA/gl.json"
fi
