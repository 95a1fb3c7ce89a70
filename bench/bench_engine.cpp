// End to end cost of one camera on the open engine: a clip decoded and every view of a camera's set
// (four PTZ, a 360 and a 180 panorama, a LAT view) rendered into null targets, which hand out a
// buffer and drop it, so that only decoding and rendering are timed.
//
//   BM_Decode         decoding alone (the reference the views add to)
//   BM_Views/planes   the views remapped from the decoder's planes and converted per output pixel
//   BM_Views/rgb      the previous path: every picture converted whole to RGB24 (swscale), then
//                     the views remapped from it
// each for RGB24 targets (surfaces) and BGRX targets (X11 windows).
//
// Environment:
//   FISHPLAYER_BENCH_CLIP   an elementary stream (scripts/make-sample.sh's fisheye_1920.h264)
//
// Counters per picture: wall ms (ms_per_picture) and the process's CPU ms, every thread included
// (cpu_ms_per_picture), with the remap's worker pool sized from the cores.
#include "EndToEnd.h"
#include "RenderTarget.h"
#include "StreamDecoder.h"
#include "ViewRenderer.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
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

void Run(benchmark::State& _state, n_Path _ePath, n_PixelFormat _eFormat) {
    const std::vector<std::uint8_t>& vecClip = Clip();
    if (vecClip.empty()) {
        _state.SkipWithError("FISHPLAYER_BENCH_CLIP names no readable clip");
        return;
    }
    std::vector<std::unique_ptr<STRUCT_View>> vecViews = ViewSet(_eFormat);
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

void BM_Views(benchmark::State& _state, n_Path _ePath, n_PixelFormat _eFormat) {
    Run(_state, _ePath, _eFormat);
}

} // namespace

BENCHMARK(BM_Decode)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, planes_rgb, PATH_PLANES, n_PixelFormat::Rgb24)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, rgb_rgb, PATH_RGB, n_PixelFormat::Rgb24)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, planes_bgrx, PATH_PLANES, n_PixelFormat::Bgrx32)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Views, rgb_bgrx, PATH_RGB, n_PixelFormat::Bgrx32)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
