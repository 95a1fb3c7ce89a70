// End to end cost of one camera on the open engine: a clip decoded and every view of a camera's set
// (four PTZ, a 360 and a 180 panorama, a LAT view) rendered into null targets, which hand out a
// buffer and drop it, so that only decoding and rendering are timed.
//
//   BM_Decode         decoding alone (the reference the views add to)
//   BM_Views/planes   the views remapped from the decoder's planes and converted per output pixel
//   BM_Views/rgb      the previous path: every picture converted whole to RGB24 (swscale), then
//                     the views remapped from it
// each for RGB24 targets (surfaces) and BGRX targets (X11 windows);
//   BM_Views/planes_bgrx_exact  the planes path with every remap table exact (no interpolation
//                     grid), against which the grid's gain is measured;
//   BM_Cameras/N      N cameras at once, each on its own thread with its own decoder and view set
//                     (the remap's worker pool shared, as in the engine), each fed the clip at 25
//                     pictures a second: a picture is late when its views are not all drawn by the
//                     time the camera's next picture arrives (a live player would drop it). The
//                     tables are built on a first picture before the clock starts.
//
// Environment:
//   FISHPLAYER_BENCH_CLIP   an elementary stream (scripts/make-sample.sh's fisheye_1920.h264)
//
// Counters per picture: wall ms (ms_per_picture) and the process's CPU ms, every thread included
// (cpu_ms_per_picture), with the remap's worker pool sized from the cores. BM_Cameras: late (the
// share of pictures late), worst_lag_ms (the most a picture's views were done after its arrival)
// and cpu_ms_per_picture.
#include "EndToEnd.h"
#include "RenderTarget.h"
#include "StreamDecoder.h"
#include "ViewRenderer.h"

#include "Dewarp.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

using namespace korvane;

