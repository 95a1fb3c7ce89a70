// The GL renderer on this machine's EGL (Mesa's llvmpipe where there is no GPU):
//
//   BM_GlUpload/N     a new N x N 4:2:0 picture's planes uploaded, with a 1-pixel view drawn and
//                     read back so that the upload is finished when the time is taken
//   BM_GlView/KIND    one 1280 x 720 view of a 1920 x 1920 picture already uploaded, drawn and
//                     read back into an RGB buffer (what a surface costs)
//   BM_GlDraw/N       N PTZ views of about 1280 x 720, each into a framebuffer of its own, drawn
//                     without read-back, then glFinish: the work of the GPU (or of llvmpipe) alone
//   BM_EndToEnd/R     decoding the clip and drawing a camera's views (four PTZ, 360, 180, LAT)
//                     into RGB buffers by renderer R (gl, cpu), in the same run
//
// Environment: FISHPLAYER_BENCH_CLIP, an elementary stream (scripts/make-sample.sh's
// fisheye_1920.h264), for BM_EndToEnd. Counters: ms_per_picture (wall), cpu_ms_per_picture (the
// process's CPU time, llvmpipe's threads and the remap's pool included).
#include "EndToEnd.h"
#include "StreamDecoder.h"
#include "ViewRenderer.h"
#include "gl/GlRenderer.h"

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

using namespace korvane;

namespace {

// An N x N 4:2:0 picture whose planes are owned by a fresh owner, so that the renderer sees a new
// picture (and uploads it) each time one is made.
Frame Picture(int _iSide, const std::shared_ptr<std::vector<std::uint8_t>>& _pBytes) {
    const int iChroma = (_iSide + 1) / 2;
    Frame tFrame;
    tFrame.m_iWidth = _iSide;
    tFrame.m_iHeight = _iSide;
    tFrame.m_tPlanes.m_iWidth = _iSide;
    tFrame.m_tPlanes.m_iHeight = _iSide;
    const std::uint8_t* pc = _pBytes->data();
    const int aiStride[3] = {_iSide, iChroma, iChroma};
    const size_t auOffset[3] = {0, static_cast<size_t>(_iSide) * _iSide,
                                static_cast<size_t>(_iSide) * _iSide +
                                    static_cast<size_t>(iChroma) * iChroma};
    for (int i = 0; i < 3; ++i) {
        tFrame.m_tPlanes.m_apcPlane[i] = pc + auOffset[i];
        tFrame.m_tPlanes.m_aiStride[i] = aiStride[i];
    }
    // A new owner of the same bytes (its own control block), as a decoder's next picture would be.
    tFrame.m_pPlanes = std::shared_ptr<const void>(_pBytes->data(), [_pBytes](const void*) {});
    return tFrame;
}

std::shared_ptr<std::vector<std::uint8_t>> PictureBytes(int _iSide) {
    const int iChroma = (_iSide + 1) / 2;
    auto pBytes = std::make_shared<std::vector<std::uint8_t>>(static_cast<size_t>(_iSide) * _iSide +
                                                              2 * static_cast<size_t>(iChroma) * iChroma);
    for (size_t i = 0; i < pBytes->size(); ++i)
        (*pBytes)[i] = static_cast<std::uint8_t>((i * 2654435761u) >> 24);
    return pBytes;
}

ViewParams View(int _iKind, int _iPtzX = 5000, int _iPtzY = 5000) {
    ViewParams tParams;
    tParams.m_iKind = _iKind;
    tParams.m_iMountMode = 2;
    tParams.m_iPtzX = _iPtzX;
    tParams.m_iPtzY = _iPtzY;
    return tParams;
}

bool Draw(benchmark::State& _state, const Frame& _tFrame, const ViewParams& _tParams,
          const STRUCT_TargetBuffer& _tBuffer, bool _blReadBack = true) {
    std::string strWhy;
    if (GlDrawView(_tFrame, DewarpParams(_tParams, _tBuffer.m_iWidth, _tBuffer.m_iHeight), _tBuffer,
                   n_GlOutput_Rgba, &strWhy, _blReadBack) == n_GlResult::Drawn)
        return true;
    _state.SkipWithError(("GL cannot draw: " + strWhy).c_str());
    return false;
}

void BM_GlUpload(benchmark::State& _state) {
    const int iSide = static_cast<int>(_state.range(0));
    const auto pBytes = PictureBytes(iSide);
    std::uint8_t acPixel[3];
    const STRUCT_TargetBuffer tPixel{acPixel, 1, 1, 3, n_PixelFormat::Rgb24};
    for (auto _ : _state)
        if (!Draw(_state, Picture(iSide, pBytes), View(n_ViewKind_Source), tPixel))
            break;
    _state.SetBytesProcessed(static_cast<std::int64_t>(_state.iterations()) *
                             static_cast<std::int64_t>(pBytes->size()));
}

void BM_GlView(benchmark::State& _state, int _iKind) {
    const auto pBytes = PictureBytes(1920);
    const Frame tFrame = Picture(1920, pBytes);
    std::vector<std::uint8_t> vecRgb(1280 * 720 * 3);
    const STRUCT_TargetBuffer tBuffer{vecRgb.data(), 1280, 720, 1280 * 3, n_PixelFormat::Rgb24};
    for (auto _ : _state)
        if (!Draw(_state, tFrame, View(_iKind, 3500, 6000), tBuffer))
            break;
}

void BM_GlDraw(benchmark::State& _state) {
    const int iViews = static_cast<int>(_state.range(0));
    const auto pBytes = PictureBytes(1920);
    const Frame tFrame = Picture(1920, pBytes);
    for (auto _ : _state) {
        for (int i = 0; i < iViews; ++i) {
            // Each view a pixel narrower than the last, so that each has a framebuffer of its own, as
            // views of their own windows do (a rasteriser may skip a draw that the next one covers).
            const STRUCT_TargetBuffer tBuffer{nullptr, 1280 - i, 720, (1280 - i) * 3, n_PixelFormat::Rgb24};
            if (!Draw(_state, tFrame, View(n_ViewKind_PTZ, 2000 + 400 * i, 5000), tBuffer, false))
                return;
        }
        GlFinish();
    }
}

void BM_EndToEnd(benchmark::State& _state, bool _blGl) {
    if (Clip().empty()) {
        _state.SkipWithError("FISHPLAYER_BENCH_CLIP names no readable clip");
        return;
    }
    struct STRUCT_Target {
        ViewParams m_tParams;
        std::unique_ptr<CLS_ViewRenderer> m_pRenderer;
        std::vector<std::uint8_t> m_vecRgb;
        STRUCT_TargetBuffer m_tBuffer;
    };
    std::vector<STRUCT_Target> vecViews;
    for (const STRUCT_CameraView& tView : CameraViews()) {
        STRUCT_Target tTarget;
        tTarget.m_tParams = tView.m_tParams;
        tTarget.m_pRenderer = _blGl ? std::unique_ptr<CLS_ViewRenderer>(new CLS_GlViewRenderer)
                                    : std::unique_ptr<CLS_ViewRenderer>(new CLS_DewarpRenderer);
        tTarget.m_vecRgb.resize(static_cast<size_t>(tView.m_iWidth) * tView.m_iHeight * 3);
        tTarget.m_tBuffer = {tTarget.m_vecRgb.data(), tView.m_iWidth, tView.m_iHeight, tView.m_iWidth * 3,
                             n_PixelFormat::Rgb24};
        vecViews.push_back(std::move(tTarget));
    }
    long long llPictures = 0;
    const auto fnPicture = [&](const Frame& _tFrame) {
        ++llPictures;
        for (STRUCT_Target& tView : vecViews)
            tView.m_pRenderer->Render(_tFrame, tView.m_tParams, tView.m_tBuffer);
        return true;
    };
    double dCpu = 0.0;
    for (auto _ : _state) {
        CLS_StreamDecoder decoder;
        const double dStart = CpuSeconds();
        decoder.Feed(Clip().data(), Clip().size(), fnPicture);
        dCpu += CpuSeconds() - dStart;
    }
    const double dPictures = static_cast<double>(std::max(llPictures, 1LL));
    _state.counters["cpu_ms_per_picture"] = dCpu * 1e3 / dPictures;
    _state.counters["ms_per_picture"] =
        benchmark::Counter(dPictures / 1e3, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(BM_GlUpload)->Arg(1920)->Arg(3840)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_GlView, ptz, static_cast<int>(n_ViewKind_PTZ))
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_GlView, 360, static_cast<int>(n_ViewKind_360))
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlDraw)->Arg(1)->Arg(4)->Arg(16)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_EndToEnd, gl, true)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_EndToEnd, cpu, false)->UseRealTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