namespace {

// One view of the set: its parameters, its renderer (tables kept across pictures) and its target.
struct STRUCT_View {
    ViewParams m_tParams;
    CLS_DewarpRenderer m_renderer;
    std::unique_ptr<CLS_NullTarget> m_pTarget;
};

std::vector<std::unique_ptr<STRUCT_View>> ViewSet(n_PixelFormat _eFormat) {
    std::vector<std::unique_ptr<STRUCT_View>> vecViews;
    for (const STRUCT_CameraView& tView : CameraViews()) {
        auto pView = std::make_unique<STRUCT_View>();
        pView->m_tParams = tView.m_tParams;
        pView->m_pTarget = std::make_unique<CLS_NullTarget>(tView.m_iWidth, tView.m_iHeight, _eFormat);
        vecViews.push_back(std::move(pView));
    }
    return vecViews;
}

enum n_Path : int { PATH_DECODE, PATH_PLANES, PATH_RGB };

// _blGrid: the views' remap tables with their interpolation grid (the engine's default) or exact.
void Run(benchmark::State& _state, n_Path _ePath, n_PixelFormat _eFormat, bool _blGrid = true) {
    const std::vector<std::uint8_t>& vecClip = Clip();
    if (vecClip.empty()) {
        _state.SkipWithError("FISHPLAYER_BENCH_CLIP names no readable clip");
        return;
    }
    // The renderers' tables take the setting when they are made, here.
    fisheye::CLS_RemapTable::SetDefaultInterpolation(_blGrid);
    std::vector<std::unique_ptr<STRUCT_View>> vecViews = ViewSet(_eFormat);
    fisheye::CLS_RemapTable::SetDefaultInterpolation(true);
    SwsContext* pSws = nullptr;
    std::vector<std::uint8_t> vecStaging;
    Frame tRgb;
    long long llPictures = 0;
    const auto fnPicture = [&](const Frame& _tFrame) {
        ++llPictures;
        if (_ePath == PATH_DECODE)
            return true;
        const Frame* pSource = &_tFrame;
        if (_ePath == PATH_RGB && _tFrame.HasPlanes()) {
            tRgb.m_iWidth = _tFrame.m_iWidth;
            tRgb.m_iHeight = _tFrame.m_iHeight;
            ScaleToRgb(&pSws, static_cast<const AVFrame*>(_tFrame.m_pPlanes.get()), &vecStaging,
                       &tRgb.m_vecRgb);
            pSource = &tRgb;
        }
        for (const auto& pView : vecViews)
            pView->m_pTarget->DrawView(*pSource, pView->m_tParams, pView->m_renderer);
        return true;
    };
    double dCpu = 0.0;
    for (auto _ : _state) {
        CLS_StreamDecoder decoder; // a fresh decoder: the clip from its start every time
        const double dStart = CpuSeconds();
        decoder.Feed(vecClip.data(), vecClip.size(), fnPicture);
        dCpu += CpuSeconds() - dStart;
    }
    sws_freeContext(pSws);
    const double dPictures = static_cast<double>(std::max(llPictures, 1LL));
    _state.counters["pictures"] = dPictures / static_cast<double>(_state.iterations());
    _state.counters["cpu_ms_per_picture"] = dCpu * 1e3 / dPictures;
    _state.counters["ms_per_picture"] =
        benchmark::Counter(dPictures / 1e3, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_Decode(benchmark::State& _state) {
    Run(_state, PATH_DECODE, n_PixelFormat::Rgb24);
}

void BM_Views(benchmark::State& _state, n_Path _ePath, n_PixelFormat _eFormat, bool _blGrid) {
    Run(_state, _ePath, _eFormat, _blGrid);
}

constexpr int CAMERA_RATE = 25; // pictures a second

// One camera of BM_Cameras: its pictures' arrival times from _tStart on, the lateness of each.
struct STRUCT_Camera {
    std::vector<std::unique_ptr<STRUCT_View>> m_vecViews = ViewSet(n_PixelFormat::Bgrx32);
    long long m_llPictures = 0;
    long long m_llLate = 0;
    double m_dWorstLag = 0.0; // seconds
};

void RunCamera(STRUCT_Camera& _camera, const std::vector<std::uint8_t>& _vecClip,
               std::chrono::steady_clock::time_point _tStart) {
    using namespace std::chrono;
    CLS_StreamDecoder decoder;
    decoder.Feed(_vecClip.data(), _vecClip.size(), [&](const Frame& _tFrame) {
        const long long llIndex = _camera.m_llPictures++;
        const auto tArrival = _tStart + microseconds(1000000LL * llIndex / CAMERA_RATE);
        const auto tNext = _tStart + microseconds(1000000LL * (llIndex + 1) / CAMERA_RATE);
        for (const auto& pView : _camera.m_vecViews)
            pView->m_pTarget->DrawView(_tFrame, pView->m_tParams, pView->m_renderer);
        const auto tDone = steady_clock::now();
        _camera.m_dWorstLag = std::max(_camera.m_dWorstLag, duration<double>(tDone - tArrival).count());
        if (tDone > tNext)
            ++_camera.m_llLate;
        // The next picture is not there before its time (a live camera); the decoder reads it then.
        std::this_thread::sleep_until(tNext);
        return true;
    });
}

void BM_Cameras(benchmark::State& _state) {
    const std::vector<std::uint8_t>& vecClip = Clip();
    if (vecClip.empty()) {
        _state.SkipWithError("FISHPLAYER_BENCH_CLIP names no readable clip");
        return;
    }
    const int iCameras = static_cast<int>(_state.range(0));
    long long llPictures = 0;
    long long llLate = 0;
    double dWorstLag = 0.0;
    double dCpu = 0.0;
    for (auto _ : _state) {
        std::vector<std::unique_ptr<STRUCT_Camera>> vecCameras;
        for (int i = 0; i < iCameras; ++i)
            vecCameras.push_back(std::make_unique<STRUCT_Camera>());
        // Every camera's tables built on the clip's first picture, one camera after the other.
        for (auto& pCamera : vecCameras) {
            CLS_StreamDecoder decoder;
            decoder.Feed(vecClip.data(), vecClip.size(), [&](const Frame& _tFrame) {
                for (const auto& pView : pCamera->m_vecViews)
                    pView->m_pTarget->DrawView(_tFrame, pView->m_tParams, pView->m_renderer);
                return false;
            });
        }
        const double dStartCpu = CpuSeconds();
        // The cameras start a little apart, as independent cameras would, rather than all at once.
        const auto tStart = std::chrono::steady_clock::now() + std::chrono::milliseconds(10);
        std::vector<std::thread> vecThreads;
        for (int i = 0; i < iCameras; ++i)
            vecThreads.emplace_back(RunCamera, std::ref(*vecCameras[i]), std::cref(vecClip),
                                    tStart +
                                        std::chrono::microseconds(1000000LL * i / CAMERA_RATE / iCameras));
        for (std::thread& thread : vecThreads)
            thread.join();
        dCpu += CpuSeconds() - dStartCpu;
        for (const auto& pCamera : vecCameras) {
            llPictures += pCamera->m_llPictures;
            llLate += pCamera->m_llLate;
            dWorstLag = std::max(dWorstLag, pCamera->m_dWorstLag);
        }
    }
    const double dPictures = static_cast<double>(std::max(llPictures, 1LL));
    _state.counters["cameras"] = iCameras;
    _state.counters["pictures"] = dPictures;
    _state.counters["late"] = static_cast<double>(llLate) / dPictures;
    _state.counters["worst_lag_ms"] = dWorstLag * 1e3;
    _state.counters["cpu_ms_per_picture"] = dCpu * 1e3 / dPictures;
}

} // namespace

BENCHMARK(BM_Decode)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, planes_rgb, PATH_PLANES, n_PixelFormat::Rgb24, true)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, rgb_rgb, PATH_RGB, n_PixelFormat::Rgb24, true)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, planes_bgrx, PATH_PLANES, n_PixelFormat::Bgrx32, true)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, rgb_bgrx, PATH_RGB, n_PixelFormat::Bgrx32, true)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, planes_bgrx_exact, PATH_PLANES, n_PixelFormat::Bgrx32, false)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
// Paced in real time: one run of the clip per repetition is the measurement.
BENCHMARK(BM_Cameras)->DenseRange(1, 4)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
